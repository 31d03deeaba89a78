// equal_samples.h: equality of floating-point samples, bit for bit.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>

namespace tonekit::fuzz {

// Any NaN equals any other: which of two NaNs a sum keeps is the processor's rule.
template <class Sample>
bool EqualSamples(const Sample *expected, const Sample *actual, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (std::memcmp(expected + i, actual + i, sizeof(Sample)) != 0 &&
            !(std::isnan(expected[i]) && std::isnan(actual[i])))
            return false;
    return true;
}

} // namespace tonekit::fuzz
