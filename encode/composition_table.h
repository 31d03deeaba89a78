// composition_table.h: Unicode's canonical compositions of a character and the mark after it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit {

struct Composition {
    char32_t mark;
    char32_t base;
    char32_t composed;
};

// In ascending order of mark, then of base.
extern const Composition kCompositions[];
extern const size_t kCompositionCount;

// Bit n of byte m is set if a mark of the table below U+10000 lies in the page 8 * m + n of 256 characters.
extern const uint8_t kMarkPages[32];

} // namespace tonekit
