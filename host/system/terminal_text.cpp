// terminal_text.cpp: escapes what terminals would obey, and counts the columns of the rest.
#include "host/system/terminal_text.h"

#include "host/system/platform.h"

#include <cstdint>
#include <cstdio>

namespace tonekit::host {

namespace {

struct Character {
    uint32_t code = 0;
    size_t bytes = 0; // 0: no UTF-8
};

Character First(std::string_view text, size_t start)
{
    const auto lead = static_cast<unsigned char>(text[start]);
    const size_t bytes = lead < 0x80   ? 1
                         : lead < 0xC2 ? 0
                         : lead < 0xE0 ? 2
                         : lead < 0xF0 ? 3
                         : lead < 0xF5 ? 4
                                       : 0;
    if (bytes == 0 || start + bytes > text.size())
        return {};
    uint32_t code = bytes == 1 ? lead : lead & (0x7Fu >> bytes);
    for (size_t i = 1; i < bytes; ++i) {
        const auto next = static_cast<unsigned char>(text[start + i]);
        if ((next & 0xC0) != 0x80)
            return {};
        code = code << 6 | (next & 0x3F);
    }
    const bool overlong = (bytes == 3 && code < 0x800) || (bytes == 4 && code < 0x10000);
    const bool none = (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF;
    return overlong || none ? Character{} : Character{code, bytes};
}

bool IsObeyed(uint32_t code)
{
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string Escaped(uint32_t code)
{
    if (code == '\n')
        return "\\n";
    if (code == '\t')
        return "\\t";
    if (code == '\r')
        return "\\r";
    char escape[12];
    std::snprintf(escape, sizeof(escape), code < 0x80 ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(code));
    return escape;
}

} // namespace

bool IsUtf8(std::string_view text)
{
    for (size_t i = 0; i < text.size();) {
        const Character character = First(text, i);
        if (character.bytes == 0)
            return false;
        i += character.bytes;
    }
    return true;
}

std::string TerminalText(const std::string &text, bool lines)
{
    std::string shown;
    for (size_t i = 0; i < text.size();) {
        const Character character = First(text, i);
        if (character.bytes == 0) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\x%02x", static_cast<unsigned char>(text[i]));
            shown += escape;
            ++i;
            continue;
        }
        if (IsObeyed(character.code) && !(lines && character.code == '\n'))
            shown += Escaped(character.code);
        else
            shown.append(text, i, character.bytes);
        i += character.bytes;
    }
    return shown;
}

std::string WithoutOrders(const std::string &text)
{
    std::string rest;
    for (size_t i = 0; i < text.size();) {
        const Character character = First(text, i);
        if (character.bytes == 0 || IsObeyed(character.code))
            rest += '_';
        else
            rest.append(text, i, character.bytes);
        i += character.bytes > 0 ? character.bytes : 1;
    }
    return rest;
}

size_t ColumnsOf(const std::string &text)
{
    size_t columns = 0;
    for (size_t i = 0; i < text.size();) {
        const Character character = First(text, i);
        columns += character.bytes > 0 ? ColumnsOfCharacter(character.code) : 1;
        i += character.bytes > 0 ? character.bytes : 1;
    }
    return columns;
}

std::string CutToColumns(const std::string &text, size_t columns)
{
    size_t used = 0;
    for (size_t i = 0; i < text.size();) {
        const Character character = First(text, i);
        used += character.bytes > 0 ? ColumnsOfCharacter(character.code) : 1;
        if (used > columns)
            return text.substr(0, i);
        i += character.bytes > 0 ? character.bytes : 1;
    }
    return text;
}

} // namespace tonekit::host
