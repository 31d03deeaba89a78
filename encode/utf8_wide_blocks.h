// utf8_wide_blocks.h: decodes UTF-8 by thirty-two bytes. For tier units with AVX2.
#pragma once

#include "encode/compact_units.h"
#include "encode/lanes.h"

#include <cstdint>
#include <immintrin.h>

#if defined(__AVX2__)

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr ptrdiff_t kWideBlock = 32;
constexpr ptrdiff_t kWideRoom = 32; // units that the stores of such a block may touch

// Thirty-two bytes, and those one and two places before each.
struct WideBlock {
    __m256i bytes;
    __m256i before;
    __m256i twoBefore;
};

// A block after others.
inline WideBlock NextWideBlock(const uint8_t *bytes)
{
    return {Load256(bytes), Load256(bytes - 1), Load256(bytes - 2)};
}

// A block with zeros before it.
inline WideBlock FirstWideBlock(const uint8_t *bytes)
{
    const __m256i block = Load256(bytes);
    const __m256i lowerHalf = _mm256_permute2x128_si256(block, block, 0x08); // after a half of zeros
    return {block, _mm256_alignr_epi8(block, lowerHalf, 15), _mm256_alignr_epi8(block, lowerHalf, 14)};
}

// Leads at the end of a block whose characters go on in the next: bit 0 for its first byte, and so on.
struct WidePending {
    uint32_t leads = 0; // bytes that follow a lead
    uint32_t three = 0; // bytes two places after the lead of three
};

// Thirty-two units, each where the last byte of its character is.
struct WideUnits {
    __m256i lower;    // their lower 8 bits
    __m256i upper;    // their upper 8 bits
    uint32_t dropped; // places of other bytes
    bool strange;     // some byte belongs to no well-formed character of up to three bytes
};

// The lower 8 bits of units where characters of two or three bytes end.
inline __m256i LowerBits(const WideBlock &block, __m256i continuations)
{
    const __m256i fromBefore = _mm256_and_si256(_mm256_slli_epi16(block.before, 6), _mm256_set1_epi8(-0x40));
    const __m256i change = _mm256_xor_si256(fromBefore, _mm256_set1_epi8(-0x80));
    return _mm256_xor_si256(block.bytes, _mm256_and_si256(change, continuations));
}

// The upper 8 bits; `lasts` are the places two after leads of three bytes.
inline __m256i UpperBits(const WideBlock &block, __m256i continuations, __m256i lasts)
{
    const __m256i fromBefore = _mm256_and_si256(_mm256_srli_epi16(block.before, 2),
                                                _mm256_and_si256(continuations, _mm256_set1_epi8(0x0F)));
    const __m256i lead = _mm256_and_si256(_mm256_slli_epi16(block.twoBefore, 4), _mm256_set1_epi8(-0x10));
    return _mm256_or_si256(fromBefore, _mm256_and_si256(lead, lasts));
}

inline __m256i AtLeast(__m256i bytes, char least)
{
    const __m256i all = _mm256_set1_epi8(least);
    return _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, all), bytes);
}

// C0, C1, and F0 to FF; units of three bytes that are overlong or surrogates.
inline uint32_t BadBytes(__m256i bytes, __m256i upper, __m256i lasts)
{
    const __m256i overlongTwo =
        _mm256_cmpeq_epi8(_mm256_and_si256(bytes, _mm256_set1_epi8(-2)), _mm256_set1_epi8(-0x40));
    const __m256i top = _mm256_and_si256(upper, _mm256_set1_epi8(-8));
    const __m256i overlong = _mm256_and_si256(_mm256_cmpeq_epi8(top, _mm256_setzero_si256()), lasts);
    const __m256i surrogates = _mm256_cmpeq_epi8(top, _mm256_set1_epi8(-0x28));
    return ByteMask(_mm256_or_si256(_mm256_or_si256(overlongTwo, AtLeast(bytes, -0x10)),
                                    _mm256_or_si256(overlong, surrogates)));
}

[[gnu::always_inline]] inline WideUnits DecodeWide(const WideBlock &block, WidePending &pending)
{
    const __m256i continuations = _mm256_cmpgt_epi8(_mm256_set1_epi8(-0x40), block.bytes);
    const __m256i lasts = AtLeast(block.twoBefore, -0x20);
    const uint32_t continued = ByteMask(continuations);
    const uint32_t leads = ByteMask(block.bytes) ^ continued;
    const uint32_t three = ByteMask(_mm256_slli_epi16(block.bytes, 2)) & leads; // bit 5 is set: E0 and up
    const uint32_t afterLeads = leads << 1 | pending.leads;
    const uint32_t afterThree = three << 2 | pending.three;
    const uint32_t middles = three << 1 | pending.three >> 1;
    pending.leads = leads >> 31;
    pending.three = three >> 30;
    WideUnits units;
    units.lower = LowerBits(block, continuations);
    units.upper = UpperBits(block, continuations, lasts);
    units.dropped = leads | middles;
    units.strange =
        ((continued ^ (afterLeads | afterThree)) | BadBytes(block.bytes, units.upper, lasts)) != 0;
    return units;
}

// Stores the units without gaps.
[[gnu::always_inline]] inline tonekit_char16 *StoreWide(tonekit_char16 *out, const WideUnits &units)
{
    const __m256i even = _mm256_unpacklo_epi8(units.lower, units.upper); // units 0 to 7, and 16 to 23
    const __m256i odd = _mm256_unpackhi_epi8(units.lower, units.upper);  // units 8 to 15, and 24 to 31
    const uint32_t dropped = units.dropped;
    const uint32_t kept = ~dropped;
    Store128(out, Compact(_mm256_castsi256_si128(even), dropped & 0xFF));
    Store128(out + _mm_popcnt_u32(kept & 0xFF), Compact(_mm256_castsi256_si128(odd), dropped >> 8 & 0xFF));
    Store128(out + _mm_popcnt_u32(kept & 0xFFFF),
             Compact(_mm256_extracti128_si256(even, 1), dropped >> 16 & 0xFF));
    Store128(out + _mm_popcnt_u32(kept << 8), Compact(_mm256_extracti128_si256(odd, 1), dropped >> 24));
    return out + _mm_popcnt_u32(kept);
}

} // namespace
} // namespace tonekit::TONEKIT_TIER

#endif
