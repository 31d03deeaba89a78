// time_text.cpp: hours, minutes and seconds to and from units of 100 ns.
#include "host/audio/time_text.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <tonekit/tags.h>

namespace tonekit::host {

namespace {

// Whether the whole number at this place is at most `most`; no number counts as 0.
bool IsAtMost(const std::string &text, size_t place, uint32_t most)
{
    uint32_t number = 0;
    const auto result = std::from_chars(text.data() + place, text.data() + text.size(), number);
    return result.ec != std::errc::result_out_of_range && number <= most;
}

// The first part may be of any size that doesn't wrap; those after it are as a clock has them.
bool PartsAreInRange(const std::string &text)
{
    constexpr uint32_t kMostOfAll = 99'999'999; // hours of 100 ns units in 64 bits
    bool inRange = IsAtMost(text, 0, kMostOfAll);
    for (size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1))
        inRange = inRange && IsAtMost(text, colon + 1, 59);
    return inRange;
}

} // namespace

bool ParseTime(const std::string &text, uint64_t &position)
{
    if (text.empty() || text.find_first_not_of("0123456789:.") != std::string::npos)
        return false;
    const auto colons = std::count(text.begin(), text.end(), ':');
    // What comes after a second point would be passed over.
    if (colons > 2 || std::count(text.begin(), text.end(), '.') > 1 || text.back() == ':' ||
        !PartsAreInRange(text))
        return false;
    const std::string whole = (colons == 0 ? "0:0:" : colons == 1 ? "0:" : "") + text;
    return CHAPTER_HMS_String_To_Position100nS(whole.c_str(), &position);
}

std::string TimeText(uint64_t position)
{
    const uint64_t milliseconds = position / 10'000 + (position % 10'000 >= 5'000 ? 1 : 0);
    char text[64];
    std::snprintf(text, sizeof(text), "%" PRIu64 ":%02" PRIu64 ":%02" PRIu64 ".%03" PRIu64,
                  milliseconds / 3'600'000, milliseconds / 60'000 % 60, milliseconds / 1000 % 60,
                  milliseconds % 1000);
    return text;
}

} // namespace tonekit::host
