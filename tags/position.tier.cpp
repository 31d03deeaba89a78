// position.tier.cpp: turns time strings and sample counts into positions of 100 nanoseconds, and back into
// samples.
#include "frame/tier.h"
#include "tags/time_text.h"

#include <cmath>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr double kTwoTo52 = 4503599627370496.0;
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr uint64_t kTopBit = uint64_t{1} << 63;

// What the processor's conversions give: negative values as two's complement, and the top bit alone for what
// doesn't fit.
uint64_t ToUnsigned64(double value)
{
    if (value > -kTwoTo63 && value < kTwoTo63)
        return static_cast<uint64_t>(static_cast<int64_t>(value));
    if (value >= kTwoTo63 && value < 2 * kTwoTo63)
        return static_cast<uint64_t>(static_cast<int64_t>(value - kTwoTo63)) + kTopBit;
    return kTopBit;
}

// To the nearest whole number, halves away from zero. Not by the C library, which on some systems adds a half
// and so lifts the last number below a half to 1.
uint64_t RoundToUnsigned64(double value)
{
    if (!(fabs(value) < kTwoTo52))
        return ToUnsigned64(value); // a whole number already
    const auto whole = static_cast<int64_t>(value);
    const double rest = value - static_cast<double>(whole);
    return static_cast<uint64_t>(whole + (rest >= 0.5) - (rest <= -0.5));
}

template <class Unit>
bool PositionOfText(const Unit *text, uint64_t *position)
{
    *position = 0;
    TimeFields time;
    if (!text || !ReadTime(text, &time))
        return false;
    *position = time.hours * kUnitsPerHour + time.minutes * kUnitsPerMinute +
                RoundToUnsigned64(time.seconds * static_cast<double>(kUnitsPerSecond));
    return true;
}

} // namespace

TONEKIT_BODY(CHAPTER_HMS_String_To_Position100nS, bool, (const char *text, uint64_t *position))
{
    return PositionOfText(text, position);
}

TONEKIT_BODY(CHAPTER_HMS_String_To_Position100nSW, bool, (const tonekit_char16 *text, uint64_t *position))
{
    return PositionOfText(text, position);
}

TONEKIT_BODY(SamplesToN100nS, uint64_t, (uint64_t samples, uint64_t sampleRate))
{
    const double scaled = static_cast<double>(samples) * static_cast<double>(kUnitsPerSecond);
    return RoundToUnsigned64(scaled / static_cast<double>(sampleRate));
}

TONEKIT_BODY(N100nSToSamples, uint64_t, (uint64_t position, uint64_t sampleRate))
{
    // The product is a whole number first and wraps; only then it becomes a double.
    const uint64_t product = position * sampleRate;
    return RoundToUnsigned64(static_cast<double>(product) / static_cast<double>(kUnitsPerSecond));
}

} // namespace tonekit::TONEKIT_TIER
