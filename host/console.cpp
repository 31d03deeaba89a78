// console.cpp: lines and progress on the terminal.
#include "host/console.h"

#include "host/platform.h"
#include "host/terminal_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tonekit::host {

namespace {

constexpr std::chrono::milliseconds kDrawInterval{100};

// Cuts a UTF-8 text to so many characters.
std::string Cut(const std::string &text, size_t characters)
{
    size_t end = 0;
    for (; end < text.size() && characters > 0; characters--) {
        end++;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
            end++;
    }
    return text.substr(0, end);
}

} // namespace

std::string ClockTime(double seconds)
{
    const auto whole = static_cast<long long>(std::max(seconds, 0.0) + 0.5);
    char text[40];
    if (whole >= 3600)
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof(text), "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

std::string ProgressLine(double done, double audioSeconds, double elapsedSeconds, const std::string &label,
                         unsigned columns)
{
    constexpr int kBar = 24;
    done = std::clamp(done, 0.0, 1.0);
    const int filled = static_cast<int>(done * kBar);
    std::string line = "[" + std::string(static_cast<size_t>(filled), '#') +
                       std::string(static_cast<size_t>(kBar - filled), '.') + "]";
    const double speed = elapsedSeconds > 0 ? audioSeconds / elapsedSeconds : 0;
    char text[64];
    std::snprintf(text, sizeof(text), " %3.0f%%  %.*fx", std::floor(done * 100), speed < 10 ? 1 : 0, speed);
    line += text;
    // The first moments say too little about the rest.
    if (done > 0 && elapsedSeconds > 0.3)
        line += "  " + ClockTime(elapsedSeconds * (1 - done) / done) + " left";
    line += "  " + label;
    return Cut(line, columns > 1 ? columns - 1 : 1);
}

Console::Console(bool progressWanted)
    : progress_(progressWanted && StandardErrorIsTerminal()), start_(std::chrono::steady_clock::now()),
      nextDraw_(start_)
{}

Console::~Console()
{
    ClearProgress();
}

void Console::ClearProgress()
{
    if (!drawn_)
        return;
    DrawOverLine("");
    drawn_ = false;
}

void Console::Say(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ClearProgress();
    Print(stdout, TerminalText(line, true) + "\n");
}

void Console::Complain(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ClearProgress();
    Print(stderr, "tonekit-convert: " + TerminalText(line) + "\n");
}

void Console::ShowProgress(double done, double audioSeconds, const std::string &label)
{
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!progress_ || now < nextDraw_)
        return;
    nextDraw_ = now + kDrawInterval;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    DrawOverLine(ProgressLine(done, audioSeconds, elapsed, TerminalText(label), TerminalColumns()));
    drawn_ = true;
}

} // namespace tonekit::host
