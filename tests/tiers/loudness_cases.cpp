// loudness_cases.cpp: the peak of a measurement in every tier.
#include "tests/tiers/tiers.h"

#include <tonekit/loudness.h>
#include <vector>

namespace tonekit::tiers {

static void ExerciseGetPeak(const Bodies &bodies, Random &random, Record &record)
{
    const auto body = bodies.Get<decltype(ReplayGain_GetPeak)>("ReplayGain_GetPeak");
    record.AddValue(body(nullptr));
    for (const uint32_t channels : {0u, 1u, 2u, 6u, 64u, 65u}) {
        ReplayGainState *state =
            (random.Below(2) ? ReplayGain_Init : ReplayGain_Init_TruePeak)(channels, 44100);
        record.AddValue(body(state));
        std::vector<double> samples(200 * channels);
        for (double &sample : samples)
            sample = 2.0 * random.Uniform() - 1.0;
        ReplayGain_Process(state, samples.data(), 200);
        record.AddValue(body(state));
        ReplayGain_Change(state, 1, 44100);
        record.AddValue(body(state));
        ReplayGain_Deinit(state);
    }
}
TONEKIT_TIER_CASE(ExerciseGetPeak, "ReplayGain_GetPeak");

static void BenchGetPeak(const Bodies &bodies)
{
    static ReplayGainState *const state = ReplayGain_Init(64, 44100);
    bodies.Get<decltype(ReplayGain_GetPeak)>("ReplayGain_GetPeak")(state);
}
TONEKIT_TIER_BENCH(BenchGetPeak, "ReplayGain_GetPeak");

} // namespace tonekit::tiers
