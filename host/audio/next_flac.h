// next_flac.h: another stream of FLAC after the one that is read, where files were joined byte by byte.
#pragma once

#include "host/system/byte_stream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tonekit::host {

// Looks for the start of a stream in bytes as they come. The decoder ends before it, and doesn't say so.
class NextFlac {
public:
    // The first of the bytes that come is at `position` of the file. What starts at `first` or before it is
    // the stream that is read.
    NextFlac(uint64_t position, uint64_t first) : taken_(position), first_(first) {}

    void Take(std::span<const unsigned char> bytes);

    // How many bytes there are from the start of the next stream on; 0 if there is none.
    uint64_t bytes() const { return start_ ? taken_ - *start_ : 0; }

private:
    static constexpr size_t kStart = 8; // the name, and the type and size of the first block
    static bool IsStart(std::span<const unsigned char> bytes);

    uint64_t taken_;
    uint64_t first_;
    std::array<unsigned char, 2 *kStart> seam_ = {}; // the end of what was taken, and what comes next
    size_t held_ = 0;                                // of it, from before
    std::optional<uint64_t> start_;
};

// The same for a file, from a position after the first stream's start to its end. The file's position stays.
// Throws std::system_error if the system fails, and Interrupted.
uint64_t BytesOfNextFlac(ByteStream &file, uint64_t position);

} // namespace tonekit::host
