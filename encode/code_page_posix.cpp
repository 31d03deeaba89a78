// code_page_posix.cpp: finds the locale's character set and picks the code that converts it.
#include "encode/code_page.h"

#include "encode/character_set.h"

#include <langinfo.h>

namespace tonekit {

// The locale may change at any time, so its name is asked for at each call.
tonekit_char16 *UnicodeFromAnsi(const char *text)
{
    return text ? DecodeText(nl_langinfo(CODESET), text) : nullptr;
}

char *AnsiFromUnicode(const tonekit_char16 *text)
{
    return text ? EncodeText(nl_langinfo(CODESET), text) : nullptr;
}

tonekit_char16 *UnicodeFromUtf8(const char *text)
{
    return text ? DecodeUtf8(text) : nullptr;
}

char *Utf8FromUnicode(const tonekit_char16 *text)
{
    return text ? EncodeUtf8(MeasureUtf16(text)) : nullptr;
}

} // namespace tonekit
