// code_page.h: the four conversion steps between UTF-16 and byte texts, as the system or our own code in its
// place does them.
//
// Each returns a new text of the library's heap, or null for null and for a conversion that the system
// refuses.
#pragma once

#include <tonekit/frame.h>

namespace tonekit {

tonekit_char16 *UnicodeFromAnsi(const char *text);
char *AnsiFromUnicode(const tonekit_char16 *text);
tonekit_char16 *UnicodeFromUtf8(const char *text);
char *Utf8FromUnicode(const tonekit_char16 *text);

} // namespace tonekit
