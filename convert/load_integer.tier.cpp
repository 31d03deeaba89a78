// load_integer.tier.cpp: load kernels for integer PCM.
#include "convert/alignment.h"
#include "convert/sample_formats.h"
#include "frame/packed_samples.h"
#include "frame/tier.h"

#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// The loop of a format whose samples are computed one by one.
template <class Packed, class Work, class One>
inline void LoadPlain(const void *source, Work *destination, uint32_t count, One one)
{
    const auto *samples = static_cast<const Packed *>(source);
    uint32_t i = 0;
    for (const uint32_t head = UntilAligned(destination, count); i < head; ++i)
        destination[i] = one(samples[i]);
    for (; i < count; ++i)
        destination[i] = one(samples[i]);
}

inline int32_t SignExtend(PackedInt24 sample)
{
    const uint32_t word =
        uint32_t{sample.bytes[0]} << 8 | uint32_t{sample.bytes[1]} << 16 | uint32_t{sample.bytes[2]} << 24;
    return static_cast<int32_t>(word) >> 8;
}

// Short integers become doubles without a conversion: with the sign bit inverted they are the low bits of the
// number 2^(53 - n) + 1 + sample * 2^-(n-1), whose last place is worth 2^-(n-1). What is left when the two
// constants are taken off is exact, so it has the bits of the product.
template <int kBits>
struct LowBits {
    static constexpr double kBase = static_cast<double>(int64_t{1} << (53 - kBits));
    static constexpr int64_t kSign = int64_t{1} << (kBits - 1);
#ifdef __AVX2__
    static __m256d ToDoubles(__m256i samples)
    {
        const __m256i flip =
            _mm256_xor_si256(_mm256_castpd_si256(_mm256_set1_pd(kBase)), _mm256_set1_epi64x(kSign));
        return _mm256_castsi256_pd(_mm256_xor_si256(samples, flip)) - (kBase + 1.0);
    }
#endif
    static __m128d ToDoubles(__m128i samples)
    {
        const __m128i flip = _mm_xor_si128(_mm_castpd_si128(_mm_set1_pd(kBase)), _mm_set1_epi64x(kSign));
        return _mm_castsi128_pd(_mm_xor_si128(samples, flip)) - (kBase + 1.0);
    }
};

#ifdef __AVX2__

constexpr uint32_t kInt16Step = 8;
constexpr uint32_t kInt24Step = 8;
constexpr uint32_t kInt24Spare = 2; // samples, of which the last load of a step reads some bytes

inline void LoadStep16(const PackedInt16 *samples, double *destination)
{
    const __m256i kLow = _mm256_setr_epi8(0, 1, -1, -1, -1, -1, -1, -1, 2, 3, -1, -1, -1, -1, -1, -1, //
                                          4, 5, -1, -1, -1, -1, -1, -1, 6, 7, -1, -1, -1, -1, -1, -1);
    const __m256i kHigh = _mm256_setr_epi8(8, 9, -1, -1, -1, -1, -1, -1, 10, 11, -1, -1, -1, -1, -1, -1, //
                                           12, 13, -1, -1, -1, -1, -1, -1, 14, 15, -1, -1, -1, -1, -1, -1);
    const __m256i all =
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(samples)));
    _mm256_storeu_pd(destination, LowBits<16>::ToDoubles(_mm256_shuffle_epi8(all, kLow)));
    _mm256_storeu_pd(destination + 4, LowBits<16>::ToDoubles(_mm256_shuffle_epi8(all, kHigh)));
}

inline void LoadStep16(const PackedInt16 *samples, float *destination)
{
    const __m256i words = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(samples)));
    _mm256_storeu_ps(destination, _mm256_cvtepi32_ps(words) * 0x1p-15f);
}

