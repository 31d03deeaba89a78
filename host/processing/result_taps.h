// result_taps.h: what is done with every frame of a result.
#pragma once

#include "host/audio/sample_writer.h"
#include "host/command_line/options.h"
#include "host/processing/loudness_meter.h"
#include "host/processing/sample_digest.h"
#include "host/processing/side_sink.h"
#include "host/report/report.h"

#include <cstdint>
#include <optional>

namespace tonekit::host {

// Frames are written, if there is a writer, and measured on the way as the options ask.
class ResultTaps {
public:
    // `writer` may be null. With `ownThreads` it has a thread of its own, and so has all that is measured.
    ResultTaps(const Options &options, const AudioFormat &format, SampleWriter *writer, bool ownThreads);

    // What fails on another thread is thrown by a later call.
    void Take(const void *samples, uint32_t frames);
    // Waits until all is written and measured.
    void Finish();
    void Tell(ConversionReport &report);
    uint64_t frames() const { return frames_; }
    // Whether the options ask for anything to be measured.
    bool Measures() const { return loudness_ || digest_; }

private:
    void Measure(const void *samples, uint32_t frames);

    AudioFormat format_;
    std::optional<LoudnessMeter> loudness_;
    std::optional<SampleDigest> digest_;
    uint64_t frames_ = 0;
    // Their threads end before what they use.
    std::optional<SideSink> writing_;
    std::optional<SideSink> measuring_;
};

} // namespace tonekit::host
