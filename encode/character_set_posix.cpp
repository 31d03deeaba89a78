// character_set_posix.cpp: picks the converter for a character set's name.
#include "encode/character_set.h"

#include "encode/compose.h"
#include "encode/new_text.h"

#include <strings.h>

namespace tonekit {
namespace {

enum class Converter { utf8, windows1252, iconv };

template <size_t count>
bool IsOneOf(const char *name, const char *const (&names)[count])
{
    for (const char *candidate : names)
        if (strcasecmp(name, candidate) == 0)
            return true;
    return false;
}

Converter ConverterOf(const char *characterSet)
{
    static constexpr const char *kUtf8[] = {"UTF-8", "UTF8"};
    // Plain ASCII, under the names that systems have for it, is taken for windows-1252.
    static constexpr const char *kWindows1252[] = {"ANSI_X3.4-1968", "US-ASCII",     "ASCII", "646",
                                                   "ISO646-US",      "WINDOWS-1252", "CP1252"};
    if (IsOneOf(characterSet, kUtf8))
        return Converter::utf8;
    return IsOneOf(characterSet, kWindows1252) ? Converter::windows1252 : Converter::iconv;
}

char *Encode(Converter converter, const char *characterSet, const Utf16Text &text)
{
    switch (converter) {
    case Converter::utf8:
        return EncodeUtf8(text);
    case Converter::windows1252:
        return EncodeWindows1252(text);
    default:
        return EncodeByIconv(characterSet, text);
    }
}

} // namespace

tonekit_char16 *DecodeText(const char *characterSet, const char *text)
{
    switch (ConverterOf(characterSet)) {
    case Converter::utf8:
        return DecodeUtf8(text);
    case Converter::windows1252:
        return DecodeWindows1252(text);
    default:
        return DecodeByIconv(characterSet, text);
    }
}

char *EncodeText(const char *characterSet, const tonekit_char16 *text)
{
    const Converter converter = ConverterOf(characterSet);
    const Utf16Text whole = MeasureUtf16(text);
    if (!MayCompose(whole.begin, whole.units, whole.bits))
        return Encode(converter, characterSet, whole);
    const OwnedText<tonekit_char16> composed = NewText<tonekit_char16>(whole.units);
    composed[Compose(whole.begin, whole.units, composed.get())] = 0;
    return Encode(converter, characterSet, MeasureUtf16(composed.get()));
}

} // namespace tonekit
