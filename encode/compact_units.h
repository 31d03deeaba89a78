// compact_units.h: stores units without the dropped ones. For tier units only.
#pragma once

#include "encode/compact_table.h"

#include <tonekit/frame.h>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr ptrdiff_t kCompactRoom = 16; // units that the stores of a block may touch

// By the set of lanes to drop from eight.
alignas(16) constexpr auto kCompact = MakeCompactTable<uint16_t>([](unsigned dropped, unsigned lane) {
    return (dropped >> lane & 1) == 0;
});

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

// The units without the dropped ones.
inline __m128i Compact(__m128i units, uint32_t dropped)
{
    return _mm_shuffle_epi8(units, Load128(kCompact.bytes[dropped]));
}

// Stores eight units without the dropped ones; may touch eight.
inline tonekit_char16 *StoreKept(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    Store128(out, Compact(units, dropped));
    return out + kCompact.kept[dropped];
}

// The same, but at most one unit more than is kept.
inline tonekit_char16 *StoreKeptOnly(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    if (dropped == 0xFF)
        return out;
    const __m128i close = Compact(units, dropped);
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
    if (dropped == 0xFF)
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
