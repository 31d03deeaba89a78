// number_bytes.h: numbers as files have them.
#pragma once

#include <cstdint>
#include <string>

namespace tonekit::host::test {

// With the lowest byte first.
inline std::string Little(uint64_t number, int bytes = 4)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(number >> 8 * i & 0xFF);
    return text;
}

// With the highest byte first.
inline std::string Big(uint64_t number, int bytes = 4)
{
    const std::string text = Little(number, bytes);
    return {text.rbegin(), text.rend()};
}

} // namespace tonekit::host::test
