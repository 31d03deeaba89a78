// temporary_folder.h: a folder for the files of one test.
#pragma once

#include "host/system/paths.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tonekit::host::test {

// Gone, with all that it holds, when the object is.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder();

    const std::filesystem::path &path() const { return path_; }
    // The full name of a file in the folder.
    std::string operator/(const std::string &name) const { return Utf8Name(path_ / PathFromUtf8(name)); }
    // The names of all that the folder holds, hidden files too, in order.
    std::vector<std::string> Names() const;

private:
    std::filesystem::path path_;
};

std::string ReadText(const std::string &name);
void WriteText(const std::string &name, const std::string &text);
// Keeps the first bytes of a file.
void CutOff(const std::string &name, uintmax_t bytes);

} // namespace tonekit::host::test
