// converter_siblings.h: this tier's pass, for other tier units to call directly.
#pragma once

#include "frame/tier.h"
#include <tonekit/convert.h>

namespace tonekit::TONEKIT_TIER {

// Resample for input that stands elsewhere than in inputBuffer.
TONEKIT_SIBLING(ResampleFrom, uint32_t,
                (CSampleRateConverter3 * self, const void *input, uint32_t frames, bool last));

} // namespace tonekit::TONEKIT_TIER
