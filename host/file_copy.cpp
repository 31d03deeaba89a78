// file_copy.cpp: bytes from one file into another.
#include "host/file_copy.h"

#include "host/failure.h"
#include "host/paths.h"

#include <vector>

namespace tonekit::host {

namespace {

void Check(const std::error_code &error, const std::string &name, const char *what)
{
    if (error)
        throw Failure(name + ": " + what + ": " + error.message());
}

} // namespace

void CopyFile(const std::filesystem::path &source, File &target, const std::string &shownName,
              const std::function<void(double)> &progress)
{
    const std::string sourceName = Utf8Name(source);
    File file;
    uint64_t size = 0;
    Check(file.OpenToRead(source), sourceName, "can't be read");
    Check(file.Size(size), sourceName, "can't be read");
    std::vector<char> block(size_t{1} << 20);
    for (uint64_t done = 0;;) {
        if (InterruptNoted())
            throw Interrupted();
        size_t got = 0;
        Check(file.Read(block.data(), block.size(), got), sourceName, "reading failed");
        if (got == 0)
            break;
        Check(target.Write(block.data(), got), shownName, "writing failed");
        done += got;
        progress(size > done ? static_cast<double>(done) / static_cast<double>(size) : 1);
    }
    Check(target.Close(), shownName, "writing failed");
}

} // namespace tonekit::host
