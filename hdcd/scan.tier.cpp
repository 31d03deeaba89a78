// scan.tier.cpp: looks for HDCD in a block by following what its decoding would do.
#include "frame/packed_samples.h"
#include "frame/tier.h"
#include "hdcd/detection.h"
#include "hdcd/entries.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(FollowLinked);

namespace {

// The block to follow. Wide samples are read where they are, unless an analysis mode is about to write its
// tone over them.
int32_t *BlockToFollow(const HdcdDecoder *decoder, int32_t *copy, const int32_t *samples, size_t count)
{
    if (decoder->analyze_mode == 0)
        return const_cast<int32_t *>(samples);
    std::memcpy(copy, samples, count * sizeof *copy);
    return copy;
}

int32_t *BlockToFollow(const HdcdDecoder *, int32_t *copy, const int16_t *samples, size_t count)
{
    size_t i = 0;
    for (; count - i >= 8; i += 8) {
        const __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples + i));
        auto *to = reinterpret_cast<__m128i *>(copy + i);
        // Each value in the upper half of a lane; the shift brings it down with its sign.
        _mm_storeu_si128(to, _mm_srai_epi32(_mm_unpacklo_epi16(values, values), 16));
        _mm_storeu_si128(to + 1, _mm_srai_epi32(_mm_unpackhi_epi16(values, values), 16));
    }
    const auto *packed = reinterpret_cast<const PackedInt16 *>(samples);
    for (; i < count; ++i)
        copy[i] = packed[i].value;
    return copy;
}

// Negative counts are empty blocks, and an empty block needs no copy.
template <class Sample>
uint32_t Scan(HdcdDecoder *decoder, const Sample *samples, int32_t frames)
{
    if (!decoder)
        return kHdcdNotDetected;
    if (decoder->detection.detected == kHdcdEffective)
        return kHdcdEffective;
    if (!samples || frames < 0)
        frames = 0;
    int32_t *copy = nullptr;
    int32_t *block = nullptr;
    if (frames != 0) {
        // Asked for in any case: whether a scan succeeds must not hang on the mode.
        const auto count = 2 * static_cast<size_t>(frames);
        copy = static_cast<int32_t *>(std::malloc(count * sizeof *copy));
        if (!copy)
            return kHdcdNotDetected;
        block = BlockToFollow(decoder, copy, samples, count);
    }
    TONEKIT_TIER::FollowLinked(decoder, block, frames);
    UpdateDetection(decoder);
    std::free(copy);
    return decoder->detection.detected;
}

} // namespace

TONEKIT_BODY(hdcd_scan, uint32_t, (HdcdDecoder * decoder, const int32_t *samples, int32_t frames))
{
    return Scan(decoder, samples, frames);
}

TONEKIT_BODY(hdcd_scan16, uint32_t, (HdcdDecoder * decoder, const int16_t *samples, int32_t frames))
{
    return Scan(decoder, samples, frames);
}

} // namespace tonekit::TONEKIT_TIER
