// json.cpp: JSON text, with all strings valid UTF-8.
#include "host/json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace tonekit::host {

namespace {

// Length of the well-formed UTF-8 character at the start of the text; 0 if there is none.
size_t CharacterLength(std::string_view text)
{
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const auto follows = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return follows(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const bool overlong = lead == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = lead == 0xED && byte(1) >= 0xA0;
        return !overlong && !surrogate && follows(1) && follows(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const bool overlong = lead == 0xF0 && byte(1) < 0x90;
        const bool tooHigh = lead == 0xF4 && byte(1) >= 0x90;
        return !overlong && !tooHigh && follows(1) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

std::string Quoted(std::string_view value)
{
    std::string result = "\"";
    while (!value.empty()) {
        const auto c = static_cast<unsigned char>(value[0]);
        const size_t length = CharacterLength(value);
        if (c == '"' || c == '\\') {
            result += '\\';
            result += value[0];
        } else if (c < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", c);
            result += escape;
        } else if (length == 0) {
            result += "\\ufffd";
        } else {
            result += value.substr(0, length);
        }
        value.remove_prefix(length ? length : 1);
    }
    return result + "\"";
}

} // namespace

void JsonWriter::Next(const char *name)
{
    if (depth_ > 0)
        text_ += (first_ ? "\n" : ",\n") + std::string(2 * depth_, ' ');
    first_ = false;
    if (name)
        text_ += Quoted(name) + ": ";
}

void JsonWriter::Begin(const char *name, char bracket)
{
    Next(name);
    text_ += bracket;
    depth_++;
    first_ = true;
}

void JsonWriter::End(char bracket)
{
    depth_--;
    if (!first_)
        text_ += "\n" + std::string(2 * depth_, ' ');
    text_ += bracket;
    first_ = false;
}

void JsonWriter::Text(const char *name, std::string_view value)
{
    Next(name);
    text_ += Quoted(value);
}

void JsonWriter::Whole(const char *name, uint64_t value)
{
    Next(name);
    text_ += std::to_string(value);
}

void JsonWriter::Real(const char *name, double value, int decimals)
{
    if (!std::isfinite(value)) {
        Null(name);
        return;
    }
    Next(name);
    char digits[400]; // the longest double in fixed form has 309 in front of the point
    const auto result =
        std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, decimals);
    text_.append(digits, result.ptr);
}

void JsonWriter::Truth(const char *name, bool value)
{
    Next(name);
    text_ += value ? "true" : "false";
}

void JsonWriter::Null(const char *name)
{
    Next(name);
    text_ += "null";
}

} // namespace tonekit::host
