// text.cpp: the exported conversions of zero-terminated text.
#include "encode/code_page.h"
#include "encode/new_text.h"

#include <tonekit/encode.h>

using tonekit::OwnedText;

tonekit_char16 *UNC_AnsiToUnicode(const char *text)
{
    return tonekit::UnicodeFromAnsi(text);
}

char *UNC_UnicodeToAnsi(const tonekit_char16 *text)
{
    return tonekit::AnsiFromUnicode(text);
}

char *UNC_UnicodeToUtf8(const tonekit_char16 *text)
{
    return tonekit::Utf8FromUnicode(text);
}

tonekit_char16 *UNC_Utf8ToUnicode(const char *text)
{
    return tonekit::UnicodeFromUtf8(text);
}

char *UNC_AnsiToUtf8(const char *text)
{
    const OwnedText<tonekit_char16> unicode(tonekit::UnicodeFromAnsi(text));
    return tonekit::Utf8FromUnicode(unicode.get());
}

char *UNC_Utf8ToAnsi(const char *text)
{
    const OwnedText<tonekit_char16> unicode(tonekit::UnicodeFromUtf8(text));
    return tonekit::AnsiFromUnicode(unicode.get());
}
