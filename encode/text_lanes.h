// text_lanes.h: short names for the vector operations of the text units. For tier units only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSSE3__
    #include <tmmintrin.h>
#else
    #include <emmintrin.h>
#endif

#include "frame/tier.h"

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

inline __m128i Select(__m128i mask, __m128i yes, __m128i no)
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
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
inline __m128i LastBytes(std::size_t count)
{
    alignas(16) static const uint8_t kWindow[32] = {
        0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    return Load128(kWindow + count);
}

// The sum of the two halves' sums of bytes.
inline std::size_t SumOfBytes(__m128i lanes)
{
    const __m128i sums = _mm_sad_epu8(lanes, _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si32(sums)) +
           static_cast<std::size_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums)));
}

// Sixteen ASCII or Latin-1 bytes as units.
inline void Widen(__m128i bytes, void *out)
{
    Store128(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    Store128(static_cast<char *>(out) + 16, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
