// store_integer.tier.cpp: store kernels for integer PCM.
//
// Samples go in groups. To 16 and 24 bits a group is first rounded without limits; where that shows a sample
// beyond what the packing can take, this group and some that follow are done with them. Each kernel ends with
// single samples, whose functions state the rules as they are.
#include "convert/alignment.h"
#include "convert/integer_packing.h"
#include "convert/lanes.h"
#include "convert/sample_formats.h"
#include "frame/packed_samples.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {

namespace {

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

// Clipped samples seldom come alone: so many groups go with limits before one is tried without again. A test
// whose answer keeps changing would cost more than the limits.
constexpr uint32_t kLimitedGroups = 16;

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

// Vector i of a group as integers.
template <class Encoding, class Limit>
inline IntVector Round(const FloatGroup &group, uint32_t i, Limit limit)
{
    const FloatVector samples = group.vectors[i];
    return Truncate(limit(ScaledPlus(samples, static_cast<float>(Encoding::kScale), SignedHalf(samples))));
}

template <class Encoding, class Limit>
inline IntVector Round(const DoubleGroup &group, uint32_t i, Limit limit)
{
    constexpr double kScale = Encoding::kScale;
    const DoubleVector low = group.vectors[2 * i];
    const DoubleVector high = group.vectors[2 * i + 1];
    return Truncate(limit(ScaledPlus(low, kScale, SignedHalf(low))),
                    limit(ScaledPlus(high, kScale, SignedHalf(high))));
}

struct Int16 {
    static constexpr int kScale = 1 << 15;
    static constexpr uint32_t kBytes = 2;
    static constexpr uint32_t kExcess = 0;

    // Packing saturates, so only what is far beyond full scale needs the limits.
    template <class Group>
    static bool NeedLimits(const Group &group, const IntVector (&)[kVectors])
    {
        return AnyReachesTwo(group);
    }
    static void Write(uint8_t *out, const IntVector (&ints)[kVectors])
    {
        for (uint32_t i = 0; i < kVectors; i += 2)
            Write16(out + i * kLanes * kBytes, ints[i], ints[i + 1]);
    }
    static void WriteOne(uint8_t *out, int32_t value)
    {
        reinterpret_cast<PackedInt16 *>(out)->value = static_cast<int16_t>(value);
    }
};

struct Int24 {
    static constexpr int kScale = 1 << 23;
    static constexpr uint32_t kBytes = 3;
    static constexpr uint32_t kExcess = kWrite24Excess;

    template <class Group>
    static bool NeedLimits(const Group &, const IntVector (&ints)[kVectors])
    {
        return AnyExceeds24Bits(ints);
    }
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
[[gnu::noinline]] void StoreLimited(uint8_t *out, const Sample *source, uint32_t groups)
{
    for (; groups != 0; --groups, source += kGroup, out += kGroup * Encoding::kBytes) {
        const auto group = LoadGroup(source);
        IntVector ints[kVectors];
        for (uint32_t i = 0; i < kVectors; ++i)
            ints[i] = ZeroOutOfRange(Round<Encoding>(group, i, Limits<Encoding>{}));
        Encoding::Write(out, ints);
    }
}

// Stores a group and says so, unless it needs the limits.
template <class Encoding, class Sample>
[[gnu::always_inline]] inline bool StoreUnlimited(uint8_t *out, const Sample *source)
{
    const auto group = LoadGroup(source);
    IntVector ints[kVectors];
    for (uint32_t i = 0; i < kVectors; ++i)
        ints[i] = Round<Encoding>(group, i, NoLimits{});
    if (__builtin_expect(Encoding::NeedLimits(group, ints), 0))
        return false;
    Encoding::Write(out, ints);
    return true;
}

template <class Encoding, class Sample>
inline void Store(void *destination, const Sample *source, uint32_t count)
{
    constexpr uint32_t kSpare = (Encoding::kExcess + Encoding::kBytes - 1) / Encoding::kBytes;
    auto *out = static_cast<uint8_t *>(destination);
    for (uint32_t head = UntilAligned(source, count); head != 0; --head, --count, out += Encoding::kBytes)
        Encoding::WriteOne(out, RoundOne<Encoding>(*source++));
    while (count >= kGroup + kSpare) {
        uint32_t groups = 1;
        if (__builtin_expect(!StoreUnlimited<Encoding>(out, source), 0)) {
            const uint32_t left = (count - kSpare) / kGroup;
            groups = left < kLimitedGroups ? left : kLimitedGroups;
            StoreLimited<Encoding>(out, source, groups);
        }
        count -= groups * kGroup;
        source += groups * kGroup;
        out += groups * kGroup * Encoding::kBytes;
    }
    for (; count != 0; --count, ++source, out += Encoding::kBytes)
        Encoding::WriteOne(out, RoundOne<Encoding>(*source));
}

// The lower limit of 32 bits is what the conversion returns for all that lies below it, and for a NaN.
template <class Sample>
inline void Store32(void *destination, const Sample *source, uint32_t count)
{
    constexpr double kHigh = Int32::kScale - 1;
    auto *out = static_cast<uint8_t *>(destination);
    const auto storeOne = [&] {
        reinterpret_cast<PackedInt32 *>(out)->value = RoundOne<Int32>(static_cast<double>(*source));
        --count;
        ++source;
        out += Int32::kBytes;
    };
    for (uint32_t head = UntilAligned(source, count); head != 0; --head)
        storeOne();
    for (; count >= kLanes; count -= kLanes, source += kLanes, out += kLanes * Int32::kBytes) {
        const DoubleVector low = LoadDoubles(source);
        const DoubleVector high = LoadDoubles(source + kLanes / 2);
        WriteTruncated(out, AtMost(kHigh, ScaledPlus(low, Int32::kScale, SignedHalf(low))),
                       AtMost(kHigh, ScaledPlus(high, Int32::kScale, SignedHalf(high))));
    }
    while (count != 0)
        storeOne();
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

inline DoubleVector Offset8(DoubleVector samples)
{
    return ScaledPlus(samples, 128.0, DoubleVector{} + 128.0);
}

inline IntVector Round8(const double *samples)
{
    return Truncate(AtMost(255.0, Offset8(LoadDoubles(samples)) + 0.5),
                    AtMost(255.0, Offset8(LoadDoubles(samples + kLanes / 2)) + 0.5));
}

inline IntVector Round8(const float *samples)
{
    const FloatVector offset =
        Narrow(Offset8(LoadDoubles(samples)), Offset8(LoadDoubles(samples + kLanes / 2)));
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
