// sound_chain.h: all that happens to samples between their source and the output.
#pragma once

#include "host/audio/sample_source.h"
#include "host/plan.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/limiter_watch.h"
#include "host/processing/stream_converter.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tonekit::host {

// HDCD, the change of level and the conversion of one stream, as its plan has them. A change of level comes
// first and works in 64 bit floats, so that the limiter meets the sound as loud as it will be; whole numbers
// are made of floats at the very end.
class SoundChain {
public:
    SoundChain(const Options &options, const Plan &plan);

    // Lets a decoder know what comes before a part.
    void LeadIn(SampleSource &source);
    // Takes frames of the plan's source; frames of its target go into the sink.
    void Write(const void *samples, uint32_t frames, const FrameSink &sink);
    void Finish(const FrameSink &sink);

    // Nothing if the limiter let everything through so far.
    std::optional<LimiterReport> limiter() const { return watch_ ? watch_->Found() : std::nullopt; }
    // The samples so far that were louder than full scale, if the level was changed: cut in whole numbers,
    // and a player's to cut after a coder.
    uint64_t tooLoud() const { return tooLoud_; }
    // The samples so far that the converter clips, if the level wasn't changed: of the mix where the channels
    // change, before the rate does.
    uint64_t clipped() const { return clipped_; }

private:
    void Raise(const double *samples, uint32_t frames, const FrameSink &sink);
    void Convert(const void *samples, uint32_t frames, const FrameSink &sink);
    void CountClipped(const void *samples, uint32_t frames);
    FrameSink LastStep(const FrameSink &sink);
    void Round(const double *samples, uint32_t frames, const FrameSink &sink);
    void Narrow(const double *samples, uint32_t frames, const FrameSink &sink);

    const Plan plan_;
    std::optional<HdcdStream> hdcd_;
    std::optional<StreamConverter> fromHdcd_; // to floats, before a change of level
    std::optional<StreamConverter> converter_;
    std::optional<StreamConverter> rounder_; // to whole numbers, after a change of level
    std::optional<LimiterWatch> watch_;      // of the converter
    uint64_t tooLoud_ = 0;
    uint64_t clipped_ = 0;
    std::vector<double> raised_;
    std::vector<double> unmixed_;
    std::vector<float> narrowed_;
};

} // namespace tonekit::host
