#include <zr_support_internal/strict_arithmetic.h>

#include "wide_streams.h"

#include <zr_support_internal/avx2_lanes.h>

namespace Vestrel::Internal::Avx2 {

constinit const CStreams kStreams = {SinStreamOfLanes<FloatX8>, ArcSinStreamOfLanes<CDoubleX4, FloatX8>};

} // namespace Vestrel::Internal::Avx2
