// dither.tier.cpp: dithers a channel of a block in one of three modes.
#include "convert/dither.h"

#include "convert/dither_noise.h"
#include "convert/lanes.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {
namespace {

// Division by the scale: by a power of two it is the product with the reciprocal, to the bit.
template <class T>
struct Division {
    T by;
    template <class Values>
    [[gnu::always_inline]] Values operator()(Values values, Values spread) const
    {
        return values / spread;
    }
};
template <class T>
struct Reciprocal {
    T by;
    template <class Values>
    [[gnu::always_inline]] Values operator()(Values values, Values spread) const
    {
        return values * spread;
    }
};

bool HasExactReciprocal(double value)
{
    uint64_t bits;
    static_assert(sizeof bits == sizeof value);
    __builtin_memcpy(&bits, &value, sizeof bits);
    const uint64_t exponent = bits >> 52 & 0x7FF;
    return (bits & 0xFFFFFFFFFFFFF) == 0 && exponent >= 1 && exponent <= 0x7FD;
}

bool HasExactReciprocal(float value)
{
    uint32_t bits;
    static_assert(sizeof bits == sizeof value);
    __builtin_memcpy(&bits, &value, sizeof bits);
    const uint32_t exponent = bits >> 23 & 0xFF;
    return (bits & 0x7FFFFF) == 0 && exponent >= 1 && exponent <= 0xFD;
}

// One sample, or two neighbours in a register, in the precision T.
template <class T, uint32_t Channels>
struct Values;
template <class T>
struct Values<T, 1> : Lanes<T, 1> {
    [[gnu::always_inline]] static double Noise(const double *noise) { return *noise; }
    [[gnu::always_inline]] static T Narrow(double value) { return static_cast<T>(value); }
    [[gnu::always_inline]] static double Widen(T value) { return value; }
};
template <>
struct Values<double, 2> : Lanes<double, 2> {
    [[gnu::always_inline]] static __m128d Noise(const double *noise) { return _mm_loadu_pd(noise); }
    [[gnu::always_inline]] static __m128d Narrow(__m128d value) { return value; }
    [[gnu::always_inline]] static __m128d Widen(__m128d value) { return value; }
};
template <>
struct Values<float, 2> : Lanes<float, 2> {
    [[gnu::always_inline]] static __m128d Noise(const double *noise) { return _mm_loadu_pd(noise); }
    [[gnu::always_inline]] static __m128 Narrow(__m128d value) { return _mm_cvtpd_ps(value); }
    [[gnu::always_inline]] static __m128d Widen(__m128 value) { return _mm_cvtps_pd(value); }
};

// The noise of one channel, or of two neighbours that each have their own stretch of the generator's run:
// visits in a row for the left one, then as many for the right one.
template <uint32_t Channels>
class NoiseSource {
public:
    static constexpr uint32_t kFrames = kNoiseTile / Channels;

    explicit NoiseSource(uint64_t visits)
    {
        const Leap channelLeap = LeapOf(visits);
        seeds_[0] = DitherSeed();
        for (uint32_t c = 1; c < Channels; ++c)
            seeds_[c] = channelLeap.From(seeds_[c - 1]);
        SetDitherSeed(channelLeap.From(seeds_[Channels - 1]));
    }

