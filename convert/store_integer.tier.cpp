// store_integer.tier.cpp: store kernels for integer PCM.
//
// Samples go in groups. To 16 and 24 bits a group is first rounded without limits; only where that shows a
// sample beyond what the packing can take is it done again with them. Each kernel ends with single samples,
// whose functions state the rules as they are.
#include "frame/tier.h"

#include "convert/packed_samples.h"
#include "convert/sample_vectors.h"

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr uint32_t kVectors = 4;
constexpr uint32_t kGroup = kVectors * kLanes;

inline int32_t TruncateOne(double y)
{
    return _mm_cvttsd_si32(_mm_set_sd(y));
}

inline int32_t TruncateOne(float y)
{
    return _mm_cvttss_si32(_mm_set_ss(y));
}

// The integer rule: the half is added before the limits apply, and 0 takes the negative branch.
template <class Encoding, class Work>
inline int32_t RoundOne(Work sample)
{
    constexpr Work kHigh = Encoding::kScale - 1;
    constexpr Work kLow = -Encoding::kScale;
    const Work x = sample * static_cast<Work>(Encoding::kScale);
    Work y;
    if (x > 0) {
        y = x + static_cast<Work>(0.5);
        y = kHigh < y ? kHigh : y;
    } else {
        y = x - static_cast<Work>(0.5);
        y = kLow > y ? kLow : y;
    }
    return TruncateOne(y);
}

struct NoLimits {
    FloatVector operator()(FloatVector y) const { return y; }
    DoubleVector operator()(DoubleVector y) const { return y; }
};

template <class Encoding>
struct Limits {
    FloatVector operator()(FloatVector y) const
    {
        return AtLeast(-Encoding::kScale, AtMost(Encoding::kScale - 1, y));
    }
    DoubleVector operator()(DoubleVector y) const
    {
        return AtLeast(-Encoding::kScale, AtMost(Encoding::kScale - 1, y));
    }
};

template <class Encoding, class Limit>
inline DoubleVector RoundDoubles(DoubleVector samples, Limit limit)
{
    const DoubleVector x = samples * static_cast<double>(Encoding::kScale);
    return limit(x + SignedHalf(x));
}

// kLanes samples as integers. The half has the sign of x also for +0.0, where it makes no difference.
template <class Encoding, class Limit>
inline IntVector Round(const float *samples, Limit limit)
{
    const FloatVector x = LoadFloats(samples) * static_cast<float>(Encoding::kScale);
    return Truncate(limit(x + SignedHalf(x)));
}

template <class Encoding, class Limit>
inline IntVector Round(const double *samples, Limit limit)
{
    return Truncate(RoundDoubles<Encoding>(LoadDoubles(samples), limit),
                    RoundDoubles<Encoding>(LoadDoubles(samples + kLanes / 2), limit));
}

#ifdef __AVX2__
inline IntVector EqualOutOfRange(IntVector ints)
{
    return _mm256_cmpeq_epi32(ints, _mm256_set1_epi32(kOutOfRange));
}

inline IntVector ZeroOutOfRange(IntVector ints)
{
    return _mm256_andnot_si256(EqualOutOfRange(ints), ints);
}

// Whether all integers are within 32 bits.
inline bool FitConversion(const IntVector (&ints)[kVectors])
{
    static_assert(kVectors == 4);
    const IntVector lowest =
        _mm256_min_epi32(_mm256_min_epi32(ints[0], ints[1]), _mm256_min_epi32(ints[2], ints[3]));
    return _mm256_movemask_epi8(EqualOutOfRange(lowest)) == 0;
}

// Whether all integers are within 24 bits.
inline bool Fit24Bits(const IntVector (&ints)[kVectors])
{
    IntVector seen = _mm256_setzero_si256();
    for (const IntVector &vector : ints)
        seen = _mm256_or_si256(seen, _mm256_add_epi32(vector, _mm256_set1_epi32(1 << 23)));
    return _mm256_testz_si256(seen, _mm256_set1_epi32(-(1 << 24)));
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

inline void Write32(uint8_t *out, IntVector ints)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), ints);
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

