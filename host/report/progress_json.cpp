// progress_json.cpp: progress as lines for programs.
#include "host/report/progress_json.h"

#include "host/report/json.h"
#include "host/report/report_parts.h"
#include "host/system/platform.h"

namespace tonekit::host {

std::string ProgressJsonLine(const ProgressState &state)
{
    Json inWork = Json::Array();
    for (const FileInWork &file : state.inWork)
        inWork.Add({{"name", file.name}, {"done", file.done}});
    const std::optional<double> left = state.SecondsLeft();
    return JsonLine({{"event", "progress"},
                     {"files", state.files},
                     {"finished", state.finished},
                     {"done", state.done},
                     {"seconds", state.elapsedSeconds},
                     {"audioSeconds", state.audioSeconds},
                     {"speed", state.Speed()},
                     {"secondsLeft", left ? Json(*left) : Json()},
                     {"inWork", std::move(inWork)}});
}

std::string FinishedJsonLine(size_t index, const ConversionReport &report)
{
    return JsonLine({{"event", "finished"},
                     {"index", index},
                     {"input", report.input.path},
                     {"output", report.output.path},
                     {"ok", report.error.empty()},
                     {"error", ErrorJson(report.error)},
                     {"skipped", report.skipped.empty() ? Json() : Json(report.skipped)},
                     {"seconds", report.error.empty() ? Json(report.seconds) : Json()},
                     {"speed", report.error.empty() ? Json(report.Speed()) : Json()}});
}

void ProgressJson::Show(const ProgressState &state)
{
    Print(stderr, ProgressJsonLine(state) + "\n");
}

void ProgressJson::ShowFinished(size_t index, const ConversionReport &report)
{
    Print(stderr, FinishedJsonLine(index, report) + "\n");
}

} // namespace tonekit::host
