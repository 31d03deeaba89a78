// compact_bytes.h: stores forms of one or two bytes without gaps. For tier units only.
#pragma once

#include "encode/compact_table.h"

namespace tonekit::TONEKIT_TIER {
namespace {

inline void StoreBytes(char *out, uint32_t word)
{
    std::memcpy(out, &word, sizeof word);
}

constexpr ptrdiff_t kRunAhead = 8; // bytes that a store may write after its last character

// By the set of two-byte units among eight: the bytes of their forms that stay.
alignas(16) constexpr auto kCompact = MakeCompactTable<uint8_t>([](unsigned wide, unsigned byte) {
    return byte % 2 == 0 || (wide >> byte / 2 & 1) != 0;
});

#ifdef __SSSE3__

// The forms without gaps.
inline __m128i Compact(__m128i forms, uint32_t wide)
{
    return _mm_shuffle_epi8(forms, Load128(kCompact.bytes[wide]));
}

// Stores the forms of eight units without gaps; may write kRunAhead bytes more.
inline char *StoreTwoByteForms(char *out, __m128i forms, uint32_t wide)
{
    Store128(out, Compact(forms, wide));
    return out + kCompact.kept[wide];
}

// The same, but writes no byte more.
inline char *StoreTwoByteFormsOnly(char *out, __m128i forms, uint32_t wide)
{
    alignas(16) static const uint8_t kUp[24] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                                12, 13, 14, 15, 15, 15, 15, 15, 15, 15, 15, 15};
    const __m128i bytes = Compact(forms, wide);
    const uint32_t count = kCompact.kept[wide];
    StoreHalf(out, bytes);
    StoreHalf(out + count - 8, _mm_shuffle_epi8(bytes, Load128(kUp + count - 8)));
    return out + count;
}

#else

// The forms without gaps, those of four units in each half.
inline __m128i Compact(__m128i forms, uint32_t wide)
{
    return MoveDown<8>(forms, kCompact.fromOneUp[wide], kCompact.fromTwoUp[wide]);
}

// Stores the forms of eight units without gaps; may write kRunAhead bytes more.
inline char *StoreTwoByteForms(char *out, __m128i forms, uint32_t wide)
{
    const __m128i bytes = Compact(forms, wide);
    StoreHalf(out, bytes);
    StoreUpperHalf(out + kCompact.keptLow[wide], bytes);
    return out + kCompact.kept[wide];
}

// The lower 4 to 8 bytes of a word.
inline char *StoreFourToEight(char *out, uint64_t word, uint32_t count)
{
    StoreBytes(out, static_cast<uint32_t>(word));
    StoreBytes(out + count - 4, static_cast<uint32_t>(word >> 8 * (count - 4)));
    return out + count;
}

// The same, but writes no byte more.
inline char *StoreTwoByteFormsOnly(char *out, __m128i forms, uint32_t wide)
{
    const __m128i bytes = Compact(forms, wide);
    const uint32_t low = kCompact.keptLow[wide];
    out = StoreFourToEight(out, LowerHalf(bytes), low);
    return StoreFourToEight(out, LowerHalf(_mm_unpackhi_epi64(bytes, bytes)), kCompact.kept[wide] - low);
}

#endif

} // namespace
} // namespace tonekit::TONEKIT_TIER
