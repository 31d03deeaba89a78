// decimal.cpp: writes whole numbers as text.
#include "tags/decimal.h"

namespace tonekit {

char *WriteDecimal(char *out, uint64_t number, int digits)
{
    char reversed[kMostDecimalDigits];
    int count = 0;
    for (; number != 0 || count < digits; number /= 10)
        reversed[count++] = static_cast<char>('0' + number % 10);
    while (count > 0)
        *out++ = reversed[--count];
    return out;
}

} // namespace tonekit
