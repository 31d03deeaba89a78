// mp4_length.cpp: boxes of MP4 files, as far as they say how long a track is.
#include "host/libav/mp4_length.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace tonekit::host {

namespace {

// A broken file could have boxes of no size for ever.
constexpr int kMostBoxes = 10000;
constexpr uint64_t kLongest = uint64_t{1} << 48; // products with rates fit beyond it

// What fills a file.
constexpr const char *kLongBoxes[] = {"mdat", "moov", "moof", "free", "skip"};

struct Box {
    uint64_t start = 0; // of its content
    uint64_t end = 0;
};

// The box at a place, which ends at `end` at the latest; nothing where there is none.
std::optional<Box> BoxAt(HeaderBytes &bytes, uint64_t place, uint64_t end)
{
    uint64_t size = bytes.Big(place, 4);
    if (!bytes.ok())
        return std::nullopt;
    uint64_t header = 8;
    if (size == 1) {
        size = bytes.Big(place + 8, 8);
        header = 16;
    } else if (size == 0) {
        size = end - std::min(end, place);
    }
    if (!bytes.ok() || size < header || size > static_cast<uint64_t>(INT64_MAX) - place)
        return std::nullopt;
    return Box{place + header, place + size};
}

// The next box of this name in a stretch of the file.
std::optional<Box> Find(HeaderBytes &bytes, const char *name, uint64_t start, uint64_t end)
{
    uint64_t place = start;
    for (int i = 0; i < kMostBoxes && place < end; ++i) {
        const std::optional<Box> box = BoxAt(bytes, place, end);
        if (!box)
            return std::nullopt;
        if (bytes.Has(place + 4, name))
            return box;
        place = box->end;
    }
    return std::nullopt;
}

std::optional<Box> Find(HeaderBytes &bytes, const char *name, const std::optional<Box> &outer)
{
    return outer ? Find(bytes, name, outer->start, outer->end) : std::nullopt;
}

// The ticks per second and the length of an mvhd or mdhd box.
Mp4Length ClockOf(HeaderBytes &bytes, const Box &box)
{
    const bool wide = bytes.Big(box.start, 1) == 1;
    Mp4Length clock;
    clock.ticksPerSecond = static_cast<uint32_t>(bytes.Big(box.start + (wide ? 20 : 12), 4));
    clock.ticks = wide ? bytes.Big(box.start + 24, 8) : bytes.Big(box.start + 16, 4);
    // A length that is all ones is unknown.
    if (!bytes.ok() || clock.ticks > kLongest || clock.ticks == 0xFFFFFFFF)
        clock.ticks = 0;
    return clock;
}

// How long the samples of a track are together by the table of their lengths, and how long the longest is.
struct Mp4Samples {
    uint64_t ticks = 0; // 0: it isn't known
    uint64_t longest = 0;
};

Mp4Samples SamplesOf(HeaderBytes &bytes, const std::optional<Box> &media)
{
    constexpr uint64_t kMostEntries = 10000;
    const std::optional<Box> table = Find(bytes, "stts", Find(bytes, "stbl", Find(bytes, "minf", media)));
    const uint64_t count = table ? bytes.Big(table->start + 4, 4) : 0;
    if (count > kMostEntries || (table && table->start + 8 + 8 * count > table->end))
        return {};
    Mp4Samples samples;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t place = table->start + 8 + 8 * i;
        const uint64_t length = bytes.Big(place + 4, 4);
        samples.ticks += bytes.Big(place, 4) * length;
        samples.longest = std::max(samples.longest, length);
        if (!bytes.ok() || samples.ticks > kLongest)
            return {};
    }
    return samples;
}

std::optional<Box> TrackOf(HeaderBytes &bytes, const Box &movie, uint32_t number)
{
    std::optional<Box> track = Find(bytes, "trak", movie);
    for (; track; track = Find(bytes, "trak", track->end, movie.end)) {
        const std::optional<Box> header = Find(bytes, "tkhd", track);
        if (!header)
            continue;
        const bool wide = bytes.Big(header->start, 1) == 1;
        if (bytes.Big(header->start + (wide ? 20 : 12), 4) == number)
            break;
    }
    return track;
}

struct Edit {
    uint64_t start = 0;  // in ticks of the track
    uint64_t length = 0; // in ticks of the movie
};

