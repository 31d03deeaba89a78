// result_taps.h: what is done with every frame of a result.
#pragma once

#include "host/audio_writer.h"
#include "host/loudness_meter.h"
#include "host/options.h"
#include "host/report.h"
#include "host/sample_digest.h"

#include <cstdint>
#include <optional>

namespace tonekit::host {

// Frames are written, if there is a writer, and measured on the way as the options ask.
class ResultTaps {
public:
    // `writer` may be null.
    ResultTaps(const Options &options, const AudioFormat &format, AudioWriter *writer);

    void Take(const void *samples, uint32_t frames);
    void Tell(ConversionReport &report);
    uint64_t frames() const { return frames_; }
    // Whether the options ask for anything to be measured.
    bool Measures() const { return loudness_ || digest_; }

private:
    AudioFormat format_;
    AudioWriter *writer_;
    std::optional<LoudnessMeter> loudness_;
    std::optional<SampleDigest> digest_;
    uint64_t frames_ = 0;
};

} // namespace tonekit::host
