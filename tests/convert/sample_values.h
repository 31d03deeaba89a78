// sample_values.h: samples that a store kernel could get wrong.
#pragma once

#include "tests/support/random.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace tonekit {

// Zeros, denormals, numbers beyond every integer, infinities and NaNs of both signs, quiet and signalling.
template <class Sample>
std::vector<Sample> SpecialSamples()
{
    using Limits = std::numeric_limits<Sample>;
    using Word = std::conditional_t<sizeof(Sample) == 8, uint64_t, uint32_t>;
    const Word infinity = std::bit_cast<Word>(Limits::infinity());
    std::vector<Sample> samples = {0,
                                   Limits::denorm_min(),
                                   Limits::min() / 2,
                                   Limits::min(),
                                   Limits::max(),
                                   Limits::infinity(),
                                   Limits::quiet_NaN(),
                                   std::bit_cast<Sample>(infinity + 1),
                                   std::bit_cast<Sample>(static_cast<Word>(~Word(0) >> 1))};
    for (const double magnitude : {0.5, 1.0, 2.0, 255.0, 256.0, 257.0, 65535.0, 65536.0, 65537.0,
                                   2147483648.0, 4294967296.0, 1e18, 1e30}) {
        const auto sample = static_cast<Sample>(magnitude);
        samples.insert(samples.end(), {sample, std::nextafter(sample, Sample(0)),
                                       std::nextafter(sample, Limits::infinity())});
    }
    for (size_t i = samples.size(); i-- > 0;)
        samples.push_back(std::bit_cast<Sample>(
            static_cast<Word>(std::bit_cast<Word>(samples[i]) ^ Word(1) << (8 * sizeof(Word) - 1))));
    return samples;
}

// The values of (step + 0), (step + 1/2) in units of 1/scale, and their neighbours on both sides.
template <class Sample>
void AppendAround(double step, double scale, std::vector<Sample> &samples)
{
    for (const double fraction : {0.0, 0.5}) {
        const auto sample = static_cast<Sample>((step + fraction) / scale);
        samples.insert(samples.end(),
                       {sample, std::nextafter(sample, Sample(-9)), std::nextafter(sample, Sample(9))});
    }
}

// Around every step of an integer of so many bits, a little beyond full scale on both sides; above 16 bits
// around randomly chosen ones.
template <class Sample>
std::vector<Sample> SamplesAroundSteps(uint32_t bits, Random &random)
{
    const double scale = std::ldexp(1.0, static_cast<int>(bits) - 1);
    std::vector<Sample> samples;
    for (int step = -3; step <= 3; ++step)
        for (const double anchor : {-scale, 0.0, scale})
            AppendAround(anchor + step, scale, samples);
    if (bits <= 16)
        for (double step = -scale; step <= scale; ++step)
            AppendAround(step, scale, samples);
    else
        for (int i = 0; i < 100000; ++i)
            AppendAround(std::floor((2.02 * random.Uniform() - 1.01) * scale), scale, samples);
    return samples;
}

// Any bit pattern, so that most are far off full scale.
template <class Sample>
std::vector<Sample> RandomBitPatterns(size_t count, Random &random)
{
    std::vector<Sample> samples(count);
    random.Fill(samples.data(), count * sizeof(Sample));
    return samples;
}

// Mostly within full scale, with specials strewn in at a density that changes from stretch to stretch.
template <class Sample>
std::vector<Sample> MixedSamples(size_t count, Random &random)
{
    const std::vector<Sample> specials = SpecialSamples<Sample>();
    std::vector<Sample> samples(count);
    uint32_t rarity = 1;
    for (size_t i = 0; i < count; ++i) {
        if (i % 257 == 0)
            rarity = 1u << random.Below(10);
        samples[i] = random.Below(rarity + 1) == 0
                         ? specials[random.Below(static_cast<uint32_t>(specials.size()))]
                         : static_cast<Sample>(2.02 * random.Uniform() - 1.01);
    }
    return samples;
}

} // namespace tonekit
