// tone_tables.cpp: one period of the analysis tone.
#include "hdcd/hdcd_tables.h"

namespace tonekit {

namespace {

// sin(x) for 0 <= x <= pi / 2 by its series.
constexpr double Sine(double x)
{
    double sum = 0;
    double term = x;
    for (int n = 2; n < 32; n += 2) {
        sum += term;
        term *= -x * x / (n * (n + 1));
    }
    return sum;
}

// sin(2 pi index / Size) * 0.1 * 32767, truncated towards zero. Size is a multiple of 4.
template <size_t Size>
constexpr HdcdTable<int16_t, Size> ToneTable()
{
    constexpr int kCount = Size;
    constexpr double kPi = 3.141592653589793238;
    HdcdTable<int16_t, Size> table{};
    for (int index = 0; index < kCount; ++index) {
        const int half = index % (kCount / 2);
        const int quarter = half <= kCount / 4 ? half : kCount / 2 - half;
        const int value = static_cast<int>(Sine(2 * kPi * quarter / kCount) * 0.1 * 32767);
        table.entry[index] = static_cast<int16_t>(index < kCount / 2 ? value : -value);
    }
    return table;
}

} // namespace

extern "C" {

constinit const HdcdTable<int16_t, 588> HdcdToneTable44 = ToneTable<588>();
constinit const HdcdTable<int16_t, 640> HdcdToneTable48 = ToneTable<640>();

} // extern "C"

} // namespace tonekit
