// utf.h: the conversions between UTF-8 and UTF-16 by length, which all text functions are built from.
#pragma once

#include <cstddef>
#include <tonekit/frame.h>

namespace tonekit {

// Whether a byte of UTF-8 is not the first of its character.
[[gnu::always_inline]] constexpr bool IsContinuation(uint8_t byte)
{
    return (byte & 0xC0) == 0x80;
}

extern "C" {

// Units before the zero unit; *bits becomes the OR of them all, which shows how long their other forms can
// be. Reads whole aligned blocks of 16 bytes, the last being the one that holds the terminator.
size_t Utf16Length(const tonekit_char16 *text, uint32_t *bits);

// Bytes of the UTF-8 form of some UTF-16 text; a surrogate without its partner counts as the 3 bytes of
// U+FFFD.
size_t Utf16BytesAsUtf8(const tonekit_char16 *text, size_t units, uint32_t bits);

// Writes that form. The room must be one byte more than Utf16BytesAsUtf8 says: that byte is scratch.
void Utf16ToUtf8(const tonekit_char16 *text, size_t units, uint32_t bits, char *out);

// Units of the UTF-16 form of some UTF-8 text if it is well-formed; if not, no well-formed beginning has
// more.
size_t Utf8UnitsAsUtf16(const char *text, size_t bytes);

// Writes the UTF-16 form of the longest well-formed beginning. The room must be at least Utf8UnitsAsUtf16 of
// the text; all of it may be used as scratch. Returns the bytes that it has taken and sets *units to what it
// has written.
size_t Utf8ToUtf16(const char *text, size_t bytes, tonekit_char16 *out, size_t room, size_t *units);
}

} // namespace tonekit
