#pragma once

// The wide kernels of each instruction set. They may only be called on processors that have it.

#include "wide_kernels.h"

namespace Vestrel::Internal {

namespace Avx2 {
extern const CWideKernels kKernels;
}

namespace Avx512 {
extern const CWideKernels kKernels;
}

} // namespace Vestrel::Internal
