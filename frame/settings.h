// settings.h: how the library itself reads the process-wide settings that have no exported getter.
#pragma once

#include <cstdint>

namespace tonekit {

uint32_t ResamplerMode();    // 0 normal, 1 steep, 2 steeper
uint8_t ResamplerAliasing(); // non-zero: the stop band may begin above Nyquist
uint32_t DitherEnabled();    // non-zero: on
uint32_t DitherMode();       // 0, 1, 2

} // namespace tonekit
