// paths.h: file names as UTF-8 text, on systems whose own file names are something else too.
#pragma once

#include <filesystem>
#include <string>

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

} // namespace tonekit::host
