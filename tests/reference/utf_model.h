// utf_model.h: the conversions between UTF-8 and UTF-16 one character at a time, as the Unicode standard
// defines them.
#pragma once

#include "tests/support/utf16.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tonekit::reference {

inline void AppendUtf16(char32_t character, Utf16String &text)
{
    if (character < 0x10000) {
        text += static_cast<tonekit_char16>(character);
        return;
    }
    text += static_cast<tonekit_char16>(0xD800 + ((character - 0x10000) >> 10));
    text += static_cast<tonekit_char16>(0xDC00 + ((character - 0x10000) & 0x3FF));
}

inline void AppendUtf8(char32_t character, std::string &text)
{
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto rest = [&](int shift) { put(0x80 + (character >> shift & 0x3F)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 + (character >> 6));
        rest(0);
    } else if (character < 0x10000) {
        put(0xE0 + (character >> 12));
        rest(6);
        rest(0);
    } else {
        put(0xF0 + (character >> 18));
        rest(12);
        rest(6);
        rest(0);
    }
}

// The well-formed byte sequences, row by row: the range of each byte.
struct WellFormedRow {
    struct {
        uint8_t first, last;
    } bytes[4];
    size_t length;
};

inline const std::vector<WellFormedRow> &WellFormedRows()
{
    static const std::vector<WellFormedRow> rows = {
        {{{0x00, 0x7F}}, 1},
        {{{0xC2, 0xDF}, {0x80, 0xBF}}, 2},
        {{{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}, 3},
        {{{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}, 3},
        {{{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}, 3},
        {{{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}, 3},
        {{{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}, 4},
        {{{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}, 4},
        {{{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}, 4},
    };
    return rows;
}

// U+FFFD for each maximal part that is ill-formed.
inline std::vector<char32_t> CharactersOfUtf8(const std::string &text)
{
    std::vector<char32_t> characters;
    size_t at = 0;
    while (at < text.size()) {
        size_t longest = 0;
        bool complete = false;
        for (const WellFormedRow &row : WellFormedRows()) {
            size_t matched = 0;
            while (matched < row.length && at + matched < text.size()) {
                const uint8_t byte = static_cast<uint8_t>(text[at + matched]);
                if (byte < row.bytes[matched].first || byte > row.bytes[matched].last)
                    break;
                ++matched;
            }
            if (matched > longest) {
                longest = matched;
                complete = matched == row.length;
            }
        }
        if (!complete) {
            characters.push_back(0xFFFD);
            at += longest == 0 ? 1 : longest;
            continue;
        }
        char32_t character = static_cast<uint8_t>(text[at]);
        if (longest > 1)
            character &= 0x7F >> longest;
        for (size_t i = 1; i < longest; ++i)
            character = character << 6 | (static_cast<uint8_t>(text[at + i]) & 0x3F);
        characters.push_back(character);
        at += longest;
    }
    return characters;
}

// U+FFFD for each surrogate without its partner.
inline std::vector<char32_t> CharactersOfUtf16(const Utf16String &text)
{
    std::vector<char32_t> characters;
    for (size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (unit < 0xD800 || unit > 0xDFFF)
            characters.push_back(unit);
        else if (unit < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            characters.push_back(0x10000 + ((unit - 0xD800) << 10) + (text[++i] - 0xDC00));
        else
            characters.push_back(0xFFFD);
    }
    return characters;
}

inline Utf16String Utf8ToUtf16(const std::string &text)
{
    Utf16String result;
    for (const char32_t character : CharactersOfUtf8(text))
        AppendUtf16(character, result);
    return result;
}

inline std::string Utf16ToUtf8(const Utf16String &text)
{
    std::string result;
    for (const char32_t character : CharactersOfUtf16(text))
        AppendUtf8(character, result);
    return result;
}

} // namespace tonekit::reference
