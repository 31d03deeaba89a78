// printable_calls.h: what the fuzz targets of UU and Base64 share.
#pragma once

#include "tests/support/bodies.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <tonekit/encode.h>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline void Require(bool condition)
{
    if (!condition)
        abort();
}

// What a body makes of the data; nothing if it refuses.
template <class Encode, class Length>
std::optional<std::string> Encoded(Encode *encode, const Bytes &data)
{
    char *text = nullptr;
    if (encode(data.data(), static_cast<Length>(data.size()), &text) != 0)
        return {};
    const std::string copy = text;
    UUFreeMem(text);
    return copy;
}

template <class Decode>
std::optional<Bytes> Decoded(Decode *decode, const std::string &text)
{
    // An exactly sized copy, so that a sanitizer sees a read past the terminator.
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    void *data = nullptr;
    uint32_t length = 0;
    if (decode(exact.data(), &data, &length) != 0)
        return {};
    const Bytes copy(static_cast<uint8_t *>(data), static_cast<uint8_t *>(data) + length);
    UUFreeMem(data);
    return copy;
}

// The input up to its first zero byte.
inline std::string TextOf(const Bytes &bytes)
{
    return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
}
