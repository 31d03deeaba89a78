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

// sin(2 pi index / Count) * 0.1 * 32767, truncated towards zero. Count is a multiple of 4.
template <int Count>
constexpr HdcdTable<std::int16_t, Count> ToneTable()
{
    constexpr double kPi = 3.141592653589793238;
    HdcdTable<std::int16_t, Count> table{};
    for (int index = 0; index < Count; ++index) {
        const int half = index % (Count / 2);
        const int quarter = half <= Count / 4 ? half : Count / 2 - half;
        const int value = static_cast<int>(Sine(2 * kPi * quarter / Count) * 0.1 * 32767);
        table.entry[index] = static_cast<std::int16_t>(index < Count / 2 ? value : -value);
    }
    return table;
}

} // namespace

extern "C" {

constinit const HdcdTable<std::int16_t, 588> HdcdToneTable44 = ToneTable<588>();
constinit const HdcdTable<std::int16_t, 640> HdcdToneTable48 = ToneTable<640>();

} // extern "C"

} // namespace tonekit
