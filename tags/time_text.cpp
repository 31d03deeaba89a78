// time_text.cpp: writes time strings and reads their three fields, alike under every locale.
#include "tags/time_text.h"

#include "tags/decimal.h"
#include "tags/float_text.h"

namespace tonekit {

void WriteTime(char *out, uint64_t position)
{
    // The seconds' seven decimals are exactly the unit, so whole numbers give what %010.7f would.
    out = WriteDecimal(out, position / kUnitsPerHour, 2);
    *out++ = ':';
    out = WriteDecimal(out, position % kUnitsPerHour / kUnitsPerMinute, 2);
    *out++ = ':';
    out = WriteDecimal(out, position % kUnitsPerMinute / kUnitsPerSecond, 2);
    *out++ = '.';
    out = WriteDecimal(out, position % kUnitsPerSecond, 7);
    *out = 0;
}

namespace {

// %u and the colon after it. sscanf reads 64 bits, the largest number for all beyond, and stores the lower
// 32.
template <class Unit>
bool PassWholeField(const Unit *&at, uint32_t *field)
{
    uint64_t number;
    if (!ReadDecimal(at, UINT64_MAX, &number) || *at != ':')
        return false;
    ++at;
    *field = static_cast<uint32_t>(number);
    return true;
}

template <class Unit>
bool ReadFields(const Unit *at, TimeFields *fields)
{
    return PassWholeField(at, &fields->hours) && PassWholeField(at, &fields->minutes) &&
           ReadFloat(at, &fields->seconds);
}

} // namespace

bool ReadTime(const char *text, TimeFields *fields)
{
    return ReadFields(text, fields);
}

bool ReadTime(const tonekit_char16 *text, TimeFields *fields)
{
    return ReadFields(text, fields);
}

} // namespace tonekit

using namespace tonekit;

void CHAPTER_Position100nS_To_HMS(uint64_t position, uint32_t *hours, uint32_t *minutes, double *seconds)
{
    if (hours)
        *hours = static_cast<uint32_t>(position / kUnitsPerHour);
    if (minutes)
        *minutes = static_cast<uint32_t>(position % kUnitsPerHour / kUnitsPerMinute);
    if (seconds)
        *seconds = static_cast<double>(position % kUnitsPerMinute) / static_cast<double>(kUnitsPerSecond);
}
