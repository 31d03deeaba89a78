// dither.tier.cpp: dithers a channel of a block in one of three modes.
#include "convert/dither.h"
#include "frame/tier.h"
#include <cstddef>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

// Many steps of the generator at once: state * multiplier + increment.
struct Leap {
    uint32_t multiplier;
    uint32_t increment;

    [[gnu::always_inline]] constexpr uint32_t From(uint32_t state) const
    {
        return state * multiplier + increment;
    }
    [[gnu::always_inline]] constexpr Leap After(Leap first) const
    {
        return {first.multiplier * multiplier, From(first.increment)};
    }
};

constexpr Leap kOneStep{214013, 2531011};

constexpr Leap LeapOf(uint64_t steps)
{
    Leap leap{1, 0};
    for (Leap power = kOneStep; steps != 0; steps >>= 1, power = power.After(power))
        if (steps & 1)
            leap = power.After(leap);
    return leap;
}

// The 15 upper bits but one of a state, as noise between -0.5 and +0.5: k / 32767.0 - 0.5, to the bit. The
// quotient is k times (2^-15 + 2^-30 + 2^-45 + ...): the product with the first three terms is exact, the
// next three reach far below the last bit, and so one sum rounds as the division would, for every k.
constexpr double kQuotientHead = 0x1p-15 + 0x1p-30 + 0x1p-45;
constexpr double kQuotientTail = 0x1p-60 + 0x1p-75 + 0x1p-90;

[[gnu::always_inline]] inline double NoiseOf(uint32_t state)
{
    const double k = static_cast<int32_t>((state >> 16) & 0x7FFF);
    return (k * kQuotientHead + k * kQuotientTail) + -0.5;
}

// Noise is made a tile at a time, by kChains * 2 independent runs of the generator side by side.
constexpr uint32_t kTile = 256;
constexpr uint32_t kChains = 4;
constexpr Leap kChainLeap = LeapOf(2 * kChains);
constexpr Leap kTileLeap = LeapOf(kTile);

// Fills a tile with the noise of the states after `state`.
void FillNoise(uint32_t state, double *noise)
{
    __m128i states[kChains];
    for (__m128i &pair : states) {
        const uint32_t first = kOneStep.From(state);
        state = kOneStep.From(first);
        pair = _mm_set_epi32(0, static_cast<int32_t>(state), 0, static_cast<int32_t>(first));
    }
    const __m128i multiplier = _mm_set1_epi32(static_cast<int32_t>(kChainLeap.multiplier));
    const __m128i increment = _mm_set1_epi32(static_cast<int32_t>(kChainLeap.increment));
    const __m128i fifteenBits = _mm_set1_epi64x(0x7FFF);
    const __m128i twoTo52 = _mm_set1_epi64x(0x4330000000000000);
    for (uint32_t i = 0; i < kTile; i += 2 * kChains) {
        for (uint32_t chain = 0; chain < kChains; ++chain) {
            // A state is the lower half of its 64 bits. An integer below 2^52 under the bits of 2^52 is their
            // sum.
            const __m128i bits = _mm_and_si128(_mm_srli_epi64(states[chain], 16), fifteenBits);
            const __m128d k = _mm_sub_pd(_mm_castsi128_pd(_mm_or_si128(bits, twoTo52)), _mm_set1_pd(0x1p52));
            const __m128d quotient = _mm_add_pd(_mm_mul_pd(k, _mm_set1_pd(kQuotientHead)),
                                                _mm_mul_pd(k, _mm_set1_pd(kQuotientTail)));
            _mm_storeu_pd(noise + i + 2 * chain, _mm_add_pd(quotient, _mm_set1_pd(-0.5)));
            states[chain] = _mm_add_epi64(_mm_mul_epu32(states[chain], multiplier), increment);
        }
    }
}

