// compact_table.h: how kept lanes close the gaps of dropped ones. For tier units only.
#pragma once

#include "encode/lanes.h"

namespace tonekit::TONEKIT_TIER {
namespace {

#ifdef __SSSE3__

// For each of 256 sets: the bytes of the lanes that stay, and how many lanes these are.
template <class Lane>
struct CompactTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned set, unsigned lane)
    {
        const unsigned to = kept[set]++;
        for (unsigned byte = 0; byte < sizeof(Lane); ++byte)
            bytes[set][to * sizeof(Lane) + byte] = static_cast<uint8_t>(lane * sizeof(Lane) + byte);
    }
};

#else

// For each of 256 sets: where a lane takes the one, then the two lanes up, which closes the gaps in each half
// of the register; how many lanes stay, and in the lower half.
template <class Lane>
struct CompactTable {
    Lane fromOneUp[256][16 / sizeof(Lane)];
    Lane fromTwoUp[256][16 / sizeof(Lane)];
    uint8_t kept[256];
    uint8_t keptLow[256];

    constexpr void Keep(unsigned set, unsigned lane)
    {
        constexpr unsigned kHalf = 8 / sizeof(Lane);
        const unsigned to = lane < kHalf ? keptLow[set]++ : kHalf + kept[set] - keptLow[set];
        const unsigned distance = lane - to;
        ++kept[set];
        if (distance & 1)
            fromOneUp[set][lane -= 1] = static_cast<Lane>(-1);
        if (distance & 2)
            fromTwoUp[set][lane -= 2] = static_cast<Lane>(-1);
    }
};

#endif

// The lanes of a set that stay are those of which stays(set, lane) is true.
template <class Lane, class Stays>
constexpr CompactTable<Lane> MakeCompactTable(Stays stays)
{
    CompactTable<Lane> table{};
    for (unsigned set = 0; set < 256; ++set)
        for (unsigned lane = 0; lane < 16 / sizeof(Lane); ++lane)
            if (stays(set, lane))
                table.Keep(set, lane);
    return table;
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
