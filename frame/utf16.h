// utf16.h: reads UTF-16 text. For tier units too: everything here is inlined.
#pragma once

#include <cstdint>
#include <tonekit/frame.h>

namespace tonekit {

constexpr char32_t kReplacementCharacter = 0xFFFD;

[[gnu::always_inline]] constexpr bool IsSurrogate(uint32_t unit)
{
    return (unit & 0xF800) == 0xD800;
}

[[gnu::always_inline]] constexpr bool IsHighSurrogate(uint32_t unit)
{
    return (unit & 0xFC00) == 0xD800;
}

[[gnu::always_inline]] constexpr bool IsLowSurrogate(uint32_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// The character of a high surrogate and the low one after it.
[[gnu::always_inline]] constexpr uint32_t JoinSurrogates(uint32_t high, uint32_t low)
{
    return ((high - 0xD7C0) << 10) + (low & 0x3FF); // 0xD7C0 is 0xD800 less 0x10000 >> 10
}

// Returns the character at `at`, which is before `end`, and moves `at` to the next; U+FFFD for a surrogate
// without its partner.
[[gnu::always_inline]] constexpr char32_t NextCharacter(const tonekit_char16 *&at, const tonekit_char16 *end)
{
    const uint32_t unit = *at++;
    if (!IsSurrogate(unit))
        return unit;
    if (IsLowSurrogate(unit) || at == end || !IsLowSurrogate(*at))
        return kReplacementCharacter;
    return JoinSurrogates(unit, *at++);
}

} // namespace tonekit
