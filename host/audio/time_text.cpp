// time_text.cpp: hours, minutes and seconds to and from units of 100 ns.
#include "host/audio/time_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <tonekit/tags.h>

namespace tonekit::host {

bool ParseTime(const std::string &text, uint64_t &position)
{
    if (text.empty() || text.find_first_not_of("0123456789:.") != std::string::npos)
        return false;
    const auto colons = std::count(text.begin(), text.end(), ':');
    // What comes after a second point would be passed over.
    if (colons > 2 || std::count(text.begin(), text.end(), '.') > 1 || text.back() == ':')
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
