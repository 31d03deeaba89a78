// progress_lines.cpp: progress within the columns and rows that there are.
#include "host/report/progress_lines.h"

#include "host/report/console.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tonekit::host {

namespace {

constexpr size_t kMostFileLines = 8;
constexpr size_t kShortestBar = 4;
constexpr size_t kLongestBar = 40;

std::string Percent(double done, int width)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%*.0f%%", width, std::floor(std::clamp(done, 0.0, 1.0) * 100));
    return text;
}

std::string Bar(double done, size_t cells)
{
    const auto filled = static_cast<size_t>(std::clamp(done, 0.0, 1.0) * static_cast<double>(cells));
    return "[" + std::string(filled, '#') + std::string(cells - filled, '.') + "] ";
}

std::string SpeedText(double speed)
{
    char text[64];
    std::snprintf(text, sizeof(text), "  %.*fx", speed < 10 ? 1 : 0, speed);
    return text;
}

std::string OverallLine(const ProgressState &state, size_t columns)
{
    std::string count;
    if (state.files > 1)
        count = std::to_string(state.finished) + " of " + std::to_string(state.files) + "  ";
    std::string bar;
    std::string percent = Percent(state.done, 0);
    std::string speed = SpeedText(state.Speed());
    std::string left;
    if (const auto seconds = state.SecondsLeft())
        left = "  " + ClockTime(*seconds) + " left";

    // What says most gets its room first.
    size_t used = count.size() + percent.size();
    const auto fits = [&](size_t more) { return used + more <= columns; };
    if (fits(left.size()))
        used += left.size();
    else
        left.clear();
    const std::string padded = Percent(state.done, 3);
    const size_t frame = 3 + padded.size() - percent.size();
    if (fits(frame + kShortestBar)) {
        percent = padded;
        used += frame;
        const size_t rest = columns - used - kShortestBar;
        if (speed.size() <= rest)
            used += speed.size();
        else
            speed.clear();
        const size_t cells = std::clamp(columns / 4, kShortestBar, kLongestBar);
        bar = Bar(state.done, std::min(cells, columns - used));
    } else if (!fits(speed.size())) {
        speed.clear();
    }
    std::string line = count + bar + percent + speed + left;
    if (state.files == 1 && !state.inWork.empty())
        line += "  " + TerminalText(state.inWork[0].name);
    return CutToColumns(line, columns);
}

std::string FileLine(const FileInWork &file, size_t columns)
{
    return CutToColumns("  " + Percent(file.done, 3) + "  " + TerminalText(file.name), columns);
}

} // namespace

std::vector<std::string> ProgressLines(const ProgressState &state, const TerminalSize &size)
{
    const size_t columns = std::max(size.columns, 2u) - 1;
    std::vector<std::string> lines;
    if (state.files > 1) {
        // One row is the overall line's, another the cursor's.
        const size_t room = std::min<size_t>(std::max(size.rows, 2u) - 2, kMostFileLines);
        const bool all = state.inWork.size() <= room;
        const size_t shown = all ? state.inWork.size() : room - std::min<size_t>(room, 1);
        for (size_t i = 0; i < shown; ++i)
            lines.push_back(FileLine(state.inWork[i], columns));
        if (!all && room > 0)
            lines.push_back(
                CutToColumns("  and " + std::to_string(state.inWork.size() - shown) + " more", columns));
    }
    lines.push_back(OverallLine(state, columns));
    return lines;
}

} // namespace tonekit::host
