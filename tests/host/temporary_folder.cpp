// temporary_folder.cpp: folders and small files for tests.
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

namespace tonekit::host::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("tonekit-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::Names() const
{
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(path_))
        names.push_back(Utf8Name(entry.path().filename()));
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadText(const std::string &name)
{
    std::ifstream file(PathFromUtf8(name), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

void WriteText(const std::string &name, const std::string &text)
{
    std::ofstream(PathFromUtf8(name), std::ios::binary) << text;
}

void CutOff(const std::string &name, uintmax_t bytes)
{
    fs::resize_file(PathFromUtf8(name), bytes);
}

} // namespace tonekit::host::test
