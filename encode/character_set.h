// character_set.h: converts text from and to a character set that is given by name, where the system has no
// call for it.
//
// The texts are not null; the results are new ones of the library's heap. The rules for what can't be
// converted is in tonekit/encode.h.
#pragma once

#include <cstddef>
#include <tonekit/frame.h>

namespace tonekit {

// Any character set; null if there is no converter for it.
tonekit_char16 *DecodeText(const char *characterSet, const char *text);
char *EncodeText(const char *characterSet, const tonekit_char16 *text);

// UTF-16 text whose end has been found.
struct Utf16Text {
    const tonekit_char16 *begin;
    size_t units;
    uint32_t bits; // the OR of the units

    const tonekit_char16 *End() const { return begin + units; }
};

Utf16Text MeasureUtf16(const tonekit_char16 *text);

// Bytes of the ill-formed part that the text begins with: a beginning of a character, as far as it is one, or
// a byte.
size_t IllFormedUtf8(const char *text, size_t bytes);
tonekit_char16 *DecodeUtf8(const char *text);
char *EncodeUtf8(const Utf16Text &text);

tonekit_char16 *DecodeWindows1252(const char *text);
char *EncodeWindows1252(const Utf16Text &text);

// Any other set, through the system's iconv; null if it does not know the set.
tonekit_char16 *DecodeByIconv(const char *characterSet, const char *text);
char *EncodeByIconv(const char *characterSet, const Utf16Text &text); // no surrogate without its partner

} // namespace tonekit
