// json.cpp: JSON text that is safe to show.
#include "host/json.h"

#include <cstdio>

namespace tonekit::host {

namespace {

std::string SafeText(const Json &value, int indent)
{
    const std::string text = value.dump(indent, ' ', false, Json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size());
    // What is left to escape stands in strings alone: delete, and U+0080 to U+009F, whose first byte is 0xC2.
    for (size_t i = 0; i < text.size(); i++) {
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        const bool isC1 = text[i] == '\xC2' && next >= 0x80 && next <= 0x9F;
        if (text[i] != '\x7F' && !isC1) {
            safe += text[i];
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof(escape), "\\u%04x", isC1 ? next : 0x7Fu);
        safe += escape;
        i += isC1 ? 1 : 0;
    }
    return safe;
}

} // namespace

std::string JsonText(const Json &value)
{
    return SafeText(value, 2);
}

std::string JsonLine(const Json &value)
{
    return SafeText(value, -1);
}

} // namespace tonekit::host
