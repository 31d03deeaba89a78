// siblings.h: the bodies of the same tier that the units of this family call in one another. For tier units.
#pragma once

#include "frame/tier.h"

#include "hdcd/control.h"
#include "hdcd/gain.h"

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(hdcd_find_codes, std::int32_t,
                (HdcdChannelState * states, std::int32_t channels, const std::int32_t *samples,
                 std::int32_t max, std::int32_t stride));
TONEKIT_SIBLING(hdcd_envelope, std::int32_t,
                (std::int32_t * samples, std::int32_t count, std::int32_t stride, std::int32_t bits,
                 std::int32_t gain, std::int32_t target_gain, std::int32_t extend));
TONEKIT_SIBLING(EnvelopeLinked, void, (std::int32_t * samples, std::int32_t frames, LinkedGain *gain));
TONEKIT_SIBLING(FollowLinked, std::int32_t,
                (HdcdDecoder * decoder, std::int32_t *samples, std::int32_t count));

} // namespace tonekit::TONEKIT_TIER
