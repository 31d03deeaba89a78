// input_path.cpp: files, and what isn't one.
#include "host/system/input_path.h"

namespace tonekit::host {

std::string ReasonNotToRead(const std::filesystem::path &path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    switch (status.type()) {
    case std::filesystem::file_type::regular:
        return "";
    case std::filesystem::file_type::not_found:
        return "no such file";
    case std::filesystem::file_type::directory:
        return "is a folder, not an audio file";
    // Also what a shell puts in the place of <(a command).
    case std::filesystem::file_type::fifo:
        return "is a pipe: to read it as standard input, put - in its place and < before it";
    default:
        return error ? error.message() : "is not a regular file";
    }
}

} // namespace tonekit::host
