// loudness_test.cpp: a measurement with each of its allocations failing, those of libebur128 included.
#include <tonekit/loudness.h>
#include <vector>

#include "tests/memory/every_allocation.h"

namespace tonekit {
namespace {

TEST(EveryAllocation, OfAMeasurementMayFail)
{
    const std::vector<double> samples(6 * 48000, 0.25);
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak})
        for (const std::uint32_t rate : {44100u, 96000u, 192000u}) {
            const std::uint64_t allocations = FailEachInTurn([&] {
                ReplayGainState *state = init(2, rate);
                ReplayGain_Process(state, samples.data(), 48000);
                ReplayGain_Change(state, 6, 48000);
                ReplayGain_Process(state, samples.data(), 48000);
                ReplayGain_GetLoudness(state);
                ReplayGain_Deinit(state);
            });
            EXPECT_GT(allocations, 30u);
        }
}

} // namespace
} // namespace tonekit
