// progress.h: sums up the progress of many files.
#pragma once

#include "host/report/progress_state.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tonekit::host {

struct ProgressFile {
    std::string name;
    uint64_t weight = 0; // its share of the work, in any unit
};

// The work on a list of files that differ in size. Any thread may report.
class Progress {
public:
    Progress(ProgressView &view, const std::vector<ProgressFile> &files);

    // File `index` is in work, done to the part `done`, 0 to 1, and `audioSeconds` of it have gone through.
    // Shown some ten times a second at most, and at the end of each file.
    void Report(size_t index, double done, double audioSeconds);
    // A file that has finished once doesn't finish again.
    void Finish(size_t index, const ConversionReport &report);

private:
    struct Part {
        std::string name;
        double weight = 0;
        double done = 0;
        double audioSeconds = 0;
        bool finished = false;
    };

    void Advance(size_t index, double done, double audioSeconds);
    void Show();
    ProgressState State() const;

    ProgressView &view_;
    const std::chrono::steady_clock::time_point start_;
    std::mutex mutex_; // of what follows
    std::chrono::steady_clock::time_point nextShow_;
    std::vector<Part> parts_;
    std::set<size_t> inWork_; // of parts_, few of many
    double totalWeight_ = 0;
    double doneWeight_ = 0;
    double audioSeconds_ = 0;
    size_t finished_ = 0;
};

} // namespace tonekit::host
