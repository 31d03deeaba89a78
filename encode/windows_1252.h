// windows_1252.h: the conversions of the code page windows-1252 by length.
#pragma once

#include <cstddef>
#include <tonekit/frame.h>

namespace tonekit {
extern "C" {

// One unit for each byte; U+FFFD for the five bytes that the code page leaves out.
void Windows1252ToUtf16(const char *text, size_t bytes, tonekit_char16 *out);

// One byte for each character, `?` for one that the code page lacks. Returns the bytes written, at most one a
// unit.
size_t Utf16ToWindows1252(const tonekit_char16 *text, size_t units, char *out);
}

} // namespace tonekit
