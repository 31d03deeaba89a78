// progress_json.h: progress as lines for programs.
#pragma once

#include "host/report/progress_state.h"

#include <string>

namespace tonekit::host {

// Prints a JSON object on a line of standard error for each call.
class ProgressJson final : public ProgressView {
public:
    void Show(const ProgressState &state) override;
    void ShowFinished(size_t index, const ConversionReport &report) override;
};

// The lines, without their ends.
std::string ProgressJsonLine(const ProgressState &state);
std::string FinishedJsonLine(size_t index, const ConversionReport &report);

} // namespace tonekit::host
