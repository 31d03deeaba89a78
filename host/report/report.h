// report.h: what was done with a file, or found in it, as text and as JSON.
#pragma once

#include "host/audio/encoder_settings.h"
#include "host/audio/file_part.h"
#include "host/audio/sample_format.h"
#include "host/command_line/options.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/loudness_meter.h"
#include "host/processing/sample_digest.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// What was done to the level of a file.
struct LevelReport {
    double gain = 0;                // dB
    double wanted = 0;              // dB; more than the gain where the peak allowed no more
    bool peakLimited = false;       // so it did
    std::optional<double> loudness; // LUFS, that were measured for it
    uint64_t tooLoud = 0;           // samples that are beyond full scale all the same
};

// What the limiter did to a mix.
struct LimiterReport {
    double gain = 0;    // dB, at its lowest
    double start = 0;   // seconds of the input, where it first fell
    double seconds = 0; // from there to the end
};

// One side of a conversion, or a file that was looked at.
struct StreamReport {
    std::string path;
    std::string type;     // of the file, for people
    std::string encoding; // of the samples in the file, for people; may be empty
    bool lossy = false;   // a coder without sample depth is between file and samples
    AudioFormat format;
    uint64_t frames = 0;

    double Seconds() const { return format.rate ? static_cast<double>(frames) / format.rate : 0; }
};

struct ConversionReport {
    StreamReport input;
    StreamReport output;
    double seconds = 0; // that the work took
    Quality quality = Quality::High;
    EncoderSettings encoder;
    std::string skipped;             // why nothing was done; empty: something was
    std::optional<FilePart> part;    // of the input; none: all of it
    std::vector<std::string> joined; // the inputs of which one file was made; mostly none
    bool dryRun = false;             // what would be done
    bool plainCopy = false;          // of a file that isn't audio
    bool copied = false;             // the coded audio is that of the input
    bool resampled = false;
    bool dithered = false;
    bool hdcdDecoded = false;
    std::optional<LevelReport> level;     // none: as it was
    std::optional<LimiterReport> limiter; // none: it had nothing to do
    std::optional<HdcdFinding> hdcd;
    std::optional<Loudness> loudness;
    std::optional<Loudness> albumLoudness;
    std::shared_ptr<AlbumPart> albumPart; // what the track adds to its album; mostly null
    std::optional<Digest> digest;
    std::string spectrogram; // the file of the picture; empty: none
    std::vector<std::string> warnings;
    std::string error; // empty: done

    // The picture is all that was made.
    bool IsPictureAlone() const { return output.path.empty() && !spectrogram.empty(); }
    // Nothing is known of the streams.
    bool HasNamesOnly() const { return plainCopy || !skipped.empty(); }
    // Music per time: a multiple of real time.
    double Speed() const { return seconds > 0 ? input.Seconds() / seconds : 0; }
};

// The summary line for people.
std::string ReportText(const ConversionReport &report);
// The output's name and the speed, for those who get the summary elsewhere.
std::string FinishedText(const ConversionReport &report);
// One JSON object for one file or many; `seconds` is what they took together.
std::string ReportJson(const std::vector<ConversionReport> &reports, double seconds);
// The same where nothing was done at all, and why.
std::string FailureJson(const std::string &error);

} // namespace tonekit::host