inline void LoadStep24(const PackedInt24 *samples, double *destination)
{
    const __m256i kBytes = _mm256_setr_epi8(0, 1, 2, -1, -1, -1, -1, -1, 3, 4, 5, -1, -1, -1, -1, -1, //
                                            6, 7, 8, -1, -1, -1, -1, -1, 9, 10, 11, -1, -1, -1, -1, -1);
    for (int i = 0; i < 8; i += 4) {
        const auto *four = reinterpret_cast<const __m128i *>(samples + i);
        const __m256i all = _mm256_broadcastsi128_si256(_mm_loadu_si128(four));
        _mm256_storeu_pd(destination + i, LowBits<24>::ToDoubles(_mm256_shuffle_epi8(all, kBytes)));
    }
}

inline void LoadStep24(const PackedInt24 *samples, float *destination)
{
    const __m256i kBytes = _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, //
                                            -1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples + 4));
    const __m256i words = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), kBytes);
    _mm256_storeu_ps(destination, _mm256_cvtepi32_ps(words) * 0x1p-31f);
}

#else

constexpr uint32_t kInt16Step = 8;
constexpr uint32_t kInt24Step = 4;
constexpr uint32_t kInt24Spare = 2;

inline void LoadStep16(const PackedInt16 *samples, double *destination)
{
    const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples));
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi16(all, zero);
    const __m128i high = _mm_unpackhi_epi16(all, zero);
    _mm_storeu_pd(destination, LowBits<16>::ToDoubles(_mm_unpacklo_epi32(low, zero)));
    _mm_storeu_pd(destination + 2, LowBits<16>::ToDoubles(_mm_unpackhi_epi32(low, zero)));
    _mm_storeu_pd(destination + 4, LowBits<16>::ToDoubles(_mm_unpacklo_epi32(high, zero)));
    _mm_storeu_pd(destination + 6, LowBits<16>::ToDoubles(_mm_unpackhi_epi32(high, zero)));
}

// The same with floats: the samples are the low bits of 2^8 + 1 + sample * 2^-15, whose upper half is that of
// 2^8. Sign extension and conversion would take more than the two units that most processors have for them.
inline void LoadStep16(const PackedInt16 *samples, float *destination)
{
    constexpr float kBase = 0x1p8f;
    const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i *>(samples));
    const __m128i low = _mm_xor_si128(all, _mm_set1_epi16(INT16_MIN));
    const __m128i high = _mm_srli_epi32(_mm_castps_si128(_mm_set1_ps(kBase)), 16);
    const __m128i highs = _mm_packs_epi32(high, high);
    _mm_storeu_ps(destination, _mm_castsi128_ps(_mm_unpacklo_epi16(low, highs)) - (kBase + 1.0f));
    _mm_storeu_ps(destination + 4, _mm_castsi128_ps(_mm_unpackhi_epi16(low, highs)) - (kBase + 1.0f));
}

// Four samples in the upper three bytes of each word.
inline __m128i UpperBytes(const PackedInt24 *samples)
{
    #ifdef __SSSE3__
    const __m128i kBytes = _mm_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(samples)), kBytes);
    #else
    const __m128i first = _mm_unpacklo_epi32(_mm_loadu_si32(samples), _mm_loadu_si32(samples + 1));
    const __m128i second = _mm_unpacklo_epi32(_mm_loadu_si32(samples + 2), _mm_loadu_si32(samples + 3));
    return _mm_slli_epi32(_mm_unpacklo_epi64(first, second), 8);
    #endif
}

inline void LoadStep24(const PackedInt24 *samples, double *destination)
{
    const __m128i words = UpperBytes(samples);
    _mm_storeu_pd(destination, _mm_cvtepi32_pd(words) * 0x1p-31);
    _mm_storeu_pd(destination + 2, _mm_cvtepi32_pd(_mm_unpackhi_epi64(words, words)) * 0x1p-31);
}

inline void LoadStep24(const PackedInt24 *samples, float *destination)
{
    _mm_storeu_ps(destination, _mm_cvtepi32_ps(UpperBytes(samples)) * 0x1p-31f);
}

