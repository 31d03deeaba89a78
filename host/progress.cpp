// progress.cpp: sums up the progress of many files.
#include "host/progress.h"

namespace tonekit::host {

Progress::Progress(Console &console, const std::vector<uint64_t> &weights) : console_(console)
{
    for (const uint64_t weight : weights) {
        // No file is without any share, so that the sum is never 0.
        parts_.push_back({static_cast<double>(weight) + 1, 0, 0});
        totalWeight_ += parts_.back().weight;
    }
}

void Progress::Report(size_t index, double done, double audioSeconds, const std::string &label)
{
    double allDone = 0;
    double allSeconds = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        Part &part = parts_[index];
        doneWeight_ += (done - part.done) * part.weight;
        audioSeconds_ += audioSeconds - part.audioSeconds;
        part.done = done;
        part.audioSeconds = audioSeconds;
        allDone = doneWeight_ / totalWeight_;
        allSeconds = audioSeconds_;
    }
    console_.ShowProgress(allDone, allSeconds, label);
}

} // namespace tonekit::host