inline IntVector EqualOutOfRange(IntVector ints)
{
    return _mm_cmpeq_epi32(ints, _mm_set1_epi32(kOutOfRange));
}

inline IntVector ZeroOutOfRange(IntVector ints)
{
    return _mm_andnot_si128(EqualOutOfRange(ints), ints);
}

inline bool FitConversion(const IntVector (&ints)[kVectors])
{
    IntVector seen = _mm_setzero_si128();
    for (const IntVector &vector : ints)
        seen = _mm_or_si128(seen, EqualOutOfRange(vector));
    return _mm_movemask_epi8(seen) == 0;
}

inline bool Fit24Bits(const IntVector (&ints)[kVectors])
{
    IntVector seen = _mm_setzero_si128();
    for (const IntVector &vector : ints)
        seen = _mm_or_si128(seen, _mm_add_epi32(vector, _mm_set1_epi32(1 << 23)));
    const IntVector inside = _mm_cmpeq_epi32(_mm_srli_epi32(seen, 24), _mm_setzero_si128());
    return _mm_movemask_epi8(inside) == 0xFFFF;
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

inline void Write32(uint8_t *out, IntVector ints)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), ints);
}

inline void Write8(uint8_t *out, const IntVector (&ints)[4])
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out),
                     _mm_packus_epi16(_mm_packs_epi32(ints[0], ints[1]), _mm_packs_epi32(ints[2], ints[3])));
}

#endif

struct Int16 {
    static constexpr int kScale = 1 << 15;
    static constexpr uint32_t kBytes = 2;
    static constexpr uint32_t kExcess = 0;

    // Packing saturates: only what 32 bits did not hold is lost to it.
    static bool Fit(const IntVector (&ints)[kVectors]) { return FitConversion(ints); }
    static void Write(uint8_t *out, const IntVector (&ints)[kVectors])
    {
        for (uint32_t i = 0; i < kVectors; i += 2)
            Write16(out + i * kLanes * kBytes, ints[i], ints[i + 1]);
    }
    static void WriteOne(uint8_t *out, int32_t value)
    {
        *reinterpret_cast<PackedInt16 *>(out) = static_cast<int16_t>(value);
    }
};

struct Int24 {
    static constexpr int kScale = 1 << 23;
    static constexpr uint32_t kBytes = 3;
    static constexpr uint32_t kExcess = kWrite24Excess;

    static bool Fit(const IntVector (&ints)[kVectors]) { return Fit24Bits(ints); }
    static void Write(uint8_t *out, const IntVector (&ints)[kVectors])
    {
        for (uint32_t i = 0; i < kVectors; ++i)
            Write24(out + i * kLanes * kBytes, ints[i]);
    }
    static void WriteOne(uint8_t *out, int32_t value)
    {
        out[0] = static_cast<uint8_t>(value);
        out[1] = static_cast<uint8_t>(value >> 8);
        out[2] = static_cast<uint8_t>(value >> 16);
    }
};

struct Int32 {
    static constexpr double kScale = 0x1p31;
    static constexpr uint32_t kBytes = 4;
};

template <class Encoding, class Sample>
inline void StoreGroup(uint8_t *out, const Sample *source)
{
    IntVector ints[kVectors];
    for (uint32_t i = 0; i < kVectors; ++i)
        ints[i] = Round<Encoding>(source + i * kLanes, NoLimits{});
    if (__builtin_expect(!Encoding::Fit(ints), 0))
        for (uint32_t i = 0; i < kVectors; ++i)
            ints[i] = ZeroOutOfRange(Round<Encoding>(source + i * kLanes, Limits<Encoding>{}));
    Encoding::Write(out, ints);
}