    // The noise of the next kFrames frames, interleaved.
    [[gnu::always_inline]] void Fill(double *noise)
    {
        uint32_t firsts[kNoiseRuns];
        for (uint32_t c = 0; c < Channels; ++c)
            firsts[c] = kOneStep.From(seeds_[c]);
        for (uint32_t i = Channels; i < kNoiseRuns; ++i)
            firsts[i] = kOneStep.From(firsts[i - Channels]);
        constexpr Leap kRunLeap = LeapOf(kNoiseRuns / Channels);
        constexpr Leap kTileLeap = LeapOf(kFrames);
        FillNoise(firsts, kRunLeap, noise);
        for (uint32_t c = 0; c < Channels; ++c)
            seeds_[c] = kTileLeap.From(seeds_[c]);
    }

private:
    uint32_t seeds_[Channels];
};

// Modes 0 and 1 over one channel or two neighbours.
template <uint32_t Channels, bool HighPass, class T, class Dither, class Divide>
void AddNoise(Dither *dithers, T scale, T *samples, uint64_t visits, uint64_t stride, Divide divide)
{
    using V = Values<T, Channels>;
    using Frame = Lanes<T, static_cast<int>(Channels)>;
    const auto scales = V::Spread(scale).value;
    const auto divisors = V::Spread(divide.by).value;
    NoiseSource<Channels> source(visits);
    T previous[Channels];
    for (uint32_t c = 0; c < Channels; ++c)
        previous[c] = dithers[c].previous;
    auto last = V::Load(previous).value;
    double noise[kNoiseTile];
    while (visits != 0) {
        const uint32_t frames = visits < source.kFrames ? static_cast<uint32_t>(visits) : source.kFrames;
        source.Fill(noise);
        for (uint32_t i = 0; i < frames; ++i, samples += stride) {
            const auto steps = V::Load(samples).value * scales;
            const auto now = V::Noise(noise + Channels * i);
            auto sums = steps;
            if constexpr (HighPass) {
                sums = steps + V::Narrow(now) - last;
                last = V::Narrow(now);
            } else {
                sums = V::Narrow(V::Widen(steps) - now);
            }
            Frame{divide(sums, divisors)}.Store(samples);
        }
        visits -= frames;
    }
    Frame{last}.Store(previous);
    for (uint32_t c = 0; c < Channels; ++c)
        dithers[c].previous = previous[c];
}

// The weights of the latest errors, the newest first.
template <class T>
constexpr T kWeights[5] = {};
template <>
constexpr double kWeights<double>[5] = {2.033, -2.165, 1.959, -1.59, 0.6149};
template <>
constexpr float kWeights<float>[5] = {2.033f, -2.165f, 1.959f, -1.59f, 0.6149f};

// The nearest integer, ties to even, as a float; the range is that of a 64-bit integer on every system, and
// beyond it, or for a NaN, the result is its lowest number.
[[gnu::always_inline]] inline float NearestInteger(float value)
{
    // In this sum the unit of the last place is 1, so it rounds as asked.
    constexpr float kOnes = 0x1.8p23f;
    if (__builtin_expect(__builtin_fabsf(value) < 0x1p22f, 1))
        return (value + kOnes) - kOnes;
    return static_cast<float>(_mm_cvtss_si64(_mm_set_ss(value)));
}

// What one channel carries from sample to sample in mode 2, out of the object for the length of a block.
template <class T>
struct Shaper {
    T errors[5]; // the newest first
    uint32_t position;
    uint32_t state; // of the generator

    template <class Dither>
    [[gnu::always_inline]] void Open(const Dither &dither, uint32_t seed)
    {
        position = static_cast<uint32_t>(dither.position);
        state = seed;
        for (uint32_t i = 0; i < 5; ++i)
            errors[i] = dither.history[(position - i) & 7];
    }