#endif

inline void LoadOne24(PackedInt24 sample, double *destination)
{
    *destination = SignExtend(sample) * 0x1p-23;
}

inline void LoadOne24(PackedInt24 sample, float *destination)
{
    *destination = static_cast<float>(SignExtend(sample)) * 0x1p-23f;
}

inline void LoadOne16(PackedInt16 sample, double *destination)
{
    *destination = sample.value * 0x1p-15;
}

inline void LoadOne16(PackedInt16 sample, float *destination)
{
    *destination = static_cast<float>(sample.value) * 0x1p-15f;
}

template <class Work>
inline void Load16(const void *source, Work *destination, uint32_t count)
{
    const auto *samples = static_cast<const PackedInt16 *>(source);
    for (uint32_t head = UntilAligned(destination, count); head != 0; --head, --count)
        LoadOne16(*samples++, destination++);
    for (; count >= kInt16Step; count -= kInt16Step, samples += kInt16Step, destination += kInt16Step)
        LoadStep16(samples, destination);
    for (; count != 0; --count, ++samples, ++destination)
        LoadOne16(*samples, destination);
}

template <class Work>
inline void Load24(const void *source, Work *destination, uint32_t count)
{
    const auto *samples = static_cast<const PackedInt24 *>(source);
    for (uint32_t head = UntilAligned(destination, count); head != 0; --head, --count)
        LoadOne24(*samples++, destination++);
    for (; count >= kInt24Step + kInt24Spare;
         count -= kInt24Step, samples += kInt24Step, destination += kInt24Step)
        LoadStep24(samples, destination);
    for (; count != 0; --count, ++samples, ++destination)
        LoadOne24(*samples, destination);
}

} // namespace

TONEKIT_INTERNAL_BODY(LoadInt8ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    LoadPlain<uint8_t>(source, destination, count, [](uint8_t sample) { return (sample - 128.0) * 0x1p-7; });
}

TONEKIT_INTERNAL_BODY(LoadInt8ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    LoadPlain<uint8_t>(source, destination, count,
                       [](uint8_t sample) { return (static_cast<float>(sample) + -128.0f) * 0x1p-7f; });
}

TONEKIT_INTERNAL_BODY(LoadInt16ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    Load16(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadInt16ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    Load16(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadInt24ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    Load24(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadInt24ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    Load24(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadInt32ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    LoadPlain<PackedInt32>(source, destination, count,
                           [](PackedInt32 sample) { return sample.value * 0x1p-31; });
}

TONEKIT_INTERNAL_BODY(LoadInt32ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    // The product in double is exact, so the one rounding may as well be that of the integer.
    LoadPlain<PackedInt32>(source, destination, count,
                           [](PackedInt32 sample) { return static_cast<float>(sample.value) * 0x1p-31f; });
}

// No tier has vector conversions of 64-bit integers.
TONEKIT_INTERNAL_BODY(LoadInt64ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt64 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<double>(samples[i].value) * 0x1p-63;
}

TONEKIT_INTERNAL_BODY(LoadInt64ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    // Rounded twice, to double and to float.
    const auto *samples = static_cast<const PackedInt64 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(static_cast<double>(samples[i].value) * 0x1p-63);
}

TONEKIT_INTERNAL_BODY(LoadHdcdInt32ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const double gain = HdcdGainTable[GetHDCDGain()];
    LoadPlain<PackedInt32>(source, destination, count,
                           [gain](PackedInt32 sample) { return sample.value * 0x1p-31 * gain; });
}

TONEKIT_INTERNAL_BODY(LoadHdcdInt32ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    const double gain = HdcdGainTable[GetHDCDGain()];
    LoadPlain<PackedInt32>(source, destination, count, [gain](PackedInt32 sample) {
        return static_cast<float>(sample.value * 0x1p-31 * gain);
    });
}

} // namespace tonekit::TONEKIT_TIER
