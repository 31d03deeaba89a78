// progress_passes.h: the progress of work that goes over the same files twice.
#pragma once

#include "host/report/progress_state.h"

#include <chrono>

namespace tonekit::host {

// Shows each of two passes as half of the work.
class ProgressPasses final : public ProgressView {
public:
    explicit ProgressPasses(ProgressView &view) : view_(view), start_(std::chrono::steady_clock::now()) {}

    // What is shown from now on is of the second pass. Not while anything is shown.
    void BeginSecond();

    void Show(const ProgressState &state) override;
    // Files are done at the end of the second pass.
    void ShowFinished(size_t index, const ConversionReport &report) override;

private:
    ProgressView &view_;
    const std::chrono::steady_clock::time_point start_;
    bool second_ = false;
    double audioSeconds_ = 0; // of the first pass
};

} // namespace tonekit::host
