// code_page_windows.cpp: lets Windows do the four conversion steps.
#include "encode/code_page.h"

#include "encode/new_text.h"

#include <windows.h>

namespace tonekit {
namespace {

// The terminator is converted too. Wine loses it after a character that is cut off, so one is set after all
// that has been made.
constexpr int kThroughTerminator = -1;

tonekit_char16 *UnicodeFrom(UINT codePage, DWORD flags, const char *text)
{
    const int units = MultiByteToWideChar(codePage, flags, text, kThroughTerminator, nullptr, 0);
    if (units == 0)
        return nullptr;
    OwnedText<wchar_t> result = NewText<wchar_t>(static_cast<size_t>(units));
    const int made = MultiByteToWideChar(codePage, flags, text, kThroughTerminator, result.get(), units);
    if (made == 0)
        return nullptr;
    result[static_cast<size_t>(made)] = 0;
    return result.release();
}

char *BytesFrom(UINT codePage, DWORD flags, const tonekit_char16 *text)
{
    const int bytes =
        WideCharToMultiByte(codePage, flags, text, kThroughTerminator, nullptr, 0, nullptr, nullptr);
    if (bytes == 0)
        return nullptr;
    OwnedText<char> result = NewText<char>(static_cast<size_t>(bytes));
    const int made =
        WideCharToMultiByte(codePage, flags, text, kThroughTerminator, result.get(), bytes, nullptr, nullptr);
    if (made == 0)
        return nullptr;
    result[static_cast<size_t>(made)] = 0;
    return result.release();
}

} // namespace

tonekit_char16 *UnicodeFromAnsi(const char *text)
{
    return UnicodeFrom(GetACP(), MB_PRECOMPOSED, text);
}

char *AnsiFromUnicode(const tonekit_char16 *text)
{
    return BytesFrom(GetACP(), WC_COMPOSITECHECK | WC_SEPCHARS, text);
}

tonekit_char16 *UnicodeFromUtf8(const char *text)
{
    return UnicodeFrom(CP_UTF8, 0, text);
}

char *Utf8FromUnicode(const tonekit_char16 *text)
{
    return BytesFrom(CP_UTF8, 0, text);
}

} // namespace tonekit
