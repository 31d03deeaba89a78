// console.h: the lines that the program prints, and the progress line beneath them.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace tonekit::host {

// Any thread may use it at any time.
class Console {
public:
    // The progress line is shown only if wanted and if standard error is a terminal.
    explicit Console(bool progressWanted);
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;
    ~Console();

    // A line on standard output.
    void Say(const std::string &line);
    // A line on standard error, with the program's name in front.
    void Complain(const std::string &line);

    // Redraws the progress line, at most some ten times a second. `done` is the part of all work that is
    // done, from 0 to 1; `audioSeconds` the music that has gone through so far; `label` what is being worked
    // on.
    void ShowProgress(double done, double audioSeconds, const std::string &label);

private:
    void ClearProgress();

    std::mutex mutex_;
    const bool progress_;
    bool drawn_ = false;
    const std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point nextDraw_;
};

// The progress line of a terminal with so many columns: a bar, the percentage, the speed as a multiple of
// real time, the time left and the label.
std::string ProgressLine(double done, double audioSeconds, double elapsedSeconds, const std::string &label,
                         unsigned columns);

// 0:07, 3:21, 1:02:03
std::string ClockTime(double seconds);

} // namespace tonekit::host
