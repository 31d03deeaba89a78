// result_taps.cpp: writes and measures the frames of a result.
#include "host/processing/result_taps.h"

namespace tonekit::host {

ResultTaps::ResultTaps(const Options &options, const AudioFormat &format, SampleWriter *writer,
                       bool ownThreads)
    : format_(format)
{
    if (options.replayGain)
        loudness_.emplace(options.truePeak, format, options.albumGain);
    if (options.hash)
        digest_.emplace(*options.hash);
    if (writer)
        writing_.emplace([writer](const void *samples, uint32_t frames) { writer->Write(samples, frames); },
                         format.FrameBytes(), ownThreads);
    if (Measures())
        measuring_.emplace([this](const void *samples, uint32_t frames) { Measure(samples, frames); },
                           format.FrameBytes(), ownThreads);
}

void ResultTaps::Measure(const void *samples, uint32_t frames)
{
    if (digest_)
        digest_->Take(samples, size_t{frames} * format_.FrameBytes());
    if (loudness_)
        loudness_->Take(samples, frames);
}

void ResultTaps::Take(const void *samples, uint32_t frames)
{
    if (writing_)
        writing_->Take(samples, frames);
    if (measuring_)
        measuring_->Take(samples, frames);
    frames_ += frames;
}

void ResultTaps::Finish()
{
    if (writing_)
        writing_->Finish();
    if (measuring_)
        measuring_->Finish();
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
