// file_conversion.h: converts one file.
#pragma once

#include "host/audio/container.h"
#include "host/audio/file_part.h"
#include "host/audio/sample_source.h"
#include "host/command_line/options.h"
#include "host/report/report.h"
#include "host/tags/extras.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct MeasuredLevel;

struct Job {
    std::filesystem::path input;
    std::filesystem::path output;
    // The type that --type or the output's extension asks for.
    const Container *container = nullptr;
    std::optional<FilePart> part = {}; // of the input; none: all of it
    // Texts of the track that the part is; they go before those of the input, whose chapters it has none of.
    std::vector<std::pair<std::string, std::string>> track = {};
    std::vector<std::filesystem::path> joined = {}; // all inputs, the first of which is `input`; empty: one
    bool inFolder = false;                          // folders on the way to the output are made
    bool plainCopy = false;                         // the input isn't audio and is copied as it is
    std::string album = {}; // what all files of its album have in common; empty: no album is measured
    std::shared_ptr<const MeasuredLevel> albumLevel = {}; // null: the file is measured where that is needed
    std::string skipped = {};                             // why nothing is done; empty: something is
    std::string error = {};                               // why nothing can be done; empty: something can
};

// The input of a job, or all of those that it joins.
std::vector<std::filesystem::path> InputsOf(const Job &job);

// The part that is done, 0 to 1, and the seconds of music that have gone through.
using ProgressSink = std::function<void(double done, double audioSeconds)>;
inline void IgnoreProgress(double, double) {}

// A file whose work is done but for its tags; without Finish nothing of it remains.
class PendingFile {
public:
    virtual ~PendingFile() = default;
    virtual const ConversionReport &report() const = 0;
    // Writes the tags, those of the file's album too. Throws Failure or Interrupted.
    virtual void Complete(const std::optional<Loudness> &album) = 0;
    // The complete output, under the name that it has until it is committed; empty if there is none.
    virtual std::filesystem::path completed() const = 0;
    // Waits until the complete output is on the disk and puts it in its place. Throws Failure; the output
    // then is as it was before.
    virtual void Commit() = 0;
    // The part of Commit that waits for the disk: many outputs that have all begun to be stored are there
    // sooner than one after another. Store throws Failure.
    virtual void BeginToStore() {}
    virtual void Store() {}

    // Completes and commits.
    ConversionReport Finish(const std::optional<Loudness> &album)
    {
        Complete(album);
        Commit();
        return report();
    }
};

// Whether a file is read, converted, measured and written on the calling thread alone, or on one for each.
// The results are the same.
enum class Threads { One, Several };

// Converts, copies or skips the file, or finds out what would be done in a dry run. The arguments must
// exist as long as the result. Throws Failure or Interrupted; the output then is as it was before.
std::unique_ptr<PendingFile> BeginFile(const Options &options, const Extras &extras, const Job &job,
                                       const ProgressSink &progress, Threads threads);

// Measures what the change of the file's level depends on. Throws Failure or Interrupted.
MeasuredLevel MeasureFile(const Options &options, const Extras &extras, const Job &job,
                          const ProgressSink &progress);

// Begins and finishes the file on one thread.
ConversionReport ConvertFile(const Options &options, const Extras &extras, const Job &job,
                             const ProgressSink &progress);

// The same with samples from elsewhere; the job's input may be empty.
ConversionReport ConvertSamples(const Options &options, const Extras &extras, SampleSource &source,
                                const Job &job, const ProgressSink &progress);

} // namespace tonekit::host
