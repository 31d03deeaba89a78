// input_changes.cpp: compares the states of files.
#include "host/input_changes.h"

#include "host/system/failure.h"
#include "host/system/paths.h"

namespace tonekit::host {

InputChanges::InputChanges(const std::vector<std::filesystem::path> &files)
{
    for (const std::filesystem::path &file : files) {
        Input input;
        input.path = file;
        input.error = StateOf(file, input.state);
        inputs_.push_back(input);
    }
}

std::vector<std::filesystem::path> InputChanges::Since() const
{
    std::vector<std::filesystem::path> changed;
    for (const Input &input : inputs_) {
        FileState now;
        const std::error_code error = input.error ? input.error : StateOf(input.path, now);
        if (error && error != std::errc::no_such_file_or_directory)
            throw Failure(Utf8Name(input.path) + ": " + error.message());
        if (error || now != input.state)
            changed.push_back(input.path);
    }
    return changed;
}

} // namespace tonekit::host
