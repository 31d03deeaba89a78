// windows_1252_text.cpp: makes new texts of windows-1252 and UTF-16 from each other.
#include "encode/character_set.h"
#include "encode/new_text.h"
#include "encode/windows_1252.h"
#include "frame/utf16.h"

#include <cstring>

namespace tonekit {
namespace {

size_t CountCharacters(const Utf16Text &text)
{
    size_t count = 0;
    for (const tonekit_char16 *at = text.begin; at < text.End(); ++count)
        NextCharacter(at, text.End());
    return count;
}

} // namespace

tonekit_char16 *DecodeWindows1252(const char *text)
{
    const size_t bytes = std::strlen(text);
    OwnedText<tonekit_char16> result = NewText<tonekit_char16>(bytes);
    Windows1252ToUtf16(text, bytes, result.get());
    return result.release();
}

char *EncodeWindows1252(const Utf16Text &text)
{
    constexpr uint32_t kFirstSurrogate = 0xD800;
    if (text.bits < 0x80)
        return EncodeUtf8(text); // ASCII is the same in both, and quicker there
    OwnedText<char> result = NewText<char>(text.bits < kFirstSurrogate ? text.units : CountCharacters(text));
    Utf16ToWindows1252(text.begin, text.units, result.get());
    return result.release();
}

} // namespace tonekit
