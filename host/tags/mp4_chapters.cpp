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
constexpr const char *kNoBox = ""; // a name that none has
// A broken file could have boxes of nothing for ever.
constexpr int kMostBoxes = 100'000;

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
    size_t size; // 0: it isn't there
};

// The box of this name between two places, or where the boxes there end. Throws Failure where sizes make no
// sense.
Part Find(const std::string &bytes, const char *name, size_t start, size_t end)
{
    while (start + kHeader <= end) {
        const uint64_t size = BigAt(bytes, start, 4);
        // Some programs end a list of boxes by four zeros.
        if (size == 0)
            break;
        if (size < kHeader || size > end - start)
            throw Failure("the boxes of its header make no sense");
        if (bytes.compare(start + 4, 4, name) == 0)
            return Part{start, static_cast<size_t>(size)};
        start += static_cast<size_t>(size);
    }
    return {start, 0};
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

std::string WithoutLists(const std::string &content)
{
    std::string rest;
    size_t place = 0;
    for (Part list; (list = Find(content, "chpl", place, content.size())).size > 0;) {
        rest.append(content, place, list.start - place);
        place = list.start + list.size;
    }
    return rest.append(content, place);
}

// The movie's box with other chapters.
std::string WithChapters(std::string movie, const std::vector<Chapter> &chapters)
{
    // Chapters as a track of texts: the link to it goes.
    size_t place = kHeader;
    for (Part track; (track = Find(movie, "trak", place, movie.size())).size > 0;) {
        place = track.start + track.size;
        // All its boxes are looked at: without the link the next change would.
        Find(movie, kNoBox, track.start + kHeader, place);
        if (const Part link = Find(movie, "tref", track.start + kHeader, place); link.size > 0)
            movie.replace(link.start + 4, 4, "free");
    }
    Part data = Find(movie, "udta", kHeader, movie.size());
    if (data.size == 0) {
        movie.insert(data.start, BoxOf("udta", ""));
        data.size = kHeader;
    }
    std::string content = WithoutLists(movie.substr(data.start + kHeader, data.size - kHeader));
    // The end by four zeros, if there is one, stays after all boxes.
    if (!chapters.empty())
        content.insert(0, ListOf(chapters));
    movie.replace(data.start, data.size, BoxOf("udta", content));
    movie.replace(0, 4, Big(movie.size(), 4));
    return movie;
}

struct Movie {
    Part part;
    bool hasFragments; // of audio, in boxes that come after it
};

// Where the movie's box is in the file, all of whose boxes are looked at: what is put at its end has to be
// one of them.
Movie FindMovie(HeaderBytes &bytes)
{
    std::optional<Part> movie;
    bool fragments = false;
    uint64_t place = 0;
    for (int i = 0; place < bytes.size() && i < kMostBoxes; ++i) {
        uint64_t size = bytes.Big(place, 4);
        const bool isMovie = bytes.Has(place + 4, "moov");
        if (size == 1 && !isMovie)
            size = bytes.Big(place + 8, 8);
        if (!bytes.ok() || size < kHeader || size > bytes.size() - place)
            throw Failure("the boxes of its header make no sense");
        if (isMovie && movie)
            throw Failure("its header is there twice");
        if (isMovie)
            movie = Part{static_cast<size_t>(place), static_cast<size_t>(size)};
        fragments = fragments || bytes.Has(place + 4, "moof");
        place += size;
    }
    if (!movie || place != bytes.size() || movie->size > MemoryLimit() / 4)
        throw Failure("its header can't be found, or is too large");
    return {*movie, fragments};
}

} // namespace

// Places of samples are counted from the file's start, so the movie's box grows at the file's end alone.
void SetMp4Chapters(File &file, const std::vector<Chapter> &chapters)
{
    HeaderBytes bytes(file);
    const auto [part, hasFragments] = FindMovie(bytes);
    std::string movie(part.size, '\0');
    if (!bytes.Fetch(part.start, movie.data(), movie.size()))
        throw Failure("its header breaks off");
    const std::string changed = WithChapters(movie, chapters);
    if (changed == movie)
        return;
    uint64_t place = part.start;
    if (place + part.size != bytes.size()) {
        // Their readers have to know the movie first.
        if (hasFragments)
            throw Failure("its audio comes in fragments after its header");
        Check(file.SeekTo(place + 4));
        Check(file.Write("free", 4));
        place = bytes.size();
    }
    Check(file.SeekTo(place));
    Check(file.Write(changed.data(), changed.size()));
    Check(file.Truncate(place + changed.size()));
}

} // namespace tonekit::host
