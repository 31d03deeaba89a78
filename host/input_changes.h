// input_changes.h: notices what other programs do to inputs in work.
#pragma once

#include "host/system/platform.h"

#include <filesystem>
#include <system_error>
#include <vector>

namespace tonekit::host {

// The state of files at one moment, compared with that of another. A program that writes into a file and sets
// its time back isn't noticed.
class InputChanges {
public:
    InputChanges() = default;
    // Notes how the files are now, before they are opened.
    explicit InputChanges(const std::vector<std::filesystem::path> &files);
    // Those that were written to, replaced or removed since then. Throws Failure where the system doesn't
    // say.
    std::vector<std::filesystem::path> Since() const;

private:
    struct Input {
        std::filesystem::path path;
        FileState state;
        std::error_code error; // why the state isn't known
    };
    std::vector<Input> inputs_;
};

} // namespace tonekit::host
