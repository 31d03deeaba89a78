// extras.cpp: the cover and the chapters that the command line names.
#include "host/tags/extras.h"

#include "host/audio/time_text.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/paths.h"
#include "host/system/platform.h"
#include "host/tags/cover.h"
#include "host/tags/file_text.h"
#include "host/tags/file_tracks.h"

#include <algorithm>
#include <sstream>

namespace tonekit::host {

namespace {

// A file larger than this isn't meant for a tag.
uint64_t LargestFile()
{
    return MemoryLimit() / 4;
}

std::vector<uint8_t> ReadWhole(const std::string &name)
{
    // Opening a pipe without a writer would wait for ever.
    std::error_code error;
    const auto status = std::filesystem::status(PathFromUtf8(name), error);
    if (status.type() != std::filesystem::file_type::not_found && !error &&
        !std::filesystem::is_regular_file(status))
        throw Failure(name + ": is not a regular file");
    File file;
    uint64_t size = 0;
    error = file.OpenToRead(PathFromUtf8(name));
    if (!error)
        error = file.Size(size);
    if (!error && size > LargestFile())
        throw Failure(name + ": is too large (--memory allows more)");
    std::vector<uint8_t> bytes(error ? 0 : static_cast<size_t>(size));
    size_t got = 0;
    if (!error)
        error = file.Read(bytes.data(), bytes.size(), got);
    if (error)
        throw Failure(name + ": " +
                      (error == std::errc::no_such_file_or_directory ? "no such file" : error.message()));
    bytes.resize(got);
    return bytes;
}

} // namespace

std::string ReadSmallFile(const std::string &name)
{
    const std::vector<uint8_t> bytes = ReadWhole(name);
    return std::string(bytes.begin(), bytes.end());
}

std::vector<Chapter> ParseChapters(const std::string &bytes, const std::string &name)
{
    std::vector<Chapter> chapters;
    std::istringstream lines(TextOfFile(bytes));
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#')
            continue;
        const size_t end = std::min(line.find_first_of(" \t\r", start), line.size());
        Chapter chapter;
        if (!ParseTime(line.substr(start, end - start), chapter.position))
            throw Failure(name + ", line " + std::to_string(number) +
                          ": begin with a time such as 0:03:21.5");
        const size_t nameStart = line.find_first_not_of(" \t\r", end);
        const size_t nameEnd = line.find_last_not_of(" \t\r");
        if (nameStart != std::string::npos)
            chapter.name = line.substr(nameStart, nameEnd - nameStart + 1);
        if (!chapters.empty() && chapter.position < chapters.back().position)
            throw Failure(name + ", line " + std::to_string(number) + ": starts before the chapter above it");
        chapters.push_back(chapter);
    }
    if (chapters.empty())
        throw Failure(name + ": holds no chapters");
    return chapters;
}

Extras LoadExtras(const Options &options)
{
    Extras extras;
    if (options.cover)
        extras.cover =
            MakeCover(ReadWhole(*options.cover), *options.cover, options.coverSize, options.coverQuality);
    if (options.chapters)
        extras.chapters = ParseChapters(ReadSmallFile(*options.chapters), *options.chapters);
    else if (options.cue && !options.split)
        extras.chapters = ChaptersOfCueSheet(options);
    return extras;
}

} // namespace tonekit::host
