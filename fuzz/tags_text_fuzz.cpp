// tags_text_fuzz.cpp: the readers of times, chapter keys and numbers on arbitrary text, compared with the C
// library's.
#include "tags/decimal.h"
#include "tags/time_text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tonekit/tags.h>

namespace {

void Require(bool condition)
{
    if (!condition)
        abort();
}

bool SameDouble(double one, double other)
{
    return std::signbit(one) == std::signbit(other) &&
           (one == other || (std::isnan(one) && std::isnan(other)));
}

void CheckTime(const std::string &text, const std::u16string &wide)
{
    unsigned hours = 0;
    unsigned minutes = 0;
    double seconds = 0;
    // The fuzzer never sets a locale, so this reads as in "C".
    const bool expected = sscanf(text.c_str(), "%u:%u:%lf", &hours, &minutes, &seconds) == 3;
    tonekit::TimeFields fields;
    Require(tonekit::ReadTime(text.c_str(), &fields) == expected);
    if (expected)
        Require(fields.hours == hours && fields.minutes == minutes && SameDouble(fields.seconds, seconds));
    uint64_t position = 1;
    uint64_t widePosition = 1;
    Require(CHAPTER_HMS_String_To_Position100nS(text.c_str(), &position) == expected);
    Require(CHAPTER_HMS_String_To_Position100nSW(wide.c_str(), &widePosition) == expected);
    Require(position == widePosition && (expected || position == 0));
}

void CheckKeys(const std::string &text, const std::u16string &wide)
{
    Require(CHAPTER_Get_Number(text.c_str()) == CHAPTER_Get_NumberW(wide.c_str()));
    Require(CHAPTERNAME_Get_Number(text.c_str()) == CHAPTERNAME_Get_NumberW(wide.c_str()));
    // Only one of the two forms can have a number.
    Require(CHAPTER_Get_Number(text.c_str()) == 0 || CHAPTERNAME_Get_Number(text.c_str()) == 0);
}

void CheckNumbers(const std::string &text)
{
    const unsigned long long expected = strtoull(text.c_str(), nullptr, 10);
    Require(tonekit::ParseULongLong(text.c_str()) == expected);
    // 32 bits: the magnitude alone decides whether it fits.
    const char *digits = text.c_str() + strspn(text.c_str(), " \t\n\v\f\r");
    const bool negative = *digits == '-';
    digits += negative || *digits == '+';
    const bool number = *digits >= '0' && *digits <= '9';
    const unsigned long long magnitude = number ? strtoull(digits, nullptr, 10) : 0;
    const auto narrow = static_cast<uint32_t>(negative ? 0 - magnitude : magnitude);
    Require(tonekit::ParseDword(text.c_str()) == (magnitude > UINT32_MAX ? UINT32_MAX : narrow));
}

// Units of which the bytes are no text.
void ReadWideUnits(const uint8_t *data, size_t size)
{
    std::u16string units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    uint64_t position;
    CHAPTER_HMS_String_To_Position100nSW(units.c_str(), &position);
    CHAPTER_Get_NumberW(units.c_str());
    CHAPTERNAME_Get_NumberW(units.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::u16string wide;
    for (const char byte : text)
        wide += static_cast<unsigned char>(byte);
    CheckTime(text, wide);
    CheckKeys(text, wide);
    CheckNumbers(text);
    ReadWideUnits(data, size);
    return 0;
}
