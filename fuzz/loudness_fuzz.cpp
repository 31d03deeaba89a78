// loudness_fuzz.cpp: measures samples of any value in blocks, with changes of format in between. The frames
// are counted, and the sample peak of an unchanged stream is its largest magnitude.
#include "fuzz/input_bytes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tonekit/loudness.h>
#include <vector>

using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

namespace {

constexpr uint32_t kRates[] = {44100, 48000, 8000, 96000, 192000, 100, 99, 16, 0, 2822401};

// Full scale and below; sometimes any bits at all.
double TakeSample(InputBytes &input, uint32_t &noise, bool wild)
{
    noise = noise * 1664525 + 1013904223;
    if (!wild || input.Empty())
        return static_cast<double>(static_cast<int32_t>(noise)) / 2147483648.0;
    const uint64_t bits = uint64_t{input.Word()} << 32 | noise;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    uint32_t channels = input.Below(9);
    const uint32_t rate = input.OneOf(kRates);
    const bool truePeak = input.Flag();
    ReplayGainState *state =
        truePeak ? ReplayGain_Init_TruePeak(channels, rate) : ReplayGain_Init(channels, rate);
    const bool refused = channels == 0 || rate < 100 || rate > 2822400;
    const bool missing = std::isnan(ReplayGain_GetPeak(state));
    Require(missing == refused);
    bool exact = !refused && !truePeak;
    double peak = 0;
    uint64_t total = 0;
    uint32_t noise = 1;
    for (int block = 0; block < 8 && !input.Empty(); ++block) {
        const uint8_t action = input.Byte();
        if ((action & 7) == 0) {
            channels = input.Below(9);
            ReplayGain_Change(state, channels, input.OneOf(kRates));
            exact = false;
            continue;
        }
        const uint32_t frames = input.Byte() * 8;
        std::vector<double> samples(size_t{frames} * channels);
        for (double &sample : samples) {
            sample = TakeSample(input, noise, (action & 8) != 0);
            if (std::isnan(sample))
                exact = false;
            peak = std::max(peak, std::fabs(sample));
        }
        ReplayGain_Process(state, samples.data(), frames);
        total += frames;
        ReplayGain_GetLoudness(state);
    }
    Require(ReplayGain_GetSamples(state) == total);
    if (exact)
        Require(ReplayGain_GetPeak(state) == peak);
    ReplayGain_Deinit(state);
    return 0;
}
