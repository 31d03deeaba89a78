// flac_cue_sheet.cpp: walks over the metadata blocks of a FLAC file.
#include "host/tags/flac_cue_sheet.h"

#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstring>
#include <tonekit/tags.h>

namespace tonekit::host {

namespace {

constexpr size_t kFixedBytes = 396; // before the tracks: catalogue number, lead-in, flags, count
constexpr size_t kTrackBytes = 36;
constexpr size_t kIndexBytes = 12;

uint64_t BigEndian(const uint8_t *bytes, size_t count)
{
    uint64_t number = 0;
    for (size_t i = 0; i < count; ++i)
        number = number << 8 | bytes[i];
    return number;
}

// Twelve letters, or as many zeros.
std::string IsrcOf(const uint8_t *field)
{
    const auto *const text = reinterpret_cast<const char *>(field);
    return std::string(text, std::find(text, text + 12, '\0'));
}

std::vector<CueTrack> TracksIn(const std::vector<uint8_t> &block, uint32_t rate)
{
    std::vector<CueTrack> tracks;
    size_t place = kFixedBytes;
    const unsigned count = block.size() >= kFixedBytes ? block[kFixedBytes - 1] : 0;
    for (unsigned i = 0; i + 1 < count; ++i) { // the last one is the lead-out
        if (place + kTrackBytes > block.size())
            return {};
        const uint8_t *const track = &block[place];
        const unsigned indexes = track[kTrackBytes - 1];
        place += kTrackBytes;
        if (place + indexes * kIndexBytes > block.size())
            return {};
        uint64_t start = BigEndian(track, 8);
        for (unsigned k = 0; k < indexes; ++k) {
            const uint8_t *const index = &block[place + k * kIndexBytes];
            if (index[8] == 1)
                start = BigEndian(track, 8) + BigEndian(index, 8);
        }
        place += indexes * kIndexBytes;
        const bool audio = (track[21] & 0x80) == 0;
        const uint64_t position = SamplesToN100nS(start, rate);
        if (audio && (tracks.empty() || position > tracks.back().position))
            tracks.push_back({track[8], position, "", "", IsrcOf(track + 9)});
    }
    return tracks;
}

} // namespace

std::vector<CueTrack> FlacCueTracks(const std::filesystem::path &path, uint32_t rate)
{
    constexpr unsigned kCueSheet = 5;
    constexpr unsigned kLast = 0x80;
    File file;
    std::error_code error = file.OpenToRead(path);
    uint8_t header[4] = {};
    size_t got = 0;
    uint64_t place = sizeof(header);
    if (!error)
        error = file.Read(header, sizeof(header), got);
    bool more = got == sizeof(header) && std::memcmp(header, "fLaC", 4) == 0;
    std::vector<uint8_t> block;
    while (!error && more) {
        error = file.Read(header, sizeof(header), got);
        if (error || got < sizeof(header))
            break;
        const size_t size = BigEndian(header + 1, 3);
        place += sizeof(header) + size;
        if ((header[0] & ~kLast) == kCueSheet) {
            block.resize(size);
            error = file.Read(block.data(), size, got);
            block.resize(error ? 0 : got);
            break;
        }
        more = (header[0] & kLast) == 0;
        error = file.SeekTo(place);
    }
    if (error)
        throw Failure(Utf8Name(path) + ": " + error.message());
    return TracksIn(block, rate);
}

} // namespace tonekit::host
