// flac_end.h: whether the frames of a FLAC stream end as its header says, without decoding them.
#pragma once

#include "host/system/byte_stream.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace tonekit::host {

// What the header of a FLAC stream says of its frames. A block is the sound in one of them.
struct FlacForm {
    uint64_t counted = 0; // frames of sound in the whole stream; 0: not said
    uint64_t firstFrame = 0;
    uint64_t firstNumber = 0; // of the first frame, or of its first sample if blocks differ in size
    bool variable = false;
    uint32_t block = 0; // of all frames but the last; 0: not known
    uint32_t largestBlock = 0;
    uint32_t channels = 0;
    uint32_t bits = 0;

    // How many bytes of the stream's end are to be looked at.
    size_t TailBytes() const;
};

// The form of the stream that begins at `start`; none if it isn't FLAC or has no such header. Leaves the
// position anywhere; throws std::system_error if the system fails.
std::optional<FlacForm> FormOfFlac(ByteStream &stream, uint64_t start = 0);

struct FlacEnd {
    // A whole frame and the start of another one come before what is no end of a frame. Zeros, a few other
    // bytes and tags of other types may follow the last frame.
    bool isCut = false;
    // Frames of sound up to the end of the last whole frame; 0: not known.
    uint64_t frames = 0;

    // Whether the stream isn't what its header says, so that a reader leaves sound out.
    bool Contradicts(const FlacForm &form) const;
};

// Looks at the last bytes of a stream, TailBytes() of them if there are as many.
FlacEnd EndOfFlac(const FlacForm &form, std::span<const unsigned char> tail);
// The same for a file. Throws std::system_error if the system fails.
FlacEnd EndOfFlac(const FlacForm &form, ByteStream &file);

} // namespace tonekit::host
