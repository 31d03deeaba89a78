// channel_order.tier.cpp: permutes interleaved channels in place.
#include "frame/tier.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {

namespace {

// 8 channels of 64-bit samples, and a spare one.
constexpr std::uint32_t kLargestFrame = 72;

} // namespace

TONEKIT_BODY(ChangeChannelOrder, void,
             (std::uint8_t * audio, std::uint32_t frames, std::uint32_t bits, std::uint32_t channels,
              const std::uint8_t *map))
{
    // Multiply first: a 12-bit stereo frame is 3 bytes, its samples 1.
    const std::uint32_t sampleBytes = bits / 8;
    const std::uint32_t frameBytes = channels * bits / 8;
    std::uint8_t copy[kLargestFrame];
    for (; frames != 0; --frames, audio += frameBytes) {
        std::memcpy(copy, audio, frameBytes);
        for (std::uint32_t pair = 0; pair < channels; ++pair)
            std::memcpy(audio + map[2 * pair + 1] * sampleBytes, copy + map[2 * pair] * sampleBytes,
                        sampleBytes);
    }
}

} // namespace tonekit::TONEKIT_TIER
