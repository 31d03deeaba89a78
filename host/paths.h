// paths.h: file names as UTF-8 text, on systems whose own file names are something else too; the entries of
// folders.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace tonekit::host {

inline std::filesystem::path PathFromUtf8(const std::string &name)
{
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

inline std::string Utf8Name(const std::filesystem::path &path)
{
    const std::u8string name = path.u8string();
    return std::string(name.begin(), name.end());
}

// The entries of a folder. The standard's own form with an error code ends the program when memory runs out.
inline std::filesystem::directory_iterator EntriesOf(const std::filesystem::path &folder,
                                                     std::error_code &error)
{
    error.clear();
    try {
        return std::filesystem::directory_iterator(folder);
    } catch (const std::filesystem::filesystem_error &failure) {
        error = failure.code();
        return {};
    }
}

} // namespace tonekit::host