template <class Encoding, class Sample>
inline void Store(void *destination, const Sample *source, uint32_t count)
{
    constexpr uint32_t kSpare = (Encoding::kExcess + Encoding::kBytes - 1) / Encoding::kBytes;
    auto *out = static_cast<uint8_t *>(destination);
    for (; count >= kGroup + kSpare; count -= kGroup, source += kGroup, out += kGroup * Encoding::kBytes)
        StoreGroup<Encoding>(out, source);
    for (; count != 0; --count, ++source, out += Encoding::kBytes)
        Encoding::WriteOne(out, RoundOne<Encoding>(*source));
}

// The lower limit of 32 bits is what the conversion gives for all that lies below it, and for a NaN.
struct HighLimit32 {
    DoubleVector operator()(DoubleVector y) const { return AtMost(2147483647.0, y); }
};

template <class Sample>
inline void Store32(void *destination, const Sample *source, uint32_t count)
{
    auto *out = static_cast<uint8_t *>(destination);
    for (; count >= kLanes; count -= kLanes, source += kLanes, out += kLanes * Int32::kBytes) {
        const DoubleVector low = RoundDoubles<Int32>(LoadDoubles(source), HighLimit32{});
        const DoubleVector high = RoundDoubles<Int32>(LoadDoubles(source + kLanes / 2), HighLimit32{});
        Write32(out, Truncate(low, high));
    }
    for (; count != 0; --count, ++source, out += Int32::kBytes)
        *reinterpret_cast<PackedInt32 *>(out) = RoundOne<Int32>(static_cast<double>(*source));
}

// The offset rule of 8 bits. Only the upper limit needs a test: packing saturates at 0.
template <class Work>
inline uint8_t OffsetOne(Work t)
{
    const Work below = t > 255 ? 255 : t;
    return static_cast<uint8_t>(TruncateOne(0 > below ? 0 : below));
}

inline uint8_t RoundOne8(double sample)
{
    return OffsetOne(sample * 128.0 + 128.0 + 0.5);
}

inline uint8_t RoundOne8(float sample)
{
    return OffsetOne(static_cast<float>(static_cast<double>(sample) * 128.0 + 128.0) + 0.5f);
}

inline IntVector Round8(const double *samples)
{
    return Truncate(AtMost(255.0, LoadDoubles(samples) * 128.0 + 128.0 + 0.5),
                    AtMost(255.0, LoadDoubles(samples + kLanes / 2) * 128.0 + 128.0 + 0.5));
}

inline IntVector Round8(const float *samples)
{
    const FloatVector offset =
        Narrow(LoadDoubles(samples) * 128.0 + 128.0, LoadDoubles(samples + kLanes / 2) * 128.0 + 128.0);
    return Truncate(AtMost(255.0f, offset + 0.5f));
}

template <class Sample>
inline void Store8(void *destination, const Sample *source, uint32_t count)
{
    auto *out = static_cast<uint8_t *>(destination);
    for (; count >= 4 * kLanes; count -= 4 * kLanes, source += 4 * kLanes, out += 4 * kLanes)
        Write8(out, {Round8(source), Round8(source + kLanes), Round8(source + 2 * kLanes),
                     Round8(source + 3 * kLanes)});
    for (; count != 0; --count, ++source, ++out)
        *out = RoundOne8(*source);
}

} // namespace

TONEKIT_INTERNAL_BODY(StoreDoubleToInt8, void, (void *destination, const double *source, uint32_t count))
{
    Store8(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToInt8, void, (void *destination, const float *source, uint32_t count))
{
    Store8(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreDoubleToInt16, void, (void *destination, const double *source, uint32_t count))
{
    Store<Int16>(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToInt16, void, (void *destination, const float *source, uint32_t count))
{
    Store<Int16>(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreDoubleToInt24, void, (void *destination, const double *source, uint32_t count))
{
    Store<Int24>(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToInt24, void, (void *destination, const float *source, uint32_t count))
{
    Store<Int24>(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreDoubleToInt32, void, (void *destination, const double *source, uint32_t count))
{
    Store32(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToInt32, void, (void *destination, const float *source, uint32_t count))
{
    Store32(destination, source, count);
}

} // namespace tonekit::TONEKIT_TIER
