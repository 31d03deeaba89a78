// progress.h: how far the work on one or many files is.
#pragma once

#include "host/console.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tonekit::host {

// The work on a list of files that differ in size. Any thread may report.
class Progress {
public:
    // `weights` are the files' shares of the work, in any unit.
    Progress(Console &console, const std::vector<uint64_t> &weights);

    // File `index` is done to the part `done`, 0 to 1, and `audioSeconds` of it have gone through.
    void Report(size_t index, double done, double audioSeconds, const std::string &label);

private:
    struct Part {
        double weight = 0;
        double done = 0;
        double audioSeconds = 0;
    };

    Console &console_;
    std::mutex mutex_;
    std::vector<Part> parts_;
    double totalWeight_ = 0;
    double doneWeight_ = 0;
    double audioSeconds_ = 0;
};

} // namespace tonekit::host
