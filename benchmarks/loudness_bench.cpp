// loudness_bench.cpp: a ReplayGain measurement compared with bare libebur128.
#include "benchmarks/ratio.h"
#include "tests/support/random.h"

#include <ebur128.h>
#include <tonekit/loudness.h>
#include <vector>

namespace {

constexpr uint32_t kChannels = 2;
constexpr uint32_t kRate = 44100;
constexpr uint32_t kBlock = 4410;
constexpr uint32_t kBlocks = 10;

volatile double sink;

void Ours(const std::vector<double> &samples, ReplayGainState *(*init)(uint32_t, uint32_t))
{
    ReplayGainState *state = init(kChannels, kRate);
    for (uint32_t block = 0; block < kBlocks; ++block)
        ReplayGain_Process(state, samples.data() + block * kBlock * kChannels, kBlock);
    sink = ReplayGain_GetLoudness(state);
    sink = ReplayGain_GetPeak(state);
    ReplayGain_Deinit(state);
}

void Bare(const std::vector<double> &samples, int mode)
{
    const bool truePeak = (mode & EBUR128_MODE_TRUE_PEAK) == EBUR128_MODE_TRUE_PEAK;
    ebur128_state *state = ebur128_init(kChannels, kRate, mode);
    for (uint32_t block = 0; block < kBlocks; ++block)
        ebur128_add_frames_double(state, samples.data() + block * kBlock * kChannels, kBlock);
    double value = 0.0;
    ebur128_loudness_global(state, &value);
    sink = value;
    for (unsigned channel = 0; channel < kChannels; ++channel) {
        (truePeak ? ebur128_true_peak : ebur128_sample_peak)(state, channel, &value);
        sink = value;
    }
    ebur128_destroy(&state);
}

} // namespace

int main(int argc, char **argv)
{
    tonekit::Random random(1);
    std::vector<double> samples(kBlock * kBlocks * kChannels);
    for (double &sample : samples)
        sample = random.Uniform() - 0.5;

    tonekit::RatioTable table("ReplayGain of a second of stereo beside bare libebur128");
    table.Add(
        "sample peak", 0.98, [&] { Ours(samples, ReplayGain_Init); },
        [&] { Bare(samples, EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK); });
    table.Add(
        "true peak", 0.98, [&] { Ours(samples, ReplayGain_Init_TruePeak); },
        [&] { Bare(samples, EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK | EBUR128_MODE_TRUE_PEAK); });
    return table.Run(argc, argv);
}
