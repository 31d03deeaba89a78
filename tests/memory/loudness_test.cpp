// loudness_test.cpp: a measurement with each of its allocations failing, those of libebur128 included.
#include "tests/memory/every_allocation.h"

#include <cmath>
#include <tonekit/loudness.h>
#include <vector>

namespace tonekit {
namespace {

TEST(EveryAllocation, OfAMeasurementMayFail)
{
    const std::vector<double> samples(6 * 48000, 0.25);
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak})
        for (const uint32_t rate : {44100u, 96000u, 192000u}) {
            const uint64_t allocations = FailEachInTurn([&] {
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

// Each part of 100 ms ends a block, which takes memory; what fails there must not spoil the parts that
// follow.
TEST(EveryAllocation, OfAMeasurementInPartsMayFail)
{
    // A tone of 1000 Hz on both channels is as loud as its level: here -12 LUFS.
    std::vector<double> part(2 * 4410);
    for (size_t i = 0; i < part.size(); ++i)
        part[i] = 0.25 * std::sin(2 * std::acos(-1.0) * 1000 * static_cast<double>(i / 2) / 44100);
    uint64_t lost = 0;
    const uint64_t allocations = FailEachInTurn([&] {
        ReplayGainState *state = ReplayGain_Init(2, 44100);
        for (int i = 0; i < 30; ++i)
            ReplayGain_Process(state, part.data(), 4410);
        EXPECT_EQ(ReplayGain_GetSamples(state), 30u * 4410);
        const double gain = ReplayGain_GetLoudness(state);
        lost += std::isnan(gain);
        EXPECT_TRUE(std::isnan(gain) || std::abs(gain - -5.96) < 0.1) << gain;
        EXPECT_EQ(std::isnan(ReplayGain_GetPeak(state)), std::isnan(gain));
        ReplayGain_Deinit(state);
    });
    EXPECT_GT(allocations, 27u);
    EXPECT_GT(lost, 27u);
}

} // namespace
} // namespace tonekit
