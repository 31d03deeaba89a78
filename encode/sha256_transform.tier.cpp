// sha256_transform.tier.cpp: the compression function of SHA-224 and SHA-256 (FIPS 180-4, 6.2.2).
#include "encode/sha2_compress.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
alignas(16) const uint32_t kConstants[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2,
};

template <int bits>
inline __m128i Rotated(__m128i words)
{
    return _mm_or_si128(_mm_srli_epi32(words, bits), _mm_slli_epi32(words, 32 - bits));
}

// "sigma0" of four words.
inline __m128i SmallSigma0(__m128i words)
{
    return _mm_xor_si128(_mm_xor_si128(Rotated<7>(words), Rotated<18>(words)), _mm_srli_epi32(words, 3));
}

// "sigma1" of two words, each of which comes twice, so that a 64-bit shift rotates it. The results are in the
// even places.
inline __m128i SmallSigma1(__m128i pairs)
{
    const __m128i rotations = _mm_xor_si128(_mm_srli_epi64(pairs, 17), _mm_srli_epi64(pairs, 19));
    return _mm_xor_si128(rotations, _mm_srli_epi32(pairs, 10));
}

// The four words from the second of first on.
inline __m128i OneFurther(__m128i first, __m128i second)
{
#ifdef __SSSE3__
    return _mm_alignr_epi8(second, first, 4);
#else
    const __m128 joined = _mm_move_ss(_mm_castsi128_ps(first), _mm_castsi128_ps(second));
    return _mm_shuffle_epi32(_mm_castps_si128(joined), 0x39);
#endif
}

// Brings the even words to the first or the last two places, and zeroes the others.
inline __m128i EvenFirst(__m128i words)
{
#ifdef __SSSE3__
    return _mm_shuffle_epi8(words, _mm_setr_epi8(0, 1, 2, 3, 8, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1));
#else
    return _mm_move_epi64(_mm_shuffle_epi32(words, 0x08));
#endif
}

inline __m128i EvenLast(__m128i words)
{
#ifdef __SSSE3__
    return _mm_shuffle_epi8(words, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 2, 3, 8, 9, 10, 11));
#else
    return _mm_slli_si128(_mm_shuffle_epi32(words, 0x08), 8);
#endif
}

struct Sha256 {
    using Word = uint32_t;
    using Four = __m128i;
    static constexpr int kRounds = 64;
    static constexpr int kBlocks = 1;
    static constexpr int kTogether = 4;
    static constexpr const Word *kRoundConstants = kConstants;
    static constexpr int kSumOfE[3] = {6, 11, 25};
    static constexpr int kSumOfA[3] = {2, 13, 22};

    static inline Four Load(const uint8_t *bytes)
    {
        const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
        const __m128i swapped = _mm_or_si128(_mm_srli_epi16(raw, 8), _mm_slli_epi16(raw, 8));
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(swapped, 0xB1), 0xB1);
    }

    static inline void ReplaceFirst(Four &w0, Four w1, Four w2, Four w3)
    {
        w0 = _mm_add_epi32(_mm_add_epi32(w0, OneFurther(w2, w3)), SmallSigma0(OneFurther(w0, w1)));
        const __m128i sums = SmallSigma1(_mm_shuffle_epi32(w3, 0xFA));
        w0 = _mm_add_epi32(w0, EvenFirst(sums));
    }

    // The last two words need "sigma1" of the first two.
    static inline void ReplaceLast(Four &w0, Four, Four, Four)
    {
        const __m128i sums = SmallSigma1(_mm_shuffle_epi32(w0, 0x50));
        w0 = _mm_add_epi32(w0, EvenLast(sums));
    }

    static inline void Store(Four words, const Word *constants, Word *to)
    {
        const __m128i four = _mm_load_si128(reinterpret_cast<const __m128i *>(constants));
        _mm_store_si128(reinterpret_cast<__m128i *>(to), _mm_add_epi32(words, four));
    }
};

#ifdef __AVX2__
template <int bits>
inline __m256i Rotated(__m256i words)
{
    return _mm256_or_si256(_mm256_srli_epi32(words, bits), _mm256_slli_epi32(words, 32 - bits));
}

inline __m256i SmallSigma0(__m256i words)
{
    return _mm256_xor_si256(_mm256_xor_si256(Rotated<7>(words), Rotated<18>(words)),
                            _mm256_srli_epi32(words, 3));
}

inline __m256i SmallSigma1(__m256i pairs)
{
    const __m256i rotations = _mm256_xor_si256(_mm256_srli_epi64(pairs, 17), _mm256_srli_epi64(pairs, 19));
    return _mm256_xor_si256(rotations, _mm256_srli_epi32(pairs, 10));
}

// Two blocks at once, one in each lane.
struct Sha256Pair : Sha256 {
    using Four = __m256i;
    static constexpr int kBlocks = 2;

    static inline Four Load(const uint8_t *bytes)
    {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 64));
        const __m256i order =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
        return _mm256_shuffle_epi8(_mm256_set_m128i(second, first), order);
    }

    static inline void ReplaceFirst(Four &w0, Four w1, Four w2, Four w3)
    {
        w0 = _mm256_add_epi32(_mm256_add_epi32(w0, _mm256_alignr_epi8(w3, w2, 4)),
                              SmallSigma0(_mm256_alignr_epi8(w1, w0, 4)));
        const __m256i sums = SmallSigma1(_mm256_shuffle_epi32(w3, 0xFA));
        w0 = _mm256_add_epi32(w0, _mm256_shuffle_epi8(sums, EvenInto(0)));
    }

    static inline void ReplaceLast(Four &w0, Four, Four, Four)
    {
        const __m256i sums = SmallSigma1(_mm256_shuffle_epi32(w0, 0x50));
        w0 = _mm256_add_epi32(w0, _mm256_shuffle_epi8(sums, EvenInto(8)));
    }

    static inline void Store(Four words, const Word *constants, Word *to)
    {
        const __m256i four =
            _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(constants)));
        _mm256_store_si256(reinterpret_cast<__m256i *>(to), _mm256_add_epi32(words, four));
    }

private:
    // Brings the even words of each lane to the byte given, and zeroes the rest.
    static inline __m256i EvenInto(int byte)
    {
        const __m128i first = _mm_setr_epi8(0, 1, 2, 3, 8, 9, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m128i last = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 2, 3, 8, 9, 10, 11);
        return _mm256_broadcastsi128_si256(byte == 0 ? first : last);
    }
};
#endif

} // namespace

TONEKIT_INTERNAL_BODY(Sha256Transform, void, (uint32_t * state, const uint8_t *blocks, size_t blockCount))
{
#ifdef __AVX2__
    for (; blockCount >= 2; blockCount -= 2, blocks += 2 * 64)
        Compress<Sha256Pair>(state, blocks);
#endif
    for (; blockCount != 0; --blockCount, blocks += 64)
        Compress<Sha256>(state, blocks);
}

} // namespace tonekit::TONEKIT_TIER
