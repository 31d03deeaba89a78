// analyze.cpp: the analysis modes, which replace the audio by a tone whose loudness shows a feature of the
// stream.
#include "hdcd/analyze.h"

#include "frame/packed_samples.h"
#include "hdcd/gain_ramp.h"
#include "hdcd/hdcd_tables.h"

#include <cstddef>

namespace tonekit {

const char *const HdcdAnalyzeModeText[kHdcdAnalyzeModes] = {
    "disabled",
    "gain adjustment level at each sample",
    "samples where peak extend occurs",
    "samples where the code detect timer is active",
    "samples where the target gain does not match between channels",
    "any samples above peak extend level",
    "gain adjustment level at each sample, in each channel",
};

namespace {

// Modes 5 and 6 have a label but mark nothing.
constexpr uint32_t kShowGain = 1;
constexpr uint32_t kShowPeaks = 2;
constexpr uint32_t kShowTimer = 3;
constexpr uint32_t kShowMismatch = 4;

constexpr int kShift = 15;                        // whatever the bits of the samples
constexpr int32_t kPeakLevel = HdcdPeakLevel(16); // likewise
constexpr uint32_t kMark = 19u << kShift;

int32_t Shifted(int32_t sample)
{
    return static_cast<int32_t>(static_cast<uint32_t>(sample) << kShift);
}

int32_t ShowPeak(int32_t sample, bool extend)
{
    const int64_t factor = (sample & 2) != 0 && extend ? 19456 : 1024; // 19 or 1, times 1024
    return static_cast<int32_t>(Shifted(sample) * factor >> 10);
}

// 1 at a gain of 0, 19 at 1920.
int32_t ShowGain(int32_t sample, int32_t gain)
{
    const uint32_t factor = static_cast<uint32_t>(gain) * 18432 / 1920 + 1024;
    return static_cast<int32_t>(int64_t{sample} * factor / 1024);
}

} // namespace

extern "C" int32_t hdcd_tone(uint32_t *tone_index, uint32_t sample_rate)
{
    struct Tone {
        uint32_t sampleRate;
        uint32_t period;
        const int16_t *table;
        uint32_t step;
    };
    static constexpr Tone kTones[] = {
        {48000, 160, HdcdToneTable48.entry, 4},  {96000, 320, HdcdToneTable48.entry, 2},
        {192000, 640, HdcdToneTable48.entry, 1}, {88200, 294, HdcdToneTable44.entry, 2},
        {176400, 588, HdcdToneTable44.entry, 1},
    };
    Tone tone = {44100, 147, HdcdToneTable44.entry, 4};
    for (const Tone &other : kTones)
        if (other.sampleRate == sample_rate)
            tone = other;
    *tone_index = (*tone_index + 1) % tone.period;
    return tone.table[*tone_index * tone.step];
}

void PrepareAnalysis(HdcdChannelState *channel, int32_t *samples, int32_t count, int32_t stride)
{
    auto *packed = reinterpret_cast<PackedInt32 *>(samples);
    for (int32_t i = 0; i < count; ++i, packed += stride) {
        const int32_t sample = packed->value;
        const bool peak = sample >= kPeakLevel || sample <= -kPeakLevel;
        const int32_t tone = hdcd_tone(&channel->tone_index, channel->sample_rate);
        packed->value = (tone & ~3) | (sample & 1) | (peak ? 2 : 0);
    }
}

extern "C" int32_t hdcd_analyze(int32_t *samples, int32_t count, int32_t stride, int32_t gain,
                                int32_t target_gain, int32_t extend, uint32_t mode, uint32_t cdt_active,
                                int32_t tg_mismatch)
{
    const bool marked = (mode == kShowMismatch && tg_mismatch > 0) || (mode == kShowTimer && cdt_active != 0);
    const GainRamp ramp = RampTowards(gain, target_gain, count);
    auto *packed = reinterpret_cast<PackedInt32 *>(samples);
    for (int32_t i = 0; i < count; ++i) {
        PackedInt32 &at = packed[static_cast<ptrdiff_t>(i) * stride];
        int32_t sample = at.value;
        if (mode == kShowPeaks)
            sample = ShowPeak(sample, extend != 0);
        else if (marked)
            sample = static_cast<int32_t>(static_cast<uint32_t>(sample) * kMark);
        else
            sample = Shifted(sample);
        if (mode == kShowGain)
            sample = ShowGain(sample, i < ramp.samples ? gain + (i + 1) * ramp.step : ramp.reached);
        at.value = sample;
    }
    return ramp.reached;
}

} // namespace tonekit
