// sha512_transform.tier.cpp: the compression function of SHA-384 and SHA-512 (FIPS 180-4, 6.4.2).
#include "encode/sha2_compress.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// The first 64 bits of the fractional parts of the cube roots of the first 80 primes.
alignas(16) const uint64_t kConstants[80] = {
    0x428A2F98D728AE22, 0x7137449123EF65CD, 0xB5C0FBCFEC4D3B2F, 0xE9B5DBA58189DBBC, 0x3956C25BF348B538,
    0x59F111F1B605D019, 0x923F82A4AF194F9B, 0xAB1C5ED5DA6D8118, 0xD807AA98A3030242, 0x12835B0145706FBE,
    0x243185BE4EE4B28C, 0x550C7DC3D5FFB4E2, 0x72BE5D74F27B896F, 0x80DEB1FE3B1696B1, 0x9BDC06A725C71235,
    0xC19BF174CF692694, 0xE49B69C19EF14AD2, 0xEFBE4786384F25E3, 0x0FC19DC68B8CD5B5, 0x240CA1CC77AC9C65,
    0x2DE92C6F592B0275, 0x4A7484AA6EA6E483, 0x5CB0A9DCBD41FBD4, 0x76F988DA831153B5, 0x983E5152EE66DFAB,
    0xA831C66D2DB43210, 0xB00327C898FB213F, 0xBF597FC7BEEF0EE4, 0xC6E00BF33DA88FC2, 0xD5A79147930AA725,
    0x06CA6351E003826F, 0x142929670A0E6E70, 0x27B70A8546D22FFC, 0x2E1B21385C26C926, 0x4D2C6DFC5AC42AED,
    0x53380D139D95B3DF, 0x650A73548BAF63DE, 0x766A0ABB3C77B2A8, 0x81C2C92E47EDAEE6, 0x92722C851482353B,
    0xA2BFE8A14CF10364, 0xA81A664BBC423001, 0xC24B8B70D0F89791, 0xC76C51A30654BE30, 0xD192E819D6EF5218,
    0xD69906245565A910, 0xF40E35855771202A, 0x106AA07032BBD1B8, 0x19A4C116B8D2D0C8, 0x1E376C085141AB53,
    0x2748774CDF8EEB99, 0x34B0BCB5E19B48A8, 0x391C0CB3C5C95A63, 0x4ED8AA4AE3418ACB, 0x5B9CCA4F7763E373,
    0x682E6FF3D6B2B8A3, 0x748F82EE5DEFB2FC, 0x78A5636F43172F60, 0x84C87814A1F0AB72, 0x8CC702081A6439EC,
    0x90BEFFFA23631E28, 0xA4506CEBDE82BDE9, 0xBEF9A3F7B2C67915, 0xC67178F2E372532B, 0xCA273ECEEA26619C,
    0xD186B8C721C0C207, 0xEADA7DD6CDE0EB1E, 0xF57D4F7FEE6ED178, 0x06F067AA72176FBA, 0x0A637DC5A2C898A6,
    0x113F9804BEF90DAE, 0x1B710B35131C471B, 0x28DB77F523047D84, 0x32CAAB7B40C72493, 0x3C9EBE0A15C9BEBC,
    0x431D67C49C100D4C, 0x4CC5D4BECB3E42B6, 0x597F299CFC657E2A, 0x5FCB6FAB3AD6FAEC, 0x6C44198C4A475817,
};

template <int bits>
inline __m128i Rotated(__m128i words)
{
    return _mm_or_si128(_mm_srli_epi64(words, bits), _mm_slli_epi64(words, 64 - bits));
}

// By 8 bits, which is a shuffle of bytes.
inline __m128i RotatedByOneByte(__m128i words)
{
#ifdef __SSSE3__
    return _mm_shuffle_epi8(words, _mm_setr_epi8(1, 2, 3, 4, 5, 6, 7, 0, 9, 10, 11, 12, 13, 14, 15, 8));
#else
    return Rotated<8>(words);
#endif
}

// "sigma0" and "sigma1" of two words.
inline __m128i SmallSigma0(__m128i words)
{
    return _mm_xor_si128(_mm_xor_si128(Rotated<1>(words), RotatedByOneByte(words)), _mm_srli_epi64(words, 7));
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
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(swapped, 0x1B), 0x1B);
}

// Two words of the schedule, from those 16, 15, 7 and 2 before.
inline __m128i NextTwo(__m128i before16, __m128i before15, __m128i before7, __m128i before2)
{
    const __m128i early = _mm_add_epi64(_mm_add_epi64(before16, before7), SmallSigma0(before15));
    return _mm_add_epi64(early, SmallSigma1(before2));
}

inline void StoreTwo(__m128i words, const uint64_t *constants, uint64_t *to)
{
    const __m128i two = _mm_load_si128(reinterpret_cast<const __m128i *>(constants));
    _mm_store_si128(reinterpret_cast<__m128i *>(to), _mm_add_epi64(words, two));
}

struct Sha512 {
    using Word = uint64_t;
    struct Four {
        __m128i first, last;
    };
    static constexpr int kRounds = 80;
    static constexpr int kBlocks = 1;
    static constexpr int kTogether = 4;
    static constexpr const Word *kRoundConstants = kConstants;
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

    static inline void Store(Four words, const Word *constants, Word *to)
    {
        StoreTwo(words.first, constants, to);
        StoreTwo(words.last, constants + 2, to + 2);
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
    const __m256i byteFurther =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 2, 3, 4, 5, 6, 7, 0, 9, 10, 11, 12, 13, 14, 15, 8));
    return _mm256_xor_si256(_mm256_xor_si256(Rotated<1>(words), _mm256_shuffle_epi8(words, byteFurther)),
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
    static constexpr int kTogether = 2; // as they are in the registers

    static inline Four Load(const uint8_t *bytes) { return {TwoWords(bytes), TwoWords(bytes + 16)}; }

    static inline void ReplaceFirst(Four &w0, Four, Four w2, Four w3)
    {
        w0.first = NextTwo(w0.first, Further(w0.first, w0.last), Further(w2.first, w2.last), w3.last);
    }

    static inline void ReplaceLast(Four &w0, Four w1, Four w2, Four w3)
    {
        w0.last = NextTwo(w0.last, Further(w0.last, w1.first), Further(w2.last, w3.first), w0.first);
    }

    static inline void Store(Four words, const Word *constants, Word *to)
    {
        StoreTwoOfEach(words.first, constants, to);
        StoreTwoOfEach(words.last, constants + 2, to + 4);
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

    static inline void StoreTwoOfEach(__m256i words, const Word *constants, Word *to)
    {
        const __m256i two =
            _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(constants)));
        _mm256_store_si256(reinterpret_cast<__m256i *>(to), _mm256_add_epi64(words, two));
    }
};
#endif

} // namespace

TONEKIT_INTERNAL_BODY(Sha512Transform, void, (uint64_t * state, const uint8_t *blocks, size_t blockCount))
{
#ifdef __AVX2__
    for (; blockCount >= 2; blockCount -= 2, blocks += 2 * 128)
        Compress<Sha512Pair>(state, blocks);
#endif
    for (; blockCount != 0; --blockCount, blocks += 128)
        Compress<Sha512>(state, blocks);
}

} // namespace tonekit::TONEKIT_TIER
