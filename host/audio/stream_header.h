// stream_header.h: the sizes in headers of streams whose length was unknown when they began.
#pragma once

#include "host/audio/container.h"
#include "host/audio/stray_bytes.h"
#include "host/system/pipe_input.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tonekit::host {

// Whether a program that can't go back to its header has written this number where the size of the samples
// belongs: 0xFFFFFFFF, 0x7FFFFFFF or a little less, or 0x7F000000 with what AIFF counts besides.
bool IsOpenSize(uint32_t size);
// The same in headers with sizes of 64 bits.
bool IsOpenSize(uint64_t size);

enum class HeaderForm {
    AsItWas,
    Open,       // its sizes are now so large that a reader takes all that comes
    OpenAsRf64, // the same, and a WAV header became one of RF64
    NeedsEnd,   // it is as it was; its samples are coded in blocks, which can't be read without their number
    NotFound    // it is as it was; where the size of the samples belongs is past the end or out of reach
};

// Reads the header of WAV, RF64, W64, AIFF, AU or CAF that begins at `start`. Sets the pipe's end if the
// header says where the samples end, and changes its sizes if it doesn't. Headers of other types stay as they
// are. Throws std::system_error if reading fails.
HeaderForm PrepareHeader(PipeInput &pipe, uint64_t start = 0);

// Whether a file has a header at this place with sizes of 64 bits that says nothing of the samples' size.
// Throws std::system_error if reading fails.
bool HasOpenHeader64(ByteStream &file, uint64_t start = 0);

// Where the samples end by the header at this place; nothing if it doesn't say so, and for other types.
// Throws std::system_error if reading fails.
std::optional<SoundEnd> EndOfSound(ByteStream &file, uint64_t start = 0);

// Sets the sizes in a header that was written before its samples: to what `frames` frames of samples need, or
// to the values for an unknown size. False if this type of file has none.
bool SetSizes(std::vector<unsigned char> &header, const Container &container, const AudioFormat &format,
              std::optional<uint64_t> frames);

} // namespace tonekit::host
