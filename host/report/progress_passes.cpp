// progress_passes.cpp: makes one progress of those of two passes.
#include "host/report/progress_passes.h"

namespace tonekit::host {

void ProgressPasses::BeginSecond()
{
    second_ = true;
}

void ProgressPasses::Show(const ProgressState &state)
{
    const auto scaled = [&](double done) { return (done + (second_ ? 1 : 0)) / 2; };
    ProgressState whole = state;
    whole.done = scaled(state.done);
    for (FileInWork &file : whole.inWork)
        file.done = scaled(file.done);
    if (!second_) {
        whole.finished = 0;
        audioSeconds_ = state.audioSeconds;
    }
    whole.audioSeconds = (state.audioSeconds + (second_ ? audioSeconds_ : 0)) / 2;
    whole.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    view_.Show(whole);
}

void ProgressPasses::ShowFinished(size_t index, const ConversionReport &report)
{
    if (second_)
        view_.ShowFinished(index, report);
}

} // namespace tonekit::host
