// time_text.h: places in a piece of music, as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace tonekit::host {

// Reads seconds, minutes:seconds or hours:minutes:seconds, with a fraction, into units of 100 ns. Returns
// false if the text is something else, if a part after the first is 60 or more, or the first 100,000,000.
bool ParseTime(const std::string &text, uint64_t &position);

// 0:03:21.500; with the fraction that a position of 100 ns units has, rounded to milliseconds
std::string TimeText(uint64_t position);

} // namespace tonekit::host
