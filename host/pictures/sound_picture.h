// sound_picture.h: the spectrograms of a job's input and output, drawn into one file.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/processing/side_sink.h"
#include "host/processing/spectrogram.h"
#include "host/report/report.h"
#include "host/system/safe_output.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tonekit::host {

struct DrawnStream {
    AudioFormat format;
    uint64_t frames = 0; // 0: not known
};

// The file comes into being in a safe place, and into its own by Commit.
class SoundPicture {
public:
    // `output` is nothing where the input alone is drawn. With `ownThreads` each has a thread of its own.
    // Throws Failure if the file can't be written.
    SoundPicture(const std::filesystem::path &file, const DrawnStream &input,
                 const std::optional<DrawnStream> &output, bool ownThreads);

    void TakeInput(const void *samples, uint32_t frames) { taking_->Take(samples, frames); }
    // Nothing where the input alone is drawn.
    void TakeOutput(const void *samples, uint32_t frames);
    // Takes what a player gets of a finished file in place of the samples that went into its coder.
    void ReadOutput(const std::filesystem::path &file, const std::string &shownName);
    // Waits until all is looked at.
    void Finish();
    // Draws and writes what the report is about. Throws Failure or Interrupted.
    void Write(const ConversionReport &report);
    void Commit() { target_.Commit(); }

private:
    const std::filesystem::path file_;
    SafeOutput target_;
    std::optional<Spectrogram> input_;
    std::optional<Spectrogram> output_;
    // Their threads end before what they use.
    std::optional<SideSink> taking_;
    std::optional<SideSink> takingOutput_;
};

// Draws the input of a job that has no output. Throws Failure or Interrupted.
ConversionReport DrawInput(const Options &options, const Job &job, const ProgressSink &progress);

} // namespace tonekit::host
