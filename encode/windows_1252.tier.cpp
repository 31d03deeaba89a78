// windows_1252.tier.cpp: converts between windows-1252 and UTF-16.
#include "encode/windows_1252.h"

#include "encode/lanes.h"
#include "frame/tier.h"
#include "frame/utf16.h"

#include <cstdint>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr tonekit_char16 kReplacement = kReplacementCharacter;

// Bytes 80 to 9F; all others are the character of their own number.
constexpr tonekit_char16 kMiddle[32] = {
    0x20AC,       kReplacement, 0x201A, 0x0192, 0x201E, 0x2026,       0x2020, 0x2021,
    0x02C6,       0x2030,       0x0160, 0x2039, 0x0152, kReplacement, 0x017D, kReplacement,
    kReplacement, 0x2018,       0x2019, 0x201C, 0x201D, 0x2022,       0x2013, 0x2014,
    0x02DC,       0x2122,       0x0161, 0x203A, 0x0153, kReplacement, 0x017E, 0x0178};

inline tonekit_char16 UnitOf(uint8_t byte)
{
    return byte >= 0x80 && byte < 0xA0 ? kMiddle[byte - 0x80] : byte;
}

inline char ByteOf(tonekit_char16 unit)
{
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100))
        return static_cast<char>(unit);
    if (unit != kReplacement)
        for (unsigned i = 0; i < 32; ++i)
            if (kMiddle[i] == unit)
                return static_cast<char>(0x80 + i);
    return '?';
}

inline bool IsPair(const tonekit_char16 *text)
{
    return IsHighSurrogate(text[0]) && IsLowSurrogate(text[1]);
}

// Whether all units are below 0x100 and none is from 0x80 to 0x9F, so that their low bytes are their bytes.
inline bool AreLowBytes(__m128i units)
{
    const __m128i top = _mm_and_si128(units, Splat(0xFF00));
    const __m128i middle = _mm_cmpeq_epi16(_mm_and_si128(units, Splat(0xE0)), Splat(0x80));
    return ByteMask(_mm_cmpeq_epi16(_mm_or_si128(top, middle), _mm_setzero_si128())) == 0xFFFF;
}

} // namespace

TONEKIT_INTERNAL_BODY(Windows1252ToUtf16, void, (const char *text, size_t bytes, tonekit_char16 *out))
{
    size_t i = 0;
    while (i < bytes) {
        if (bytes - i >= 16) {
            const __m128i block = Load128(text + i);
            Widen(block, out + i);
            // 80 to 9F as signed bytes are -0x80 to -0x61.
            if (ByteMask(_mm_cmplt_epi8(block, _mm_set1_epi8(-0x60))) == 0) {
                i += 16;
                continue;
            }
        }
        const size_t stop = bytes - i >= 16 ? i + 16 : bytes;
        for (; i < stop; ++i)
            out[i] = UnitOf(static_cast<uint8_t>(text[i]));
    }
}

TONEKIT_INTERNAL_BODY(Utf16ToWindows1252, size_t, (const tonekit_char16 *text, size_t units, char *out))
{
    const tonekit_char16 *end = text + units;
    char *to = out;
    while (text < end) {
        const bool isBlock = end - text >= 16;
        if (isBlock && AreLowBytes(Load128(text)) && AreLowBytes(Load128(text + 8))) {
            Store128(to, _mm_packus_epi16(Load128(text), Load128(text + 8)));
            text += 16;
            to += 16;
            continue;
        }
        const tonekit_char16 *stop = isBlock ? text + 16 : end;
        while (text < stop) {
            *to++ = ByteOf(*text);
            text += end - text >= 2 && IsPair(text) ? 2 : 1;
        }
    }
    return static_cast<size_t>(to - out);
}

} // namespace tonekit::TONEKIT_TIER
