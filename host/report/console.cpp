// console.cpp: lines and progress on the terminal.
#include "host/report/console.h"

#include "host/report/progress_lines.h"
#include "host/system/platform.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <cstdio>

namespace tonekit::host {

std::string ClockTime(double seconds)
{
    constexpr double kMost = 1e15; // a number of seconds that is exact
    const auto whole = static_cast<long long>(seconds > 0 ? std::min(seconds, kMost) + 0.5 : 0);
    char text[40];
    if (whole >= 3600)
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof(text), "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

Console::Console(bool progressWanted, bool outputIsAudio)
    : progress_(progressWanted && StandardErrorIsTerminal()), outputIsAudio_(outputIsAudio)
{}

Console::~Console()
{
    if (!shown_.empty())
        DrawStatus({});
}

// The progress moves down for the text.
void Console::PrintAbove(std::FILE *stream, const std::string &text)
{
    if (!shown_.empty())
        DrawStatus({});
    Print(stream, text);
    if (!shown_.empty())
        DrawStatus(shown_);
}

void Console::Say(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    PrintAbove(outputIsAudio_ ? stderr : stdout, TerminalText(line, true) + "\n");
}

void Console::Complain(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    PrintAbove(stderr, "tonekit-convert: " + TerminalText(line) + "\n");
}

void Console::Remark(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (progress_)
        PrintAbove(stderr, TerminalText(line) + "\n");
}

void Console::Show(const ProgressState &state)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!progress_)
        return;
    shown_ =
        state.finished < state.files ? ProgressLines(state, SizeOfTerminal()) : std::vector<std::string>();
    DrawStatus(shown_);
}

} // namespace tonekit::host
