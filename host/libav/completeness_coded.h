// completeness_coded.h: the part of completeness for types that are read through libavformat.
#pragma once

#include "host/audio/header_bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tonekit::host {

// Where a Matroska, ASF, DSF or DSDIFF file that begins at `start` ends by its header; 0 if that doesn't say
// it, and for other types. Throws std::system_error if the system fails.
uint64_t EndOfCodedType(HeaderBytes &bytes, uint64_t start);

// How many bytes are missing at the end of an MP4, Matroska, ASF, DSF or DSDIFF file; 0 if nothing is, if its
// header doesn't say how long it is, or for other types. Throws std::system_error if the system fails.
uint64_t MissingFromCodedType(HeaderBytes &bytes);

struct WavPackFrames {
    uint64_t counted = 0; // by the first block, for the whole file
    uint64_t held = 0;    // up to the end of the last block, and in files that follow
};

// Follows the blocks of a WavPack stream as their bytes come, and looks for others after tags and other
// bytes.
class WavPackBlocks {
public:
    static constexpr size_t kHeader = 32;

    // The bytes that follow those taken before.
    void Take(std::span<const unsigned char> bytes);
    // The header at which the next block or a tag may begin. Returns how many bytes further on the next one
    // may; nothing if no block has begun before, or this one says something else than what is looked for
    // here.
    std::optional<uint64_t> TakeHeader(std::span<const unsigned char, kHeader> header);
    // Whether the last header was none of a block.
    bool IsLost() const { return lost_; }
    // Both are 0 if the first block counts none, and for other types.
    WavPackFrames frames() const { return unknown_ ? WavPackFrames() : frames_; }

private:
    bool IsBlock(std::span<const unsigned char, kHeader> header) const;
    std::optional<uint64_t> PassOther(std::span<const unsigned char, kHeader> header);

    WavPackFrames frames_;
    uint64_t before_ = 0; // frames of files before this one
    uint64_t first_ = 0;  // the place of its first block
    uint64_t last_ = 0;   // and of the last so far
    std::array<unsigned char, kHeader> header_ = {};
    size_t have_ = 0;   // of the header
    uint64_t left_ = 0; // of the block, after the header
    bool tagged_ = false;
    bool begun_ = false;
    bool lost_ = false;
    bool ended_ = false;
    bool unknown_ = false;
};

// Both are 0 if the first block counts none, if the file is too long to be looked at, or for other types.
// Throws std::system_error if the system fails.
WavPackFrames FramesOfWavPack(HeaderBytes &bytes);

} // namespace tonekit::host
