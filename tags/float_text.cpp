// float_text.cpp: reads floating-point numbers from text, alike under every locale.
#include "tags/float_text.h"

#include "tags/decimal.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace tonekit {

namespace {

template <class Unit>
constexpr Unit LowerCase(Unit unit)
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
}

// Moves `at` past the word if the text there begins with it in any case.
template <class Unit>
bool PassWord(const Unit *&at, const char *word)
{
    const Unit *unit = at;
    for (; *word != 0; ++word, ++unit)
        if (LowerCase(*unit) != static_cast<Unit>(*word))
            return false;
    at = unit;
    return true;
}

template <class Unit>
constexpr bool IsHexadecimalDigit(Unit unit)
{
    return IsDigit(unit) || (LowerCase(unit) >= 'a' && LowerCase(unit) <= 'f');
}

// The digits of a number of any length, as far as they can matter, with the point moved after them.
class Significand {
public:
    // Takes digits with at most one point among them.
    template <class Unit>
    void Read(const Unit *&at, bool hexadecimal)
    {
        for (;; ++at) {
            if (IsDigit(*at) || (hexadecimal && IsHexadecimalDigit(*at)))
                Take(static_cast<char>(*at));
            else if (*at == '.' && !sawPoint)
                sawPoint = true;
            else
                break;
        }
        // A digit in place of all that were left out: above one half stays above one half.
        if (leftOutNonZero)
            Store('1');
    }

    bool SawDigit() const { return sawDigit; }
    bool SawPoint() const { return sawPoint; }
    bool IsZero() const { return count == 0; }

    // The value is the digits as a whole number of Count() digits, times the base to the power Exponent().
    int64_t Exponent() const { return exponent; }
    int Count() const { return count; }
    char *Copy(char *out) const { return std::copy(digits, digits + count, out); }

    // No double or midpoint between two has more significant digits than 768.
    static constexpr int kMostDigits = 770;

private:
    void Take(char digit)
    {
        sawDigit = true;
        if (count == 0 && digit == '0') {
            exponent -= sawPoint;
        } else if (count < kMostDigits - 1) {
            Store(digit);
            exponent += !sawPoint;
        } else {
            leftOutNonZero = leftOutNonZero || digit != '0';
            exponent += !sawPoint;
        }
    }

    void Store(char digit)
    {
        digits[count++] = digit;
        --exponent;
    }

    char digits[kMostDigits];
    int count = 0;
    int64_t exponent = 0;
    bool sawDigit = false;
    bool sawPoint = false;
    bool leftOutNonZero = false;
};

// The exponent after its letter, or 0 if letter or digits are missing. Far beyond every double, its size is
// all one.
template <class Unit>
int64_t ReadExponent(const Unit *at, char letter)
{
    constexpr int64_t kFarBeyond = 1000000000000000;
    if (LowerCase(*at) != static_cast<Unit>(letter))
        return 0;
    ++at;
    const bool negative = PassSign(at);
    int64_t exponent = 0;
    for (; IsDigit(*at); ++at)
        exponent = std::min(exponent * 10 + (*at - '0'), kFarBeyond);
    return negative ? -exponent : exponent;
}

// Exponents count powers of 10, and of 2 in hexadecimal numbers.
constexpr int ExponentPerDigit(bool hexadecimal)
{
    return hexadecimal ? 4 : 1;
}

// The double nearest to a significand that isn't zero; infinity above and zero below all doubles.
double Nearest(const Significand &significand, int64_t exponent, bool hexadecimal)
{
    constexpr int64_t kBeyond = 99999;
    constexpr int kExponentText = 8;
    char text[Significand::kMostDigits + kExponentText];
    char *end = significand.Copy(text);
    exponent = std::clamp(exponent, -kBeyond, kBeyond);
    *end++ = hexadecimal ? 'p' : 'e';
    if (exponent < 0)
        *end++ = '-';
    end = WriteDecimal(end, static_cast<uint64_t>(exponent < 0 ? -exponent : exponent), 1);
    double number = 0;
    const auto format = hexadecimal ? std::chars_format::hex : std::chars_format::scientific;
    if (std::from_chars(text, end, number, format).ec == std::errc::result_out_of_range)
        number = exponent + significand.Count() * ExponentPerDigit(hexadecimal) > 0
                     ? std::numeric_limits<double>::infinity()
                     : 0.0;
    return number;
}

template <class Unit>
bool ReadDigits(const Unit *at, bool hexadecimal, double *number)
{
    Significand significand;
    significand.Read(at, hexadecimal);
    // "0x." counts as the 0 before its x.
    if (!significand.SawDigit() && !(hexadecimal && significand.SawPoint()))
        return false;
    *number = 0;
    if (significand.IsZero())
        return true;
    const int64_t scale = significand.Exponent() * ExponentPerDigit(hexadecimal);
    *number = Nearest(significand, scale + ReadExponent(at, hexadecimal ? 'p' : 'e'), hexadecimal);
    return true;
}

template <class Unit>
bool ReadMagnitude(const Unit *at, double *number)
{
    if (PassWord(at, "nan")) {
        *number = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (PassWord(at, "inf")) {
        *number = std::numeric_limits<double>::infinity();
        // One more letter of the longer word asks for all of it.
        return LowerCase(*at) != 'i' || PassWord(at, "inity");
    }
    const bool hexadecimal = PassWord(at, "0x");
    return ReadDigits(at, hexadecimal, number);
}

template <class Unit>
bool ReadSigned(const Unit *at, double *number)
{
    while (IsBlank(*at))
        ++at;
    const bool negative = PassSign(at);
    if (!ReadMagnitude(at, number))
        return false;
    if (negative)
        *number = -*number;
    return true;
}

} // namespace

bool ReadFloat(const char *text, double *number)
{
    return ReadSigned(text, number);
}

bool ReadFloat(const tonekit_char16 *text, double *number)
{
    return ReadSigned(text, number);
}

} // namespace tonekit
