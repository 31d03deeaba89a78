// console.h: the lines that the program prints, and the progress beneath them.
#pragma once

#include "host/report/progress_state.h"

#include <mutex>
#include <string>
#include <vector>

namespace tonekit::host {

// Any thread may use it at any time.
class Console final : public ProgressView {
public:
    // Progress is shown only if wanted and if standard error is a terminal. Where standard output carries
    // audio, all lines go to standard error.
    explicit Console(bool progressWanted, bool outputIsAudio = false);
    Console(const Console &) = delete;
    Console &operator=(const Console &) = delete;
    ~Console() override;

    // A line on standard output, or on standard error if that carries audio.
    void Say(const std::string &line);
    // A line on standard error, with the program's name in front.
    void Complain(const std::string &line);
    // A line on standard error for those who watch progress there; elsewhere nothing.
    void Remark(const std::string &line);

    // Draws progress anew.
    void Show(const ProgressState &state) override;
    // Each file has its own lines, which Say prints in the order of the inputs.
    void ShowFinished(size_t, const ConversionReport &) override {}

private:
    void PrintAbove(std::FILE *stream, const std::string &text);

    std::mutex mutex_;
    const bool progress_;
    const bool outputIsAudio_;
    std::vector<std::string> shown_; // the progress that is on the terminal
};

// 0:07, 3:21, 1:02:03
std::string ClockTime(double seconds);

} // namespace tonekit::host