    // One sample in output steps, shaped and with noise; the error of its rounding goes to the history.
    [[gnu::always_inline]] T Step(T sum, T *history)
    {
        constexpr Leap kTwoSteps = LeapOf(2);
        if (sum != sum)
            sum = 0;
        const uint32_t first = kOneStep.From(state);
        state = kTwoSteps.From(state);
        const T noise = static_cast<T>(NoiseOf(first) + NoiseOf(state));
        for (uint32_t i = 0; i < 5; ++i)
            sum = sum + errors[i] * kWeights<T>[i];
        const T dithered = sum + noise;
        for (uint32_t i = 4; i > 0; --i)
            errors[i] = errors[i - 1];
        // Narrowed to float for double samples too. Required behaviour; do not change.
        errors[0] = sum - static_cast<T>(NearestInteger(static_cast<float>(dithered)));
        position = (position + 1) & 7;
        history[position] = errors[0];
        return dithered;
    }
};

// Mode 2 over neighbouring channels. A sample waits for the error of the one before it, so a channel alone
// leaves the processor idle most of the time; the channels are independent once each knows its place in the
// generator's run, which goes through the whole of a channel before the next.
template <uint32_t Channels, class T, class Dither, class Divide>
void Shape(Dither *dithers, T scale, T *samples, uint64_t visits, uint64_t stride, Divide divide)
{
    const Leap channelLeap = LeapOf(2 * visits);
    Shaper<T> shapers[Channels];
    uint32_t seed = DitherSeed();
    for (uint32_t c = 0; c < Channels; ++c, seed = channelLeap.From(seed))
        shapers[c].Open(dithers[c], seed);
    for (; visits != 0; --visits, samples += stride)
#pragma GCC unroll 4
        for (uint32_t c = 0; c < Channels; ++c)
            samples[c] = divide(shapers[c].Step(samples[c] * scale, dithers[c].history), divide.by);
    for (uint32_t c = 0; c < Channels; ++c)
        dithers[c].position = static_cast<int32_t>(shapers[c].position);
    SetDitherSeed(seed);
}

template <uint32_t Channels, class T, class Dither, class Divide>
void ProcessMode(Dither *dithers, int32_t mode, T scale, T *samples, uint64_t visits, uint64_t stride,
                 Divide divide)
{
    if (mode == 0)
        AddNoise<Channels, false>(dithers, scale, samples, visits, stride, divide);
    else if (mode == 1)
        AddNoise<Channels, true>(dithers, scale, samples, visits, stride, divide);
    else
        Shape<Channels>(dithers, scale, samples, visits, stride, divide);
}

// The visited samples of `channels` neighbouring channels, one channel after the other.
template <class T, class Dither, class Divide>
void Process(Dither *dithers, int32_t mode, T scale, T *samples, uint64_t visits, uint64_t stride,
             uint32_t channels, Divide divide)
{
    for (; mode == 2 && channels >= 4; channels -= 4, dithers += 4, samples += 4)
        Shape<4>(dithers, scale, samples, visits, stride, divide);
    for (; channels >= 2; channels -= 2, dithers += 2, samples += 2)
        ProcessMode<2>(dithers, mode, scale, samples, visits, stride, divide);
    if (channels != 0)
        ProcessMode<1>(dithers, mode, scale, samples, visits, stride, divide);
}

template <class T, class Dither>
[[gnu::always_inline]] inline void ProcessChannels(Dither *dithers, int32_t mode, T scale, T *samples,
                                                   uint64_t visits, uint64_t stride, uint32_t channels)
{
    if (mode < 0 || mode > 2 || visits == 0)
        return;
    if (HasExactReciprocal(scale))
        Process(dithers, mode, scale, samples, visits, stride, channels, Reciprocal<T>{1 / scale});
    else
        Process(dithers, mode, scale, samples, visits, stride, channels, Division<T>{scale});
}

[[gnu::always_inline]] inline uint64_t Visits(uint32_t count, uint32_t stride)
{
    return count == 0 || stride == 0 ? 0 : (static_cast<uint64_t>(count) - 1) / stride + 1;
}

} // namespace

TONEKIT_INTERNAL_BODY(FloatDitherProcessBlock, void,
                      (FloatDither * dither, int32_t mode, float scale, float *samples, uint32_t count,
                       uint32_t stride))
{
    ProcessChannels(dither, mode, scale, samples, Visits(count, stride), stride, 1);
}

TONEKIT_INTERNAL_BODY(DoubleDitherProcessBlock, void,
                      (DoubleDither * dither, int32_t mode, double scale, double *samples, uint32_t count,
                       uint32_t stride))
{
    ProcessChannels(dither, mode, scale, samples, Visits(count, stride), stride, 1);
}

TONEKIT_INTERNAL_BODY(FloatDitherProcessFrames, void,
                      (FloatDither * dithers, int32_t mode, float scale, float *samples, uint32_t frames,
                       uint32_t channels))
{
    ProcessChannels(dithers, mode, scale, samples, frames, channels, channels);
}

TONEKIT_INTERNAL_BODY(DoubleDitherProcessFrames, void,
                      (DoubleDither * dithers, int32_t mode, double scale, double *samples, uint32_t frames,
                       uint32_t channels))
{
    ProcessChannels(dithers, mode, scale, samples, frames, channels, channels);
}

} // namespace tonekit::TONEKIT_TIER
