// lanes.h: short names for the vector operations of this family. For tier units only.
#pragma once

#include "frame/tier.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

inline __m128i Load128(const void *bytes)
{
    return _mm_loadu_si128(static_cast<const __m128i *>(bytes));
}

inline void Store128(void *bytes, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i *>(bytes), value);
}

// The lower 8 bytes.
inline void StoreHalf(void *bytes, __m128i value)
{
    _mm_storel_epi64(static_cast<__m128i *>(bytes), value);
}

typedef int64_t Int64Pair __attribute__((vector_size(16), may_alias));

inline void StoreUpperHalf(void *bytes, __m128i value)
{
    const int64_t half = reinterpret_cast<const Int64Pair &>(value)[1];
    std::memcpy(bytes, &half, sizeof half);
}

inline uint64_t LowerHalf(__m128i value)
{
    return static_cast<uint64_t>(_mm_cvtsi128_si64(value));
}

inline __m128i Splat(uint16_t value)
{
    return _mm_set1_epi16(static_cast<short>(value));
}

// The top bit of each byte.
inline uint32_t ByteMask(__m128i lanes)
{
    return static_cast<uint32_t>(_mm_movemask_epi8(lanes));
}

// yes where the mask in memory is set, else no.
inline __m128i Blend(__m128i no, __m128i yes, const void *mask)
{
    return _mm_xor_si128(no, _mm_and_si128(_mm_xor_si128(no, yes), Load128(mask)));
}

// Moves lanes down within each half: by one where the mask at oneUp is set, then by two where the other is.
template <int laneBits>
inline __m128i MoveDown(__m128i lanes, const void *oneUp, const void *twoUp)
{
    lanes = Blend(lanes, _mm_srli_epi64(lanes, laneBits), oneUp);
    return Blend(lanes, _mm_srli_epi64(lanes, 2 * laneBits), twoUp);
}

// All ones in the last count of sixteen bytes.
inline __m128i LastBytes(size_t count)
{
    alignas(16) static const uint8_t kWindow[32] = {
        0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    return Load128(kWindow + count);
}

// The sum of the two halves' sums of bytes.
inline size_t SumOfBytes(__m128i lanes)
{
    const __m128i sums = _mm_sad_epu8(lanes, _mm_setzero_si128());
    return static_cast<size_t>(_mm_cvtsi128_si32(sums)) +
           static_cast<size_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums)));
}

