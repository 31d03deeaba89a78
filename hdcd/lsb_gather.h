// lsb_gather.h: collects the least significant bits of 32 stereo frames in one step. For tier units.
#pragma once

#include <emmintrin.h>
#ifdef __AVX2__
    #include <immintrin.h>
#endif

#include "hdcd/hdcd_state.h"

#include <cstdint>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr int32_t kGatherFrames = 32;

#ifdef __AVX2__

// Four frames' bits 0, moved to byte `byte` of each 32-bit lane: a load that begins that many bytes early
// does the shifting. Only vectors that lie after others are loaded early, so nothing before the frames is
// read.
[[gnu::always_inline]] inline __m256i LsbsInByte(const int32_t *samples, int vector, int byte)
{
    const char *from = reinterpret_cast<const char *>(samples) + 32 * vector - byte;
    return _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from)),
                            _mm256_set1_epi32(1 << 8 * byte));
}

// Vectors k, k + 2, k + 4 and k + 6: frames 8b + 4k and on give byte b.
[[gnu::always_inline]] inline __m256i LsbsOfFour(const int32_t *samples, int k)
{
    return _mm256_or_si256(_mm256_or_si256(LsbsInByte(samples, k, 0), LsbsInByte(samples, k + 2, 1)),
                           _mm256_or_si256(LsbsInByte(samples, k + 4, 2), LsbsInByte(samples, k + 6, 3)));
}

#else

// Two frames' bits 0, moved to byte `byte` of each 32-bit lane: a load that begins that many bytes early does
// the shifting. Only vectors that lie after others are loaded early, so nothing before the frames is read.
[[gnu::always_inline]] inline __m128i LsbsInByte(const int32_t *samples, int vector, int byte)
{
    const char *from = reinterpret_cast<const char *>(samples) + 16 * vector - byte;
    return _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from)),
                         _mm_set1_epi32(1 << 8 * byte));
}

// Vectors k, k + 4, k + 8 and k + 12: frames 8b + 2k and on give byte b.
[[gnu::always_inline]] inline __m128i LsbsOfFour(const int32_t *samples, int k)
{
    return _mm_or_si128(_mm_or_si128(LsbsInByte(samples, k, 0), LsbsInByte(samples, k + 4, 1)),
                        _mm_or_si128(LsbsInByte(samples, k + 8, 2), LsbsInByte(samples, k + 12, 3)));
}

#endif

// Lane 0: the left channel's bits of 32 frames, the oldest in bit 0. Lane 1: the right channel's. It equals
//     for (i = 0; i < 32; ++i) { left |= (samples[2 * i] & 1) << i; right |= (samples[2 * i + 1] & 1) << i; }
[[gnu::always_inline]] inline __m128i GatherLsbs(const int32_t *samples)
{
#ifdef __AVX2__
    // Lanes 2f and 2f + 1 hold the bits of the frames that leave the remainder f when divided by 4.
    __m256i bits = _mm256_or_si256(LsbsOfFour(samples, 0), _mm256_slli_epi32(LsbsOfFour(samples, 1), 4));
    bits = _mm256_sllv_epi32(bits, _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3));
    const __m128i pairs = _mm_or_si128(_mm256_castsi256_si128(bits), _mm256_extracti128_si256(bits, 1));
    return _mm_or_si128(pairs, _mm_unpackhi_epi64(pairs, pairs));
#else
    // Lanes 0 and 1 hold the bits of the even frames, 2 and 3 those of the odd ones.
    const __m128i low = _mm_or_si128(LsbsOfFour(samples, 0), _mm_slli_epi32(LsbsOfFour(samples, 1), 2));
    const __m128i high = _mm_or_si128(LsbsOfFour(samples, 2), _mm_slli_epi32(LsbsOfFour(samples, 3), 2));
    const __m128i bits = _mm_or_si128(low, _mm_slli_epi32(high, 4));
    return _mm_or_si128(bits, _mm_slli_epi32(_mm_unpackhi_epi64(bits, bits), 1));
#endif
}

} // namespace

} // namespace tonekit::TONEKIT_TIER
