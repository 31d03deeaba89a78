// flac_cue_sheet.cpp: reads tracks and their indexes.
#include "host/tags/flac_cue_sheet.h"

#include "host/audio/header_bytes.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/tags/flac_walk.h"

#include <algorithm>
#include <span>
#include <tonekit/tags.h>

namespace tonekit::host {

namespace {

constexpr size_t kFixedBytes = 396; // before the tracks: catalogue number, lead-in, flags, count
constexpr size_t kTrackBytes = 36;
constexpr size_t kIndexBytes = 12;

// Twelve letters, or as many zeros.
std::string IsrcOf(std::span<const uint8_t> field)
{
    return std::string(field.begin(), std::find(field.begin(), field.end(), '\0'));
}

std::vector<CueTrack> TracksIn(std::span<const uint8_t> block, uint32_t rate)
{
    std::vector<CueTrack> tracks;
    size_t place = kFixedBytes;
    const unsigned count = block.size() >= kFixedBytes ? block[kFixedBytes - 1] : 0;
    for (unsigned i = 0; i + 1 < count; ++i) { // the last one is the lead-out
        if (place + kTrackBytes > block.size())
            return {};
        const std::span<const uint8_t> track = block.subspan(place, kTrackBytes);
        const unsigned indexes = track[kTrackBytes - 1];
        place += kTrackBytes;
        if (place + indexes * kIndexBytes > block.size())
            return {};
        uint64_t start = BigIn(track, 0, 8);
        for (unsigned k = 0; k < indexes; ++k) {
            const std::span<const uint8_t> index = block.subspan(place + k * kIndexBytes, kIndexBytes);
            if (index[8] == 1)
                start = BigIn(track, 0, 8) + BigIn(index, 0, 8);
        }
        place += indexes * kIndexBytes;
        const bool audio = (track[21] & 0x80) == 0;
        const uint64_t position = SamplesToN100nS(start, rate);
        if (audio && (tracks.empty() || position > tracks.back().position))
            tracks.push_back({track[8], position, "", "", IsrcOf(track.subspan(9, 12))});
    }
    return tracks;
}

} // namespace

std::vector<CueTrack> FlacCueTracks(const std::filesystem::path &path, uint32_t rate)
{
    constexpr unsigned kCueSheet = 5;
    TagStream stream(path, TagStream::Access::Read);
    unsigned size = 0;
    TagLib::ByteVector block;
    if (stream.isOpen() && GoToFlacBlock(stream, kCueSheet, size) == FlacWalk::Found)
        block = stream.readBlock(size);
    if (stream.error())
        throw Failure(Utf8Name(path) + ": " + stream.error().message());
    return TracksIn(std::span(reinterpret_cast<const uint8_t *>(block.data()), block.size()), rate);
}

} // namespace tonekit::host
