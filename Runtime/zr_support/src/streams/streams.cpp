#include <zr_support_internal/strict_arithmetic.h>

#include "streams.h"

namespace Vestrel::Internal {

namespace {

constexpr CStreams kFourLaneStreams = {SinStreamOfFourLanes, ArcSinStreamOfFourLanes};

} // namespace

#if VESTREL_WIDE_KERNELS
constinit const std::array<const CStreams*, kInstructionSetCount> kStreamsOf = {
    &kFourLaneStreams, &Avx2::kStreams, &Avx512::kStreams};
#else
constinit const std::array<const CStreams*, kInstructionSetCount> kStreamsOf = {&kFourLaneStreams};
#endif

} // namespace Vestrel::Internal
