// decimal.h: reads and writes whole numbers as text, alike under every locale.
#pragma once

#include <cstdint>

namespace tonekit {

// Longest text that WriteDecimal makes of a 64-bit number.
constexpr int kMostDecimalDigits = 20;

// Writes a number with at least `digits` digits (at most kMostDecimalDigits), unterminated. Returns the end
// of the text.
char *WriteDecimal(char *out, uint64_t number, int digits);

// The blanks that number texts may begin with: space and the controls 9 to 13.
template <class Unit>
constexpr bool IsBlank(Unit unit)
{
    return unit == ' ' || (unit >= 9 && unit <= 13);
}

template <class Unit>
constexpr bool IsDigit(Unit unit)
{
    return unit >= '0' && unit <= '9';
}

// Passes a plus or minus sign, if one is there. True for a minus.
template <class Unit>
bool PassSign(const Unit *&at)
{
    const bool minus = *at == '-';
    if (minus || *at == '+')
        ++at;
    return minus;
}

// Reads a number as the C library's strtoul family does in radix 10: blanks, a sign, digits. `at` is moved
// after them. `largest` is what the width holds, 2^n - 1: a larger number returns this, and a minus sign
// negates within the width. False, with number 0, if there are no digits.
template <class Unit>
bool ReadDecimal(const Unit *&at, uint64_t largest, uint64_t *number)
{
    while (IsBlank(*at))
        ++at;
    const bool negative = PassSign(at);
    const Unit *const digits = at;
    uint64_t value = 0;
    bool overflow = false;
    for (; IsDigit(*at); ++at) {
        const auto digit = static_cast<uint64_t>(*at - '0');
        overflow = overflow || value > (largest - digit) / 10;
        value = value * 10 + digit;
    }
    if (overflow) {
        *number = largest;
    } else {
        *number = (negative ? 0 - value : value) & largest;
    }
    return at != digits;
}

// A whole text as a number of the given width; 0 without digits.
inline uint32_t ParseDword(const char *text)
{
    uint64_t number;
    ReadDecimal(text, UINT32_MAX, &number);
    return static_cast<uint32_t>(number);
}

inline uint64_t ParseULongLong(const char *text)
{
    uint64_t number;
    ReadDecimal(text, UINT64_MAX, &number);
    return number;
}

} // namespace tonekit
