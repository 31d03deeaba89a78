// lanes.h: byte operations on one or two 128-bit lanes, so that one text serves SSSE3 and AVX2.
//
// For tier units only, which include it inside their namespace, behind <immintrin.h>. Every operation works
// on each 128-bit lane by itself.
#pragma once

#if defined(__SSSE3__)

namespace {

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

inline __m128i And(__m128i x, __m128i y)
{
    return _mm_and_si128(x, y);
}

inline __m128i Or(__m128i x, __m128i y)
{
    return _mm_or_si128(x, y);
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

// Byte i of the result is byte places[i] of x, or 0 if the top bit of places[i] is set.
inline __m128i Shuffle8(__m128i x, __m128i places)
{
    return _mm_shuffle_epi8(x, places);
}

template <int bits>
inline __m128i ShiftRight16(__m128i x)
{
    return _mm_srli_epi16(x, bits);
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

// Sums of two neighbouring products: of unsigned bytes of x and signed ones of y, or of signed 16-bit
// numbers.
inline __m128i MultiplyAdd8(__m128i x, __m128i y)
{
    return _mm_maddubs_epi16(x, y);
}

inline __m128i MultiplyAdd16(__m128i x, __m128i y)
{
    return _mm_madd_epi16(x, y);
}

// A 128-bit constant in every lane.
template <class Lanes>
Lanes InEachLane(__m128i constant);

template <>
inline __m128i InEachLane<__m128i>(__m128i constant)
{
    return constant;
}

    #if defined(__AVX2__)

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

inline __m256i And(__m256i x, __m256i y)
{
    return _mm256_and_si256(x, y);
}

inline __m256i Or(__m256i x, __m256i y)
{
    return _mm256_or_si256(x, y);
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

} // namespace

#endif
