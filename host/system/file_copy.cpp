// file_copy.cpp: bytes from one file into another.
#include "host/system/file_copy.h"

#include "host/system/failure.h"
#include "host/system/paths.h"

#include <vector>

namespace tonekit::host {

namespace {

void Check(const std::error_code &error, const std::string &name, const char *what)
{
    if (error)
        throw Failure(name + ": " + what + ": " + error.message());
}

} // namespace

void CopyStream(ByteStream &source, const std::string &sourceName, File &target, const std::string &shownName,
                const std::function<void(double)> &progress)
{
    uint64_t size = 0;
    Check(source.SeekTo(0), sourceName, "can't be read");
    Check(source.Size(size), sourceName, "can't be read");
    std::vector<char> block(size_t{1} << 20);
    for (uint64_t done = 0;;) {
        if (InterruptNoted())
            throw Interrupted();
        size_t got = 0;
        Check(source.Read(block.data(), block.size(), got), sourceName, "reading failed");
        if (got == 0)
            break;
        Check(target.Write(block.data(), got), shownName, "writing failed");
        done += got;
        progress(size > done ? static_cast<double>(done) / static_cast<double>(size) : 1);
    }
    Check(target.Close(), shownName, "writing failed");
}

void CopyFile(const std::filesystem::path &source, File &target, const std::string &shownName,
              const std::function<void(double)> &progress)
{
    const std::string sourceName = Utf8Name(source);
    File file;
    Check(file.OpenToRead(source), sourceName, "can't be read");
    CopyStream(file, sourceName, target, shownName, progress);
}

} // namespace tonekit::host
