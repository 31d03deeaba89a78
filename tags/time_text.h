// time_text.h: positions as text, hours:minutes:seconds.
#pragma once

#include <tonekit/tags.h>

namespace tonekit {

// Units of 100 nanoseconds in each part of a position.
constexpr uint64_t kUnitsPerSecond = 10000000;
constexpr uint64_t kUnitsPerMinute = 60 * kUnitsPerSecond;
constexpr uint64_t kUnitsPerHour = 60 * kUnitsPerMinute;

// The longest time string, that of the largest position: 9 digits of hours.
constexpr int kMostTimeText = 23;

// Writes a position as "%02u:%02u:%010.7f" of hours, minutes and seconds, terminated.
void WriteTime(char *out, uint64_t position);

struct TimeFields {
    uint32_t hours;
    uint32_t minutes;
    double seconds;
};

// Reads the three fields as sscanf with "%u:%u:%lf" does in the "C" locale. False if fewer than three were
// read.
bool ReadTime(const char *text, TimeFields *fields);
bool ReadTime(const tonekit_char16 *text, TimeFields *fields);

} // namespace tonekit
