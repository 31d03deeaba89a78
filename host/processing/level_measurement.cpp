// level_measurement.cpp: loudness and peak of a conversion's result at its own level.
#include "host/processing/level_measurement.h"

#include "host/processing/loudness_meter.h"
#include "host/processing/sample_guard.h"
#include "host/processing/sound_chain.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint32_t kReadFrames = 16384;

// The plan up to the samples that the level would be changed of: not yet rounded, not turned down.
Plan UnroundedPlan(const Plan &plan)
{
    Plan unrounded = plan;
    unrounded.target.sample = SampleFormat::Float64;
    unrounded.dither = unrounded.limiter = unrounded.changesLevel = unrounded.copyFile = false;
    unrounded.copySamples = !plan.decodeHdcd && unrounded.source == unrounded.target;
    return unrounded;
}

class LevelMeter {
public:
    LevelMeter(const Options &options, const AudioFormat &format) : channels_(format.channels)
    {
        if (options.normalize)
            loudness_.emplace(true, format, options.normalizeAlbum);
    }

    void Take(const double *samples, uint32_t frames)
    {
        for (size_t i = 0; i < size_t{frames} * channels_; ++i) {
            measurable_ = measurable_ && std::fabs(samples[i]) <= kLoudestSample;
            peak_ = std::max(peak_, std::fabs(samples[i]));
        }
        if (loudness_)
            loudness_->Take(samples, frames);
    }

    bool measurable() const { return measurable_; }

    MeasuredLevel Result() const
    {
        MeasuredLevel level{std::nullopt, peak_};
        if (!loudness_)
            return level;
        const Loudness loudness = loudness_->Result();
        if (loudness.gain)
            level.loudness = kReplayGainReference - *loudness.gain;
        level.peak = std::max(peak_, loudness.peak.value_or(0));
        level.albumPart = loudness_->albumPart();
        return level;
    }

private:
    uint32_t channels_;
    std::optional<LoudnessMeter> loudness_;
    double peak_ = 0;
    bool measurable_ = true;
};

} // namespace

MeasuredLevel MeasureLevel(const Options &options, const Plan &plan, SampleSource &source,
                           const ProgressSink &progress)
{
    const Plan unrounded = UnroundedPlan(plan);
    SoundChain chain(options, unrounded);
    LevelMeter meter(options, unrounded.target);
    const FrameSink sink = [&](const void *samples, uint32_t frames) {
        meter.Take(static_cast<const double *>(samples), frames);
    };
    std::vector<uint8_t> block(size_t{kReadFrames} * plan.source.FrameBytes());
    chain.LeadIn(source);
    uint64_t done = 0;
    const double all = static_cast<double>(source.frames());
    while (const uint32_t frames = source.Read(block.data(), kReadFrames)) {
        chain.Write(block.data(), frames, sink);
        done += frames;
        if (InterruptNoted())
            throw Interrupted();
        progress(all > 0 ? static_cast<double>(done) / all : 0, static_cast<double>(done) / plan.source.rate);
    }
    chain.Finish(sink);
    if (!meter.measurable())
        throw Failure(source.name() +
                      ": holds samples that are no finite numbers or louder than 600 dB, so its "
                      "level can't be measured");
    source.Rewind();
    return meter.Result();
}

} // namespace tonekit::host
