// integer_packing.h: what the store kernels do with vectors of integers: range tests and packing.
//
// Included by tier units only.
#pragma once

#include "convert/lanes.h"
#include "frame/tier.h"

#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// Samples are tested and packed in groups of so many vectors.
constexpr uint32_t kVectors = 4;
constexpr uint32_t kGroup = kVectors * kLanes;

struct FloatGroup {
    FloatVector vectors[kVectors];
};

struct DoubleGroup {
    DoubleVector vectors[2 * kVectors];
};

inline FloatGroup LoadGroup(const float *samples)
{
    FloatGroup group;
    for (uint32_t i = 0; i < kVectors; ++i)
        group.vectors[i] = LoadFloats(samples + i * kLanes);
    return group;
}

inline DoubleGroup LoadGroup(const double *samples)
{
    DoubleGroup group;
    for (uint32_t i = 0; i < 2 * kVectors; ++i)
        group.vectors[i] = LoadDoubles(samples + i * (kLanes / 2));
    return group;
}

#ifdef __AVX2__

// 0 in place of what the conversion returns for a NaN.
inline IntVector ZeroOutOfRange(IntVector ints)
{
    return _mm256_andnot_si256(_mm256_cmpeq_epi32(ints, _mm256_set1_epi32(kOutOfRange)), ints);
}

// Whether a sample of a group is 2.0 or more in magnitude, or a NaN: whether a top bit of an exponent is set.
inline bool AnyReachesTwo(const FloatGroup &group)
{
    IntVector seen = _mm256_setzero_si256();
    for (const FloatVector &samples : group.vectors)
        seen = _mm256_or_si256(seen, _mm256_castps_si256(samples));
    return !_mm256_testz_si256(seen, _mm256_set1_epi32(1 << 30));
}

inline bool AnyReachesTwo(const DoubleGroup &group)
{
    IntVector seen = _mm256_setzero_si256();
    for (const DoubleVector &samples : group.vectors)
        seen = _mm256_or_si256(seen, _mm256_castpd_si256(samples));
    return !_mm256_testz_si256(seen, _mm256_set1_epi64x(int64_t{1} << 62));
}

inline bool AnyExceeds24Bits(const IntVector (&group)[kVectors])
{
    IntVector seen = _mm256_setzero_si256();
    for (const IntVector &ints : group)
        seen = _mm256_or_si256(seen, _mm256_add_epi32(ints, _mm256_set1_epi32(1 << 23)));
    return !_mm256_testz_si256(seen, _mm256_set1_epi32(-(1 << 24)));
}

// Two vectors as shorts, with saturation.
inline void Write16(uint8_t *out, IntVector first, IntVector second)
{
    const IntVector packed = _mm256_packs_epi32(first, second);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), _mm256_permute4x64_epi64(packed, 0xD8));
}

// The low three bytes of each integer, and kWrite24Excess bytes more.
constexpr uint32_t kWrite24Excess = 8;

inline void Write24(uint8_t *out, IntVector ints)
{
    const __m256i kBytes = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, //
                                            0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i kWords = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(ints, kBytes), kWords);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), packed);
}

// kLanes numbers as integers of 32 bits, without their fractions.
inline void WriteTruncated(uint8_t *out, DoubleVector low, DoubleVector high)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm256_cvttpd_epi32(low));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16), _mm256_cvttpd_epi32(high));
}

// Four vectors as unsigned bytes, with saturation.
inline void Write8(uint8_t *out, const IntVector (&ints)[4])
{
    const IntVector bytes =
        _mm256_packus_epi16(_mm256_packs_epi32(ints[0], ints[1]), _mm256_packs_epi32(ints[2], ints[3]));
    const __m256i kWords = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), _mm256_permutevar8x32_epi32(bytes, kWords));
}

#else

inline IntVector ZeroOutOfRange(IntVector ints)
{
    return _mm_andnot_si128(_mm_cmpeq_epi32(ints, _mm_set1_epi32(kOutOfRange)), ints);
}

inline bool AnyReachesTwo(const FloatGroup &group)
{
    IntVector seen = _mm_setzero_si128();
    for (const FloatVector &samples : group.vectors)
        seen = _mm_or_si128(seen, _mm_castps_si128(samples));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_slli_epi32(seen, 1))) != 0;
}

inline bool AnyReachesTwo(const DoubleGroup &group)
{
    IntVector seen = _mm_setzero_si128();
    for (const DoubleVector &samples : group.vectors)
        seen = _mm_or_si128(seen, _mm_castpd_si128(samples));
    return _mm_movemask_pd(_mm_castsi128_pd(_mm_slli_epi64(seen, 1))) != 0;
}

inline bool AnyExceeds24Bits(const IntVector (&group)[kVectors])
{
    IntVector seen = _mm_setzero_si128();
    for (const IntVector &ints : group)
        seen = _mm_or_si128(seen, _mm_add_epi32(ints, _mm_set1_epi32(1 << 23)));
    const IntVector inside = _mm_cmpeq_epi32(_mm_srli_epi32(seen, 24), _mm_setzero_si128());
    return _mm_movemask_epi8(inside) != 0xFFFF;
}

inline void Write16(uint8_t *out, IntVector first, IntVector second)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packs_epi32(first, second));
}

constexpr uint32_t kWrite24Excess = 4;

inline void Write24(uint8_t *out, IntVector ints)
{
    #ifdef __SSSE3__
    const __m128i kBytes = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m128i packed = _mm_shuffle_epi8(ints, kBytes);
    #else
    // Close up the two samples of each half, then the halves.
    const __m128i even = _mm_and_si128(ints, _mm_set1_epi64x(0xFFFFFF));
    const __m128i odd = _mm_and_si128(_mm_srli_epi64(ints, 8), _mm_set1_epi64x(0xFFFFFF000000));
    const __m128i pairs = _mm_or_si128(even, odd);
    const __m128i upper = _mm_and_si128(_mm_srli_si128(pairs, 2), _mm_setr_epi32(0, -0x10000, -1, 0));
    const __m128i packed = _mm_or_si128(_mm_move_epi64(pairs), upper);
    #endif
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), packed);
}

inline void WriteTruncated(uint8_t *out, DoubleVector low, DoubleVector high)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), Truncate(low, high));
}

inline void Write8(uint8_t *out, const IntVector (&ints)[4])
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out),
                     _mm_packus_epi16(_mm_packs_epi32(ints[0], ints[1]), _mm_packs_epi32(ints[2], ints[3])));
}

#endif

} // namespace

} // namespace tonekit::TONEKIT_TIER
