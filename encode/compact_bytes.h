// compact_bytes.h: stores forms of one or two bytes without gaps. For tier units only.
#pragma once

#include "encode/lanes.h"

namespace tonekit::TONEKIT_TIER {
namespace {

inline void StoreBytes(char *out, uint32_t word)
{
    std::memcpy(out, &word, sizeof word);
}

constexpr std::ptrdiff_t kRunAhead = 8; // bytes that a store may write after its last character

#ifdef __SSSE3__

// For each set of two-byte units among eight: the bytes of their forms that stay, and how many these are.
struct CompactTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned wide, unsigned from)
    {
        bytes[wide][kept[wide]++] = static_cast<uint8_t>(from);
    }
};

#else

// For each set of two-byte units among eight: where a byte takes the one, then the two bytes up, which
// closes the gaps among the first four units and among the others; how many bytes stay, and of the first
// four.
struct CompactTable {
    uint8_t fromOneUp[256][16];
    uint8_t fromTwoUp[256][16];
    uint8_t kept[256];
    uint8_t keptLow[256];

    constexpr void Keep(unsigned wide, unsigned from)
    {
        const unsigned to = from < 8 ? keptLow[wide]++ : 8u + kept[wide] - keptLow[wide];
        const unsigned distance = from - to;
        kept[wide]++;
        if (distance & 1)
            fromOneUp[wide][from -= 1] = 0xff;
        if (distance & 2)
            fromTwoUp[wide][from -= 2] = 0xff;
    }
};

#endif

constexpr CompactTable MakeCompactTable()
{
    CompactTable table{};
    for (unsigned wide = 0; wide < 256; ++wide)
        for (unsigned byte = 0; byte < 16; ++byte)
            if (byte % 2 == 0 || (wide >> byte / 2 & 1))
                table.Keep(wide, byte);
    return table;
}

alignas(16) constexpr CompactTable kCompact = MakeCompactTable();

#ifdef __SSSE3__

// Stores the forms of eight units without gaps; may write kRunAhead bytes more.
inline char *StoreTwoByteForms(char *out, __m128i forms, uint32_t wide)
{
    Store128(out, _mm_shuffle_epi8(forms, Load128(kCompact.bytes[wide])));
    return out + kCompact.kept[wide];
}

// The same, but writes no byte more.
inline char *StoreTwoByteFormsOnly(char *out, __m128i forms, uint32_t wide)
{
    alignas(16) static const uint8_t kUp[24] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                                12, 13, 14, 15, 15, 15, 15, 15, 15, 15, 15, 15};
    const __m128i bytes = _mm_shuffle_epi8(forms, Load128(kCompact.bytes[wide]));
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
