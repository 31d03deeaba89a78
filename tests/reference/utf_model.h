// utf_model.h: the conversions between UTF-8 and UTF-16 one character at a time, as the Unicode standard
// defines them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/utf16.h"

namespace tonekit::reference {

inline void AppendUtf16(char32_t character, Utf16String &text)
{
    if (character < 0x10000) {
        text += static_cast<tonekit_char16>(character);
        return;
    }
    text += static_cast<tonekit_char16>(0xd800 + ((character - 0x10000) >> 10));
    text += static_cast<tonekit_char16>(0xdc00 + ((character - 0x10000) & 0x3ff));
}

inline void AppendUtf8(char32_t character, std::string &text)
{
    const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto rest = [&](int shift) { put(0x80 + (character >> shift & 0x3f)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xc0 + (character >> 6));
        rest(0);
    } else if (character < 0x10000) {
        put(0xe0 + (character >> 12));
        rest(6);
        rest(0);
    } else {
        put(0xf0 + (character >> 18));
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
    std::size_t length;
};

inline const std::vector<WellFormedRow> &WellFormedRows()
{
    static const std::vector<WellFormedRow> rows = {
        {{{0x00, 0x7f}}, 1},
        {{{0xc2, 0xdf}, {0x80, 0xbf}}, 2},
        {{{0xe0, 0xe0}, {0xa0, 0xbf}, {0x80, 0xbf}}, 3},
        {{{0xe1, 0xec}, {0x80, 0xbf}, {0x80, 0xbf}}, 3},
        {{{0xed, 0xed}, {0x80, 0x9f}, {0x80, 0xbf}}, 3},
        {{{0xee, 0xef}, {0x80, 0xbf}, {0x80, 0xbf}}, 3},
        {{{0xf0, 0xf0}, {0x90, 0xbf}, {0x80, 0xbf}, {0x80, 0xbf}}, 4},
        {{{0xf1, 0xf3}, {0x80, 0xbf}, {0x80, 0xbf}, {0x80, 0xbf}}, 4},
        {{{0xf4, 0xf4}, {0x80, 0x8f}, {0x80, 0xbf}, {0x80, 0xbf}}, 4},
    };
    return rows;
}

// U+FFFD for each maximal part that is ill-formed.
inline std::vector<char32_t> CharactersOfUtf8(const std::string &text)
{
    std::vector<char32_t> characters;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t longest = 0;
        bool complete = false;
        for (const WellFormedRow &row : WellFormedRows()) {
            std::size_t matched = 0;
            while (matched < row.length && at + matched < text.size()) {
                const uint8_t byte = static_cast<uint8_t>(text[at + matched]);
                if (byte < row.bytes[matched].first || byte > row.bytes[matched].last)
                    break;
                matched++;
            }
            if (matched > longest) {
                longest = matched;
                complete = matched == row.length;
            }
        }
        if (!complete) {
            characters.push_back(0xfffd);
            at += longest == 0 ? 1 : longest;
            continue;
        }
        char32_t character = static_cast<uint8_t>(text[at]);
        if (longest > 1)
            character &= 0x7f >> longest;
        for (std::size_t i = 1; i < longest; i++)
            character = character << 6 | (static_cast<uint8_t>(text[at + i]) & 0x3f);
        characters.push_back(character);
        at += longest;
    }
    return characters;
}

// U+FFFD for each surrogate without its partner.
inline std::vector<char32_t> CharactersOfUtf16(const Utf16String &text)
{
    std::vector<char32_t> characters;
    for (std::size_t i = 0; i < text.size(); i++) {
        const char32_t unit = text[i];
        if (unit < 0xd800 || unit > 0xdfff)
            characters.push_back(unit);
        else if (unit < 0xdc00 && i + 1 < text.size() && text[i + 1] >= 0xdc00 && text[i + 1] <= 0xdfff)
            characters.push_back(0x10000 + ((unit - 0xd800) << 10) + (text[++i] - 0xdc00));
        else
            characters.push_back(0xfffd);
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
