// peak.tier.cpp: reads the peak of a measurement.
#include "frame/tier.h"
#include "loudness/state.h"

namespace tonekit::TONEKIT_TIER {

TONEKIT_BODY(ReplayGain_GetPeak, double, (ReplayGainState * state))
{
    if (!state || !state->ebur128)
        return kMissingValue;
    double result = 0.0;
    for (uint32_t channel = 0; channel < state->channels; ++channel) {
        double peak = 0.0;
        // A channel that a change has taken away is refused; it does not count.
        const int error = state->use_true_peak != 0 ? ebur128_true_peak(state->ebur128, channel, &peak)
                                                    : ebur128_sample_peak(state->ebur128, channel, &peak);
        if (error == EBUR128_SUCCESS && peak > result)
            result = peak;
    }
    return result;
}

} // namespace tonekit::TONEKIT_TIER
