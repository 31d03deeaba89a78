// gain_ramp.h: how far a run moves the gain. The ramp of the audio and that of the analysis modes are one.
#pragma once

#include <cstdint>

namespace tonekit {

// The ramp at the beginning of a run.
struct GainRamp {
    int32_t samples; // that it takes
    int32_t step;    // which is added to the gain before each of them
    int32_t reached; // the gain after them
};

// Always inlined: tier units may not leave a copy of it.
[[gnu::always_inline]] inline GainRamp RampTowards(int32_t gain, int32_t target, int32_t count)
{
    count = count > 0 ? count : 0;
    if (gain <= target) {
        const int32_t way = target - gain;
        const int32_t samples = way < count ? way : count;
        return {samples, 1, gain + samples};
    }
    const int32_t way = (gain - target) >> 3;
    const int32_t samples = way < count ? way : count;
    gain -= 8 * samples;
    // Less than a step is left: no sample is spent on it, so an empty run can close the gap too.
    return {samples, -8, gain - 8 < target ? target : gain};
}

} // namespace tonekit