// The one stretch of the track that is played; nothing where there are several.
std::optional<Edit> EditOf(HeaderBytes &bytes, const Box &list)
{
    const bool wide = bytes.Big(list.start, 1) == 1;
    const uint64_t count = bytes.Big(list.start + 4, 4);
    const int size = wide ? 8 : 4;
    const uint64_t entry = wide ? 20 : 12;
    constexpr uint64_t kMost = 100;
    std::optional<Edit> found;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t place = list.start + 8 + i * entry;
        const uint64_t length = bytes.Big(place, size);
        const uint64_t start = bytes.Big(place + static_cast<uint64_t>(size), size);
        if (!bytes.ok() || found || i == kMost)
            return std::nullopt;
        // A pause before the start has a place of -1.
        if (start != (wide ? UINT64_MAX : 0xFFFFFFFF))
            found = Edit{start, length};
    }
    return found;
}

// " 00000000 00000840 000001C4 0000000000046E28 ...": nothing, delay, padding and length
std::optional<uint64_t> GaplessLength(const std::string &text, uint64_t all)
{
    unsigned long long nothing = 0;
    unsigned long long delay = 0;
    unsigned long long padding = 0;
    unsigned long long length = 0;
    if (std::sscanf(text.c_str(), " %llx %llx %llx %llx", &nothing, &delay, &padding, &length) != 4)
        return std::nullopt;
    if (length == 0 || delay > all || length > all - delay)
        return std::nullopt;
    return length;
}

} // namespace

std::optional<Mp4Length> LengthOfMp4(ByteStream &file, uint32_t trackNumber, const std::string &gapless)
{
    HeaderBytes bytes(file);
    const std::optional<Box> movie = Find(bytes, "moov", 0, bytes.size());
    const std::optional<Box> movieHeader = Find(bytes, "mvhd", movie);
    const std::optional<Box> track = movie ? TrackOf(bytes, *movie, trackNumber) : std::nullopt;
    const std::optional<Box> media = Find(bytes, "mdia", track);
    const std::optional<Box> header = Find(bytes, "mdhd", media);
    // What comes in fragments has no length in front.
    if (!movieHeader || !header || Find(bytes, "mvex", movie))
        return std::nullopt;
    Mp4Length length = ClockOf(bytes, *header);
    if (length.ticks == 0 || length.ticksPerSecond == 0)
        return std::nullopt;
    // The header may leave out a part of the last sample. If it leaves out more, it isn't right.
    if (const Mp4Samples samples = SamplesOf(bytes, media); samples.ticks > length.ticks + samples.longest)
        length.ticks = samples.ticks;
    if (const std::optional<uint64_t> known = GaplessLength(gapless, length.ticks)) {
        length.ticks = *known;
        return length;
    }
    const std::optional<Box> list = Find(bytes, "elst", Find(bytes, "edts", track));
    if (!list)
        return length;
    const std::optional<Edit> edit = EditOf(bytes, *list);
    const uint32_t movieTicks = ClockOf(bytes, *movieHeader).ticksPerSecond;
    if (!edit || edit->start >= length.ticks || movieTicks == 0 || edit->length > kLongest)
        return std::nullopt;
    length.ticks -= edit->start;
    // The movie's clock is mostly coarser than the track's, and encoders round both ways.
    const double scale = static_cast<double>(length.ticksPerSecond) / movieTicks;
    const double edited = static_cast<double>(edit->length) * scale;
    if (edit->length > 0 && edited + std::max(scale, 1.0) < static_cast<double>(length.ticks))
        length.ticks = static_cast<uint64_t>(edited + 0.5);
    return length;
}

uint64_t MissingFromMp4(HeaderBytes &bytes)
{
    uint64_t place = 0;
    for (int i = 0; i < kMostBoxes && place < bytes.size(); ++i) {
        const std::optional<Box> box = BoxAt(bytes, place, bytes.size());
        if (!box)
            return 0;
        // What follows the last box need not be one.
        const auto isNamed = [&](const char *name) { return bytes.Has(place + 4, name); };
        if (box->end > bytes.size() && std::none_of(std::begin(kLongBoxes), std::end(kLongBoxes), isNamed))
            return 0;
        place = box->end;
    }
    return Shortfall(place, bytes.size());
}

} // namespace tonekit::host
