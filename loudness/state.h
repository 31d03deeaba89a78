// state.h: the record of a ReplayGain measurement.
#pragma once

#include <cstdint>
#include <ebur128.h>
#include <tonekit/loudness.h>

struct ReplayGainState {
    uint64_t samples_seen;  // frames
    uint32_t use_true_peak; // 1 or 0
    uint32_t channels;      // as given at creation
    ebur128_state *ebur128; // owned; null if the library failed or a change failed
};

namespace tonekit {

// The quiet NaN with the float bits 0x7FFFFFFF, widened.
constexpr double kMissingValue = __builtin_bit_cast(double, uint64_t{0x7FFFFFFFE0000000});

} // namespace tonekit
