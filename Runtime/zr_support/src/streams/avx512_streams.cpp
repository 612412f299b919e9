#include <zr_support_internal/strict_arithmetic.h>

#include "wide_streams.h"

#include <zr_support_internal/avx512_lanes.h>

namespace Vestrel::Internal::Avx512 {

constinit const CStreams kStreams = {SinStreamOfLanes<FloatX16>, ArcSinStreamOfLanes<CDoubleX8, FloatX16>};

} // namespace Vestrel::Internal::Avx512
