// dither_noise.h: the noise of dither, and the leaps of its generator. For tier units.
#pragma once
#include <cstdint>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {

// Many steps of the generator at once.
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

static constexpr Leap kOneStep{214013, 2531011};

[[gnu::always_inline]] constexpr Leap LeapOf(uint64_t steps)
{
    Leap leap{1, 0};
    for (Leap power = kOneStep; steps != 0; steps >>= 1, power = power.After(power))
        if (steps & 1)
            leap = power.After(leap);
    return leap;
}

// A state as noise: its 15 upper bits but one, k, make k / 32767.0 - 0.5. The quotient is k times the sum of
// 2^-15, 2^-30, 2^-45 and so on: the product with the first three terms is exact, the next three reach far
// below the last bit, and so one sum rounds as the division would, for every k.
static constexpr double kQuotientHead = 0x1p-15 + 0x1p-30 + 0x1p-45;
static constexpr double kQuotientTail = 0x1p-60 + 0x1p-75 + 0x1p-90;

[[gnu::always_inline]] inline double NoiseOf(uint32_t state)
{
    const double k = static_cast<int32_t>((state >> 16) & 0x7FFF);
    return (k * kQuotientHead + k * kQuotientTail) + -0.5;
}

// The same for two states, each in the lower half of its 64 bits. An integer below 2^52 under the bits of
// 2^52 is their sum.
[[gnu::always_inline]] inline __m128d NoiseOf(__m128i states)
{
    const __m128i bits = _mm_and_si128(_mm_srli_epi64(states, 16), _mm_set1_epi64x(0x7FFF));
    const __m128i sum = _mm_or_si128(bits, _mm_set1_epi64x(0x4330000000000000));
    const __m128d k = _mm_sub_pd(_mm_castsi128_pd(sum), _mm_set1_pd(0x1p52));
    const __m128d quotient =
        _mm_add_pd(_mm_mul_pd(k, _mm_set1_pd(kQuotientHead)), _mm_mul_pd(k, _mm_set1_pd(kQuotientTail)));
    return _mm_add_pd(quotient, _mm_set1_pd(-0.5));
}

// Noise is made a tile of values at a time, from a few runs of the generator side by side.
static constexpr uint32_t kNoiseTile = 256;
static constexpr uint32_t kNoiseRuns = 8;

// Fills a tile with the noise of kNoiseRuns interleaved runs. Each starts at its state of `firsts` and goes
// on by `leap`.
[[gnu::always_inline]] inline void FillNoise(const uint32_t *firsts, Leap leap, double *noise)
{
    __m128i states[kNoiseRuns / 2];
#pragma GCC unroll 4
    for (uint32_t i = 0; i < kNoiseRuns / 2; ++i)
        states[i] = _mm_set_epi64x(firsts[2 * i + 1], firsts[2 * i]);
    const __m128i multiplier = _mm_set1_epi64x(leap.multiplier);
    const __m128i increment = _mm_set1_epi64x(leap.increment);
    for (uint32_t done = 0; done < kNoiseTile; done += kNoiseRuns) {
#pragma GCC unroll 4
        for (uint32_t i = 0; i < kNoiseRuns / 2; ++i) {
            _mm_storeu_pd(noise + done + 2 * i, NoiseOf(states[i]));
            states[i] = _mm_add_epi64(_mm_mul_epu32(states[i], multiplier), increment);
        }
    }
}

} // namespace tonekit::TONEKIT_TIER
