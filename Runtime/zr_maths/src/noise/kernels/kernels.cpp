#include <zr_support_internal/strict_arithmetic.h>

#include "kernels.h"

namespace Vestrel::Internal {

#if VESTREL_WIDE_KERNELS
constinit std::array<const CKernels*, kInstructionSetCount> g_Kernels = {nullptr, &Avx2::kKernels,
                                                                         &Avx512::kKernels};
#else
constinit std::array<const CKernels*, kInstructionSetCount> g_Kernels = {};
#endif

} // namespace Vestrel::Internal
