// progress_state.h: how far the work on one or many files is, and who is told.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

struct ConversionReport;

struct FileInWork {
    std::string name; // of the output, without its folders
    double done = 0;  // the part that is done, 0 to 1
};

struct ProgressState {
    size_t files = 0;    // all that there are
    size_t finished = 0; // those among them that are done, skipped or failed
    double done = 0;     // the part of all work that is done, 0 to 1
    double audioSeconds = 0;
    double elapsedSeconds = 0;
    std::vector<FileInWork> inWork; // in the order of the inputs

    // Music per time: a multiple of real time.
    double Speed() const { return elapsedSeconds > 0 ? audioSeconds / elapsedSeconds : 0; }
    // None while the first moments say too little about the rest.
    std::optional<double> SecondsLeft() const
    {
        const bool known = done > 0 && elapsedSeconds > 0.3;
        return known ? std::optional(elapsedSeconds * (1 - done) / done) : std::nullopt;
    }
};

// One call at a time.
class ProgressView {
public:
    virtual ~ProgressView() = default;
    virtual void Show(const ProgressState &state) = 0;
    // The input of this index is done, skipped or failed; the calls come in the order in which that happens.
    virtual void ShowFinished(size_t index, const ConversionReport &report) = 0;
};

} // namespace tonekit::host
