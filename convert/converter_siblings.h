// converter_siblings.h: this tier's pass, for other tier units to call directly.
#pragma once

#include "frame/tier.h"
#include <tonekit/convert.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_MEMBER_SIBLING(Resample, _ZN21CSampleRateConverter38ResampleEjb, uint32_t,
                       (CSampleRateConverter3 * self, uint32_t frames, bool last));

} // namespace tonekit::TONEKIT_TIER
