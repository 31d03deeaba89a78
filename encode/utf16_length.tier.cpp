// utf16_length.tier.cpp: finds the end of UTF-16 text, and sees on the way which bits its units have.
#include "encode/utf.h"
#include "frame/tier.h"
#include <cstdint>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr std::size_t kBlock = 8; // units in a vector

__attribute__((no_sanitize("address"))) inline __m128i LoadAligned(const tonekit_char16 *text)
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(text));
}

inline __m128i Zeros(__m128i units)
{
    return _mm_cmpeq_epi16(units, _mm_setzero_si128());
}

inline uint32_t OrOfLanes(__m128i lanes)
{
    lanes = _mm_or_si128(lanes, _mm_unpackhi_epi64(lanes, lanes));
    const uint64_t four = static_cast<uint64_t>(_mm_cvtsi128_si64(lanes));
    const uint32_t two = static_cast<uint32_t>(four | four >> 32);
    return (two | two >> 16) & 0xffff;
}

// The first count lanes; the rest becomes zero.
inline __m128i FirstLanes(__m128i units, std::size_t count)
{
    alignas(16) static const uint16_t kWindow[2 * kBlock] = {0xffff, 0xffff, 0xffff, 0xffff,
                                                             0xffff, 0xffff, 0xffff, 0xffff};
    return _mm_and_si128(units, _mm_loadu_si128(reinterpret_cast<const __m128i *>(kWindow + kBlock - count)));
}

} // namespace

// The blocks are aligned pairs of vectors, so each lies within one page, and reading the one that holds the
// terminator touches no page that the text does not touch. A sanitizer can't know that.
TONEKIT_INTERNAL_BODY(Utf16Length, __attribute__((no_sanitize("address"))) std::size_t,
                      (const tonekit_char16 *text, uint32_t *bits))
{
    const tonekit_char16 *at = text;
    uint32_t seen = 0;
    for (; reinterpret_cast<uintptr_t>(at) % (2 * sizeof(__m128i)) != 0; at++) {
        if (*at == 0) {
            *bits = seen;
            return static_cast<std::size_t>(at - text);
        }
        seen |= *at;
    }
    __m128i all = _mm_setzero_si128();
    __m128i low = LoadAligned(at);
    __m128i high = LoadAligned(at + kBlock);
    while (_mm_movemask_epi8(_mm_or_si128(Zeros(low), Zeros(high))) == 0) {
        all = _mm_or_si128(all, _mm_or_si128(low, high));
        at += 2 * kBlock;
        low = LoadAligned(at);
        high = LoadAligned(at + kBlock);
    }
    const uint32_t zeros = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(Zeros(low), Zeros(high))));
    const std::size_t last = static_cast<std::size_t>(__builtin_ctz(zeros));
    all = _mm_or_si128(all, FirstLanes(low, last < kBlock ? last : kBlock));
    all = _mm_or_si128(all, FirstLanes(high, last < kBlock ? 0 : last - kBlock));
    *bits = seen | OrOfLanes(all);
    return static_cast<std::size_t>(at - text) + last;
}

} // namespace tonekit::TONEKIT_TIER
