// sha512_transform.tier.cpp: the compression function of SHA-384 and SHA-512 (FIPS 180-4, 6.4.2).
#include "encode/sha2_compress.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// The first 64 bits of the fractional parts of the cube roots of the first 80 primes.
alignas(16) const uint64_t kRoundConstants[80] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817,
};

template <int bits>
inline __m128i Rotated(__m128i words)
{
    return _mm_or_si128(_mm_srli_epi64(words, bits), _mm_slli_epi64(words, 64 - bits));
}

// "sigma0" and "sigma1" of two words.
inline __m128i SmallSigma0(__m128i words)
{
    return _mm_xor_si128(_mm_xor_si128(Rotated<1>(words), Rotated<8>(words)), _mm_srli_epi64(words, 7));
}

inline __m128i SmallSigma1(__m128i words)
{
    return _mm_xor_si128(_mm_xor_si128(Rotated<19>(words), Rotated<61>(words)), _mm_srli_epi64(words, 6));
}

// The two words from the second of first on.
inline __m128i OneFurther(__m128i first, __m128i second)
{
    return _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(first), _mm_castsi128_pd(second), 1));
}

inline __m128i BigEndianWords(const uint8_t *bytes)
{
    const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
    const __m128i swapped = _mm_or_si128(_mm_srli_epi16(raw, 8), _mm_slli_epi16(raw, 8));
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(swapped, 0x1b), 0x1b);
}

// Two words of the schedule, from those 16, 15, 7 and 2 before.
inline __m128i NextTwo(__m128i before16, __m128i before15, __m128i before7, __m128i before2)
{
    const __m128i early = _mm_add_epi64(_mm_add_epi64(before16, before7), SmallSigma0(before15));
    return _mm_add_epi64(early, SmallSigma1(before2));
}

inline void StoreTwo(__m128i words, int round, uint64_t *to)
{
    const __m128i constants = _mm_load_si128(reinterpret_cast<const __m128i *>(kRoundConstants + round));
    _mm_store_si128(reinterpret_cast<__m128i *>(to), _mm_add_epi64(words, constants));
}

struct Sha512 {
    using Word = uint64_t;
    struct Four {
        __m128i first, last;
    };
    static constexpr int kRounds = 80;
    static constexpr int kBlocks = 1;
    static constexpr int kSumOfE[3] = {14, 18, 41};
    static constexpr int kSumOfA[3] = {28, 34, 39};

    static inline Four Load(const uint8_t *bytes)
    {
        return {BigEndianWords(bytes), BigEndianWords(bytes + 16)};
    }

    static inline void ReplaceFirst(Four &w0, Four, Four w2, Four w3)
    {
        w0.first = NextTwo(w0.first, OneFurther(w0.first, w0.last), OneFurther(w2.first, w2.last), w3.last);
    }

    static inline void ReplaceLast(Four &w0, Four w1, Four w2, Four w3)
    {
        w0.last = NextTwo(w0.last, OneFurther(w0.last, w1.first), OneFurther(w2.last, w3.first), w0.first);
    }

    static inline void Store(Four words, int round, Word *to)
    {
        StoreTwo(words.first, round, to);
        StoreTwo(words.last, round + 2, to + 2);
    }
};

#ifdef __AVX2__
template <int bits>
inline __m256i Rotated(__m256i words)
{
    return _mm256_or_si256(_mm256_srli_epi64(words, bits), _mm256_slli_epi64(words, 64 - bits));
}

inline __m256i SmallSigma0(__m256i words)
{
    return _mm256_xor_si256(_mm256_xor_si256(Rotated<1>(words), Rotated<8>(words)),
                            _mm256_srli_epi64(words, 7));
}

inline __m256i SmallSigma1(__m256i words)
{
    return _mm256_xor_si256(_mm256_xor_si256(Rotated<19>(words), Rotated<61>(words)),
                            _mm256_srli_epi64(words, 6));
}

// Two blocks at once, one in each lane.
struct Sha512Pair : Sha512 {
    struct Four {
        __m256i first, last;
    };
    static constexpr int kBlocks = 2;

    static inline Four Load(const uint8_t *bytes) { return {TwoWords(bytes), TwoWords(bytes + 16)}; }

    static inline void ReplaceFirst(Four &w0, Four, Four w2, Four w3)
    {
        w0.first = NextTwo(w0.first, Further(w0.first, w0.last), Further(w2.first, w2.last), w3.last);
    }

    static inline void ReplaceLast(Four &w0, Four w1, Four w2, Four w3)
    {
        w0.last = NextTwo(w0.last, Further(w0.last, w1.first), Further(w2.last, w3.first), w0.first);
    }

    static inline void Store(Four words, int round, Word *to)
    {
        const __m256i first = _mm256_add_epi64(words.first, Constants(round));
        const __m256i last = _mm256_add_epi64(words.last, Constants(round + 2));
        _mm256_store_si256(reinterpret_cast<__m256i *>(to), _mm256_permute2x128_si256(first, last, 0x20));
        _mm256_store_si256(reinterpret_cast<__m256i *>(to + 4), _mm256_permute2x128_si256(first, last, 0x31));
    }

private:
    static inline __m256i TwoWords(const uint8_t *bytes)
    {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 128));
        const __m256i order =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
        return _mm256_shuffle_epi8(_mm256_set_m128i(second, first), order);
    }

    static inline __m256i Further(__m256i first, __m256i second)
    {
        return _mm256_alignr_epi8(second, first, 8);
    }

    static inline __m256i NextTwo(__m256i before16, __m256i before15, __m256i before7, __m256i before2)
    {
        const __m256i early = _mm256_add_epi64(_mm256_add_epi64(before16, before7), SmallSigma0(before15));
        return _mm256_add_epi64(early, SmallSigma1(before2));
    }

    static inline __m256i Constants(int round)
    {
        return _mm256_broadcastsi128_si256(
            _mm_load_si128(reinterpret_cast<const __m128i *>(kRoundConstants + round)));
    }
};
#endif

} // namespace

TONEKIT_INTERNAL_BODY(Sha512Transform, void,
                      (uint64_t * state, const uint8_t *blocks, std::size_t blockCount))
{
#ifdef __AVX2__
    for (; blockCount >= 2; blockCount -= 2, blocks += 2 * 128)
        Compress<Sha512Pair>(state, blocks);
#endif
    for (; blockCount != 0; --blockCount, blocks += 128)
        Compress<Sha512>(state, blocks);
}

} // namespace tonekit::TONEKIT_TIER
