// mp4_chapters.cpp: a box with the times and names of chapters, inside the box that describes the movie.
#include "host/tags/mp4_chapters.h"

#include "host/audio/header_bytes.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

namespace tonekit::host {

namespace {

constexpr size_t kHeader = 8;

void Check(const std::error_code &error)
{
    if (error)
        throw std::system_error(error);
}

uint64_t BigAt(const std::string &bytes, size_t place, size_t size)
{
    uint64_t number = 0;
    for (size_t i = 0; i < size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[place + i]);
    return number;
}

std::string Big(uint64_t number, size_t size)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(number >> 8 * (size - 1 - i));
    return bytes;
}

std::string BoxOf(const char *name, const std::string &content)
{
    return Big(content.size() + kHeader, 4) + name + content;
}

// A box inside other bytes, with its header.
struct Part {
    size_t start;
    size_t size;
};

// The box of this name between two places; nothing if there is none. Throws Failure where sizes make no
// sense.
std::optional<Part> Find(const std::string &bytes, const char *name, size_t start, size_t end)
{
    while (start + kHeader <= end) {
        const uint64_t size = BigAt(bytes, start, 4);
        // Some programs end a list of boxes by four zeros.
        if (size == 0)
            return std::nullopt;
        if (size < kHeader || size > end - start)
            throw Failure("the boxes of its header make no sense");
        if (bytes.compare(start + 4, 4, name) == 0)
            return Part{start, static_cast<size_t>(size)};
        start += static_cast<size_t>(size);
    }
    return std::nullopt;
}

std::string ListOf(const std::vector<Chapter> &chapters)
{
    constexpr size_t kMostLetters = 255;
    const size_t count = std::min(chapters.size(), kMostMp4Chapters);
    // Version 1, and four bytes of no meaning.
    std::string list = Big(0x01000000, 4) + Big(0, 4) + Big(count, 1);
    for (size_t i = 0; i < count; ++i) {
        std::string name = chapters[i].name;
        // Not inside a character.
        while (name.size() > kMostLetters || (!name.empty() && name.size() < chapters[i].name.size() &&
                                              (chapters[i].name[name.size()] & 0xC0) == 0x80))
            name.pop_back();
        list += Big(chapters[i].position, 8) + Big(name.size(), 1) + name;
    }
    return BoxOf("chpl", list);
}

// The movie's box with other chapters.
std::string WithChapters(std::string movie, const std::vector<Chapter> &chapters)
{
    // Chapters as a track of texts: the link to it goes.
    size_t place = kHeader;
    while (const std::optional<Part> track = Find(movie, "trak", place, movie.size())) {
        place = track->start + track->size;
        if (const auto link = Find(movie, "tref", track->start + kHeader, place))
            movie.replace(link->start + 4, 4, "free");
    }
    std::optional<Part> data = Find(movie, "udta", kHeader, movie.size());
    if (!data) {
        data = Part{movie.size(), kHeader};
        movie += BoxOf("udta", "");
    }
    std::string content = movie.substr(data->start + kHeader, data->size - kHeader);
    if (const auto old = Find(content, "chpl", 0, content.size()))
        content.erase(old->start, old->size);
    // The end by four zeros, if there is one, stays after all boxes.
    if (!chapters.empty())
        content.insert(0, ListOf(chapters));
    movie.replace(data->start, data->size, BoxOf("udta", content));
    movie.replace(0, 4, Big(movie.size(), 4));
    return movie;
}

} // namespace

// Places of samples are counted from the file's start, so the movie's box grows at the file's end alone.
void SetMp4Chapters(File &file, const std::vector<Chapter> &chapters)
{
    HeaderBytes bytes(file);
    uint64_t place = 0;
    uint64_t size = 0;
    for (; place < bytes.size(); place += size) {
        size = bytes.Big(place, 4);
        if (bytes.Has(place + 4, "moov"))
            break;
        if (size == 1)
            size = bytes.Big(place + 8, 8);
        if (!bytes.ok() || size < kHeader || size > bytes.size() - place)
            throw Failure("the boxes of its header make no sense");
    }
    if (size < kHeader || size > bytes.size() - place || size > MemoryLimit() / 4)
        throw Failure("its header can't be found, or is too large");
    std::string movie(static_cast<size_t>(size), '\0');
    if (!bytes.Fetch(place, movie.data(), movie.size()))
        throw Failure("its header breaks off");
    const std::string changed = WithChapters(movie, chapters);
    if (changed == movie)
        return;
    if (place + size != bytes.size()) {
        Check(file.SeekTo(place + 4));
        Check(file.Write("free", 4));
        place = bytes.size();
    }
    Check(file.SeekTo(place));
    Check(file.Write(changed.data(), changed.size()));
    Check(file.Truncate(place + changed.size()));
}

} // namespace tonekit::host
