// result_taps.cpp: writes and measures the frames of a result.
#include "host/result_taps.h"

namespace tonekit::host {

ResultTaps::ResultTaps(const Options &options, const AudioFormat &format, AudioWriter *writer)
    : format_(format), writer_(writer)
{
    if (options.replayGain)
        loudness_.emplace(options.truePeak, format, options.albumGain);
    if (options.hash)
        digest_.emplace(*options.hash);
}

void ResultTaps::Take(const void *samples, uint32_t frames)
{
    if (writer_)
        writer_->Write(samples, frames);
    if (digest_)
        digest_->Take(samples, size_t{frames} * format_.FrameBytes());
    if (loudness_)
        loudness_->Take(samples, frames);
    frames_ += frames;
}

void ResultTaps::Tell(ConversionReport &report)
{
    report.output.frames = frames_;
    if (loudness_) {
        report.loudness = loudness_->Result();
        report.albumPart = loudness_->albumPart();
    }
    if (digest_)
        report.digest = digest_->Finish();
}

} // namespace tonekit::host
