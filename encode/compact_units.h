// compact_units.h: stores units without the dropped ones. For tier units only.
#pragma once

#include "encode/lanes.h"

#include <tonekit/frame.h>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr std::ptrdiff_t kCompactRoom = 16; // units that the stores of a block may touch

#ifdef __SSSE3__

// For each set of lanes to drop from eight: the bytes of those that stay, and how many lanes these are.
struct CompactTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned dropped, unsigned lane)
    {
        const unsigned to = kept[dropped]++;
        bytes[dropped][2 * to] = static_cast<uint8_t>(2 * lane);
        bytes[dropped][2 * to + 1] = static_cast<uint8_t>(2 * lane + 1);
    }
};

#else

// For each set of lanes to drop from eight: where a lane takes the unit of the one, then the two lanes up,
// which closes the gaps among the first four lanes and among the others; how many units stay, and of the
// first four.
struct CompactTable {
    uint16_t fromOneUp[256][8];
    uint16_t fromTwoUp[256][8];
    uint8_t kept[256];
    uint8_t keptLow[256];

    constexpr void Keep(unsigned dropped, unsigned lane)
    {
        const unsigned to = lane < 4 ? keptLow[dropped]++ : 4u + kept[dropped] - keptLow[dropped];
        const unsigned distance = lane - to;
        kept[dropped]++;
        if (distance & 1)
            fromOneUp[dropped][lane -= 1] = 0xffff;
        if (distance & 2)
            fromTwoUp[dropped][lane -= 2] = 0xffff;
    }
};

#endif

constexpr CompactTable MakeCompactTable()
{
    CompactTable table{};
    for (unsigned dropped = 0; dropped < 256; ++dropped)
        for (unsigned lane = 0; lane < 8; ++lane)
            if (!(dropped >> lane & 1))
                table.Keep(dropped, lane);
    return table;
}

alignas(16) constexpr CompactTable kCompact = MakeCompactTable();

inline void StoreTwo(tonekit_char16 *out, uint64_t units)
{
    const uint32_t two = static_cast<uint32_t>(units);
    std::memcpy(out, &two, sizeof two);
}

// The first count of four units, and at most one unit more, or two if the count is 0.
inline void StoreUpToFour(tonekit_char16 *out, uint64_t units, uint32_t count)
{
    StoreTwo(count > 2 ? out + 2 : out, units >> 32);
    StoreTwo(out, units);
}

#ifdef __SSSE3__

// Stores eight units without the dropped ones; may touch eight.
inline tonekit_char16 *StoreKept(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    Store128(out, _mm_shuffle_epi8(units, Load128(kCompact.bytes[dropped])));
    return out + kCompact.kept[dropped];
}

// The same, but at most one unit more than is kept.
inline tonekit_char16 *StoreKeptOnly(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    if (dropped == 0xff)
        return out;
    const __m128i close = _mm_shuffle_epi8(units, Load128(kCompact.bytes[dropped]));
    const uint32_t count = kCompact.kept[dropped];
    if (count > 4)
        StoreUpToFour(out + 4, LowerHalf(_mm_unpackhi_epi64(close, close)), count - 4);
    StoreUpToFour(out, LowerHalf(close), count);
    return out + count;
}

#else

// The units without the dropped ones, those of four lanes in each half.
inline __m128i Compact(__m128i units, uint32_t dropped)
{
    return MoveDown<16>(units, kCompact.fromOneUp[dropped], kCompact.fromTwoUp[dropped]);
}

// Stores eight units without the dropped ones; may touch eight.
inline tonekit_char16 *StoreKept(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    const __m128i close = Compact(units, dropped);
    StoreHalf(out, close);
    StoreUpperHalf(out + kCompact.keptLow[dropped], close);
    return out + kCompact.kept[dropped];
}

// The same, but at most one unit more than is kept.
inline tonekit_char16 *StoreKeptOnly(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    if (dropped == 0xff)
        return out;
    const __m128i close = Compact(units, dropped);
    const uint32_t low = kCompact.keptLow[dropped];
    const uint32_t count = kCompact.kept[dropped];
    StoreUpToFour(out, LowerHalf(close), low);
    if (count > low)
        StoreUpToFour(out + low, LowerHalf(_mm_unpackhi_epi64(close, close)), count - low);
    return out + count;
}

#endif

} // namespace
} // namespace tonekit::TONEKIT_TIER
