// mix_columns.h: turns a number of output channels into a compile-time constant. For the tier units of the
// mix.
#pragma once
#include <cstdint>

namespace tonekit::TONEKIT_TIER {

// Calls visit.operator()<N>() with N = columns, from 1 to 8.
template <class Visitor>
[[gnu::always_inline]] inline void WithColumns(uint32_t columns, Visitor visit)
{
    switch (columns) {
    case 1:
        return visit.template operator()<1>();
    case 2:
        return visit.template operator()<2>();
    case 3:
        return visit.template operator()<3>();
    case 4:
        return visit.template operator()<4>();
    case 5:
        return visit.template operator()<5>();
    case 6:
        return visit.template operator()<6>();
    case 7:
        return visit.template operator()<7>();
    case 8:
        return visit.template operator()<8>();
    }
}

} // namespace tonekit::TONEKIT_TIER
