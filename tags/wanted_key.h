// wanted_key.h: the key that a text is looked up by. For tier units only.
#pragma once

#include "frame/tier.h"
#include "tags/item.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

// Only the letters A to Z: the bytes of UTF-8 characters beyond ASCII have no case here.
inline uint8_t FoldCase(char letter)
{
    const auto byte = static_cast<uint8_t>(letter);
    return static_cast<uint8_t>((byte | 0x20) - 'a') < 26 ? byte | 0x20 : byte;
}

bool SameKey(const char *one, const char *other)
{
    for (; FoldCase(*one) == FoldCase(*other); ++one, ++other)
        if (*one == 0)
            return true;
    return false;
}

inline uint64_t Load64(const void *at)
{
    uint64_t word;
    memcpy(&word, at, sizeof word);
    return word;
}

// The key that is looked for. Its last bytes with the zero byte tell nearly every other key apart at once;
// the first ones don't, as keys often begin alike.
struct WantedKey {
    const char *text;
    uint64_t windowStart; // in an item that has this key
    uint64_t bytes;
    uint64_t compared; // the bits that belong to the key, without those that make a letter's case

    explicit WantedKey(const char *key) : text(key)
    {
        const size_t size = strlen(key) + 1;
        const size_t skipped = size > 8 ? size - 8 : 0;
        uint8_t folded[8] = {};
        uint8_t mask[8] = {};
        for (size_t i = 0; skipped + i < size; ++i) {
            folded[i] = FoldCase(key[skipped + i]);
            mask[i] = static_cast<uint8_t>(folded[i] - 'a') < 26 ? 0xDF : 0xFF;
        }
        windowStart = kHeaderBytes + skipped;
        bytes = Load64(folded);
        compared = Load64(mask);
    }

    uint64_t WindowEnd() const { return windowStart + 8; }

    bool MayBeKeyOf(const uint8_t *item) const
    {
        return ((Load64(item + windowStart) ^ bytes) & compared) == 0;
    }

    bool IsKeyOf(const uint8_t *item) const
    {
        return *item == kStringMarker && SameKey(reinterpret_cast<const char *>(item) + kHeaderBytes, text);
    }
};

} // namespace
} // namespace tonekit::TONEKIT_TIER
