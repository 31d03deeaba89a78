// hex.h: bytes as hexadecimal text and back.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace tonekit {

inline std::string Hex(const uint8_t *bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

inline std::string Hex(const std::vector<uint8_t> &bytes)
{
    return Hex(bytes.data(), bytes.size());
}

inline std::vector<uint8_t> FromHex(const std::string &text)
{
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
    return bytes;
}

} // namespace tonekit
