// utf16.h: texts of 16-bit units, whatever type the platform has for them.
#pragma once

#include <string>
#include <tonekit/frame.h>

// A literal of such units, as in UTF16("text") and UTF16('c').
#ifdef _WIN32
    #define UTF16(literal) L##literal
#else
    #define UTF16(literal) u##literal
#endif

namespace tonekit {

using Utf16String = std::basic_string<tonekit_char16>;

} // namespace tonekit
