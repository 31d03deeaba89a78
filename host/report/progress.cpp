// progress.cpp: sums up the progress of many files.
#include "host/report/progress.h"

#include "host/report/report.h"

#include <algorithm>
#include <new>

namespace tonekit::host {

namespace {

constexpr std::chrono::milliseconds kInterval{100};

} // namespace

Progress::Progress(ProgressView &view, const std::vector<ProgressFile> &files)
    : view_(view), start_(std::chrono::steady_clock::now()), nextShow_(start_)
{
    for (const ProgressFile &file : files) {
        // No file is without any share, so that the sum is never 0.
        parts_.push_back({file.name, static_cast<double>(file.weight) + 1});
        totalWeight_ += parts_.back().weight;
    }
}

void Progress::Advance(size_t index, double done, double audioSeconds)
{
    Part &part = parts_[index];
    done = std::clamp(done, 0.0, 1.0);
    // A file that waits for the rest of its album is done, but for its tags.
    if (done < 1)
        inWork_.insert(index);
    else
        inWork_.erase(index);
    doneWeight_ += (done - part.done) * part.weight;
    audioSeconds_ += audioSeconds - part.audioSeconds;
    part.done = done;
    part.audioSeconds = audioSeconds;
}

void Progress::Report(size_t index, double done, double audioSeconds)
{
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard<std::mutex> lock(mutex_);
    Advance(index, done, audioSeconds);
    if (now < nextShow_)
        return;
    nextShow_ = now + kInterval;
    Show();
}

void Progress::Finish(size_t index, const ConversionReport &report)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (parts_[index].finished)
        return;
    Advance(index, 1, report.error.empty() ? report.input.Seconds() : 0);
    view_.ShowFinished(index, report);
    parts_[index].finished = true;
    ++finished_;
    Show();
}

// Work goes on where there isn't enough memory to show it.
void Progress::Show()
{
    try {
        view_.Show(State());
    } catch (const std::bad_alloc &) {
        // Later states replace this one.
    }
}

ProgressState Progress::State() const
{
    ProgressState state;
    state.files = parts_.size();
    state.finished = finished_;
    state.done = finished_ == parts_.size() ? 1 : doneWeight_ / totalWeight_;
    state.audioSeconds = audioSeconds_;
    state.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    for (const size_t index : inWork_)
        state.inWork.push_back({parts_[index].name, parts_[index].done});
    return state;
}

} // namespace tonekit::host