// Division by the scale: by a power of two it is the product with the reciprocal, to the bit.
template <class T>
struct Division {
    T divisor;
    [[gnu::always_inline]] T operator()(T value) const { return value / divisor; }
};
template <class T>
struct Reciprocal {
    T factor;
    [[gnu::always_inline]] T operator()(T value) const { return value * factor; }
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

// Hands the visited samples to apply(sample, noise), in order, one generator step each.
template <class T, class Apply>
[[gnu::always_inline]] inline void ForEachWithNoise(T *samples, uint64_t visits, uint64_t stride, Apply apply)
{
    uint32_t state = DitherSeed();
    double noise[kTile];
    while (visits != 0) {
        const uint32_t tile = visits < kTile ? static_cast<uint32_t>(visits) : kTile;
        FillNoise(state, noise);
        for (uint32_t i = 0; i < tile; ++i, samples += stride)
            *samples = apply(*samples, noise[i]);
        state = (tile == kTile ? kTileLeap : LeapOf(tile)).From(state);
        visits -= tile;
    }
    SetDitherSeed(state);
}

template <class T, class Divide>
void AddRectangular(T scale, T *samples, uint64_t visits, uint64_t stride, Divide byScale)
{
    ForEachWithNoise(samples, visits, stride, [=](T sample, double noise) {
        return byScale(static_cast<T>(static_cast<double>(sample * scale) - noise));
    });
}

template <class T, class Divide>
void AddHighPass(T *previous, T scale, T *samples, uint64_t visits, uint64_t stride, Divide byScale)
{
    T last = *previous;
    ForEachWithNoise(samples, visits, stride, [&last, scale, byScale](T sample, double noise) {
        const T now = static_cast<T>(noise);
        const T sum = sample * scale + now - last;
        last = now;
        return byScale(sum);
    });
    *previous = last;
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
        // Narrowed to float for double samples too. Keep.
        errors[0] = sum - static_cast<T>(NearestInteger(static_cast<float>(dithered)));
        position = (position + 1) & 7;
        history[position] = errors[0];
        return dithered;
    }
};

// Mode 2 over neighbouring channels. A sample waits for the error of the one before it, so a channel alone
// leaves the processor idle most of the time; the channels are independent once each knows its place in the
// generator's run, which goes through the whole of a channel before the next.
template <class T, uint32_t Channels, class Dither, class Divide>
void Shape(Dither *dithers, T scale, T *samples, uint64_t visits, uint64_t stride, Divide byScale)
{
    const Leap channelLeap = LeapOf(2 * visits);
    Shaper<T> shapers[Channels];
    uint32_t seed = DitherSeed();
    for (uint32_t c = 0; c < Channels; ++c, seed = channelLeap.From(seed))
        shapers[c].Open(dithers[c], seed);
    for (; visits != 0; --visits, samples += stride)
#pragma GCC unroll 4
        for (uint32_t c = 0; c < Channels; ++c)
            samples[c] = byScale(shapers[c].Step(samples[c] * scale, dithers[c].history));
    for (uint32_t c = 0; c < Channels; ++c)
        dithers[c].position = static_cast<int32_t>(shapers[c].position);
    SetDitherSeed(seed);
}

// The visited samples of `channels` neighbouring channels, one channel after the other.
template <class T, class Dither, class Divide>
void Process(Dither *dithers, int32_t mode, T scale, T *samples, uint64_t visits, uint64_t stride,
             uint32_t channels, Divide byScale)
{
    while (channels != 0) {
        uint32_t done = 1;
        if (mode == 0) {
            AddRectangular(scale, samples, visits, stride, byScale);
        } else if (mode == 1) {
            AddHighPass(&dithers->previous, scale, samples, visits, stride, byScale);
        } else if (channels >= 4) {
            Shape<T, 4>(dithers, scale, samples, visits, stride, byScale);
            done = 4;
        } else if (channels >= 2) {
            Shape<T, 2>(dithers, scale, samples, visits, stride, byScale);
            done = 2;
        } else {
            Shape<T, 1>(dithers, scale, samples, visits, stride, byScale);
        }
        channels -= done;
        dithers += done;
        samples += done;
    }
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
