// nasty_samples.h: random samples, with the values among them that arithmetic stumbles over.
#pragma once
#include "tests/support/random.h"

#include <cstddef>
#include <limits>

namespace tonekit {

// Within +-1.0.
template <class T>
void FillAudio(Random &random, T *samples, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        samples[i] = static_cast<T>(2 * random.Uniform() - 1);
}

// One sample in `rarity` is a NaN of either sign, an infinity, a zero of either sign, a denormal, a huge or a
// loud one.
template <class T>
void FillNasty(Random &random, T *samples, size_t count, uint32_t rarity)
{
    using Limits = std::numeric_limits<T>;
    const T nasty[] = {Limits::quiet_NaN(),
                       -Limits::quiet_NaN(),
                       Limits::infinity(),
                       -Limits::infinity(),
                       T(0),
                       -T(0),
                       Limits::denorm_min(),
                       -Limits::min() / 8,
                       Limits::max(),
                       -Limits::max() / 3,
                       T(1),
                       T(-1),
                       T(7.5),
                       T(-300),
                       T(3e9),
                       T(-2e19)};
    FillAudio(random, samples, count);
    for (size_t i = 0; i < count; ++i)
        if (random.Below(rarity) == 0)
            samples[i] = nasty[random.Below(sizeof nasty / sizeof nasty[0])];
}

} // namespace tonekit