// Sixteen ASCII or Latin-1 bytes as units.
inline void Widen(__m128i bytes, void *out)
{
    Store128(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    Store128(static_cast<char *>(out) + 16, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

// Operations on one or two 128-bit lanes, so that one text serves SSE2 or SSSE3, and AVX2. Every one of them
// works on each 128-bit lane by itself.

inline __m128i Add8(__m128i x, __m128i y)
{
    return _mm_add_epi8(x, y);
}

inline __m128i Subtract8(__m128i x, __m128i y)
{
    return _mm_sub_epi8(x, y);
}

// Unsigned; 0 where y is larger.
inline __m128i SubtractSaturated8(__m128i x, __m128i y)
{
    return _mm_subs_epu8(x, y);
}

// Signed; as far as the type goes.
inline __m128i AddSaturated8(__m128i x, __m128i y)
{
    return _mm_adds_epi8(x, y);
}

// Unsigned; halves are rounded up.
inline __m128i Average8(__m128i x, __m128i y)
{
    return _mm_avg_epu8(x, y);
}

inline __m128i And(__m128i x, __m128i y)
{
    return _mm_and_si128(x, y);
}

inline __m128i Or(__m128i x, __m128i y)
{
    return _mm_or_si128(x, y);
}

// The bits of y that x lacks.
inline __m128i AndNot(__m128i x, __m128i y)
{
    return _mm_andnot_si128(x, y);
}

// Pairs of 16-bit numbers of the lower or the upper half.
inline __m128i InterleaveLower16(__m128i x, __m128i y)
{
    return _mm_unpacklo_epi16(x, y);
}

inline __m128i InterleaveUpper16(__m128i x, __m128i y)
{
    return _mm_unpackhi_epi16(x, y);
}

// All ones where x and y are equal.
inline __m128i Equal16(__m128i x, __m128i y)
{
    return _mm_cmpeq_epi16(x, y);
}

// All ones where x is larger, as signed numbers, or equal.
inline __m128i Greater8(__m128i x, __m128i y)
{
    return _mm_cmpgt_epi8(x, y);
}

inline __m128i Equal8(__m128i x, __m128i y)
{
    return _mm_cmpeq_epi8(x, y);
}

template <int bits>
inline __m128i ShiftRight16(__m128i x)
{
    return _mm_srli_epi16(x, bits);
}

template <int bits>
inline __m128i ShiftLeft16(__m128i x)
{
    return _mm_slli_epi16(x, bits);
}

template <int bits>
inline __m128i ShiftLeft32(__m128i x)
{
    return _mm_slli_epi32(x, bits);
}

// The low and the high half of unsigned 16-bit products.
inline __m128i MultiplyLow16(__m128i x, __m128i y)
{
    return _mm_mullo_epi16(x, y);
}

inline __m128i MultiplyHigh16(__m128i x, __m128i y)
{
    return _mm_mulhi_epu16(x, y);
}

// Sums of two neighbouring products of signed 16-bit numbers.
inline __m128i MultiplyAdd16(__m128i x, __m128i y)
{
    return _mm_madd_epi16(x, y);
}

#if defined(__SSSE3__)

// Byte i of the result is byte places[i] of x, or 0 if the top bit of places[i] is set.
inline __m128i Shuffle8(__m128i x, __m128i places)
{
    return _mm_shuffle_epi8(x, places);
}

// Sums of two neighbouring products of unsigned bytes of x and signed ones of y.
inline __m128i MultiplyAdd8(__m128i x, __m128i y)
{
    return _mm_maddubs_epi16(x, y);
}

#endif

// A 128-bit constant in every lane.
template <class Lanes>
Lanes InEachLane(__m128i constant);

template <>
inline __m128i InEachLane<__m128i>(__m128i constant)
{
    return constant;
}

#if defined(__AVX2__)

inline __m256i Load256(const void *bytes)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(bytes));
}

// The top bit of each byte.
inline uint32_t ByteMask(__m256i lanes)
{
    return static_cast<uint32_t>(_mm256_movemask_epi8(lanes));
}

inline __m256i Add8(__m256i x, __m256i y)
{
    return _mm256_add_epi8(x, y);
}

inline __m256i Subtract8(__m256i x, __m256i y)
{
    return _mm256_sub_epi8(x, y);
}

inline __m256i SubtractSaturated8(__m256i x, __m256i y)
{
    return _mm256_subs_epu8(x, y);
}

inline __m256i AddSaturated8(__m256i x, __m256i y)
{
    return _mm256_adds_epi8(x, y);
}

inline __m256i Average8(__m256i x, __m256i y)
{
    return _mm256_avg_epu8(x, y);
}

inline __m256i And(__m256i x, __m256i y)
{
    return _mm256_and_si256(x, y);
}

inline __m256i Or(__m256i x, __m256i y)
{
    return _mm256_or_si256(x, y);
}

inline __m256i AndNot(__m256i x, __m256i y)
{
    return _mm256_andnot_si256(x, y);
}

inline __m256i InterleaveLower16(__m256i x, __m256i y)
{
    return _mm256_unpacklo_epi16(x, y);
}

inline __m256i InterleaveUpper16(__m256i x, __m256i y)
{
    return _mm256_unpackhi_epi16(x, y);
}

inline __m256i Equal16(__m256i x, __m256i y)
{
    return _mm256_cmpeq_epi16(x, y);
}

inline __m256i Greater8(__m256i x, __m256i y)
{
    return _mm256_cmpgt_epi8(x, y);
}

inline __m256i Equal8(__m256i x, __m256i y)
{
    return _mm256_cmpeq_epi8(x, y);
}

inline __m256i Shuffle8(__m256i x, __m256i places)
{
    return _mm256_shuffle_epi8(x, places);
}

template <int bits>
inline __m256i ShiftRight16(__m256i x)
{
    return _mm256_srli_epi16(x, bits);
}

template <int bits>
inline __m256i ShiftLeft16(__m256i x)
{
    return _mm256_slli_epi16(x, bits);
}

template <int bits>
inline __m256i ShiftLeft32(__m256i x)
{
    return _mm256_slli_epi32(x, bits);
}

inline __m256i MultiplyLow16(__m256i x, __m256i y)
{
    return _mm256_mullo_epi16(x, y);
}

inline __m256i MultiplyHigh16(__m256i x, __m256i y)
{
    return _mm256_mulhi_epu16(x, y);
}

inline __m256i MultiplyAdd8(__m256i x, __m256i y)
{
    return _mm256_maddubs_epi16(x, y);
}

inline __m256i MultiplyAdd16(__m256i x, __m256i y)
{
    return _mm256_madd_epi16(x, y);
}

template <>
inline __m256i InEachLane<__m256i>(__m128i constant)
{
    return _mm256_broadcastsi128_si256(constant);
}

#endif

// yes where the mask is set, else no.
template <class Lanes>
inline Lanes Select(Lanes mask, Lanes yes, Lanes no)
{
    return Or(And(mask, yes), AndNot(mask, no));
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
