// same_bits.h: equality of floating-point arrays, bit for bit.
#pragma once
#include <cmath>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>

namespace tonekit {

// -0.0 differs from 0.0. Any NaN equals any other: which of two NaNs a sum keeps is the processor's rule, not
// ours.
template <class T>
testing::AssertionResult SameBits(const T *expected, const T *actual, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        if (std::isnan(expected[i]) && std::isnan(actual[i]))
            continue;
        if (std::memcmp(expected + i, actual + i, sizeof(T)) != 0)
            return testing::AssertionFailure()
                   << "element " << i << " is " << testing::PrintToString(actual[i]) << ", expected "
                   << testing::PrintToString(expected[i]);
    }
    return testing::AssertionSuccess();
}

} // namespace tonekit
