// code_page_posix.cpp: finds the locale's character set and picks the code that converts it.
#include "encode/code_page.h"

#include <langinfo.h>

#include "encode/character_set.h"

namespace tonekit {

// The locale may change at any time, so its name is asked for at each call.
tonekit_char16 *UnicodeFromAnsi(const char *text)
{
    return text == nullptr ? nullptr : DecodeText(nl_langinfo(CODESET), text);
}

char *AnsiFromUnicode(const tonekit_char16 *text)
{
    return text == nullptr ? nullptr : EncodeText(nl_langinfo(CODESET), text);
}

tonekit_char16 *UnicodeFromUtf8(const char *text)
{
    return text == nullptr ? nullptr : DecodeUtf8(text);
}

char *Utf8FromUnicode(const tonekit_char16 *text)
{
    return text == nullptr ? nullptr : EncodeUtf8(MeasureUtf16(text));
}

} // namespace tonekit
