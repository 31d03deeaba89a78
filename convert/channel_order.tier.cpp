// channel_order.tier.cpp: permutes interleaved channels in place.
#include "frame/tier.h"

#include <tonekit/convert.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// 8 channels of 64-bit samples, and a spare one.
constexpr uint32_t kLargestFrame = 72;

// A copy of fixed size is a move or two; one whose size is known only at run time is a call.
template <uint32_t kBytes>
inline void CopySample(uint8_t *to, const uint8_t *from, uint32_t)
{
    __builtin_memcpy(to, from, kBytes);
}

template <>
inline void CopySample<0>(uint8_t *to, const uint8_t *from, uint32_t bytes)
{
    __builtin_memcpy(to, from, bytes);
}

inline void CopyFrame(uint8_t *to, const uint8_t *from, uint32_t bytes)
{
    for (; bytes >= 8; bytes -= 8, to += 8, from += 8)
        __builtin_memcpy(to, from, 8);
    if ((bytes & 4) != 0) {
        __builtin_memcpy(to, from, 4);
        to += 4;
        from += 4;
    }
    for (bytes &= 3; bytes != 0; --bytes)
        *to++ = *from++;
}

// Samples of kBytes bytes; 0 means any other size.
template <uint32_t kBytes>
inline void Permute(uint8_t *audio, uint32_t frames, uint32_t frameBytes, uint32_t sampleBytes,
                    uint32_t channels, const uint8_t *map)
{
    uint8_t copy[kLargestFrame];
    const uint8_t *const end = map + 2 * channels;
    for (; frames != 0; --frames, audio += frameBytes) {
        CopyFrame(copy, audio, frameBytes);
        for (const uint8_t *pair = map; pair != end; pair += 2)
            CopySample<kBytes>(audio + pair[1] * sampleBytes, copy + pair[0] * sampleBytes, sampleBytes);
    }
}

} // namespace

TONEKIT_BODY(ChangeChannelOrder, void,
             (uint8_t * audio, uint32_t frames, uint32_t bits, uint32_t channels, const uint8_t *map))
{
    // Multiply first: a 12-bit stereo frame is 3 bytes, its samples 1.
    const uint32_t sampleBytes = bits / 8;
    const uint32_t frameBytes = channels * bits / 8;
    switch (sampleBytes) {
    case 0:
        break;
    case 1:
        Permute<1>(audio, frames, frameBytes, 1, channels, map);
        break;
    case 2:
        Permute<2>(audio, frames, frameBytes, 2, channels, map);
        break;
    case 3:
        Permute<3>(audio, frames, frameBytes, 3, channels, map);
        break;
    case 4:
        Permute<4>(audio, frames, frameBytes, 4, channels, map);
        break;
    case 8:
        Permute<8>(audio, frames, frameBytes, 8, channels, map);
        break;
    default:
        Permute<0>(audio, frames, frameBytes, sampleBytes, channels, map);
    }
}

} // namespace tonekit::TONEKIT_TIER
