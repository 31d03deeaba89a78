// float_text.h: reads floating-point numbers from text, alike under every locale.
#pragma once

#include <tonekit/frame.h>

namespace tonekit {

// Reads a number as sscanf with "%lf" does in the "C" locale: blanks, a sign, then decimal digits with or
// without point and exponent, hexadecimal ones after 0x, "inf", "infinity" or "nan". Correctly rounded. False
// if there is no number.
bool ReadFloat(const char *text, double *number);
bool ReadFloat(const tonekit_char16 *text, double *number);

} // namespace tonekit
