// convert_channel_order_cases.cpp: ChangeChannelOrder with every encoding, odd bit counts and maps that are
// no permutations.
#include "tests/tiers/tiers.h"

#include <tonekit/convert.h>

namespace tonekit::tiers {

static void ExerciseChannelOrder(const Bodies &bodies, Random &random, Record &record)
{
    const auto body = bodies.Get<decltype(ChangeChannelOrder)>("ChangeChannelOrder");
    for (const uint32_t bits : {4u, 8u, 12u, 16u, 20u, 24u, 32u, 64u})
        for (uint32_t channels = 1; channels <= 8; ++channels)
            for (const uint32_t frames : {0u, 1u, 2u, 7u, 100u}) {
                GuardedBuffer audio(frames * (channels * bits / 8), random.Below(8));
                random.Fill(audio.data(), audio.size());
                GuardedBuffer map(2 * channels, random.Below(3));
                for (uint32_t i = 0; i < 2 * channels; ++i)
                    map.data()[i] = static_cast<uint8_t>(random.Below(channels));
                body(audio.data(), frames, bits, channels, map.data());
                record.Guards(audio);
                record.Guards(map);
            }
}
TONEKIT_TIER_CASE(ExerciseChannelOrder, "ChangeChannelOrder");

} // namespace tonekit::tiers
