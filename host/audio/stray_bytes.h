// stray_bytes.h: what follows the samples of a file and is no part of it.
#pragma once

#include "host/audio/chunks.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <string>

namespace tonekit::host {

// Where samples end, and what may follow them.
struct SoundEnd {
    uint64_t position = 0;
    const ChunkForm *chunks = nullptr; // null: none
    uint64_t padding = 0;              // zeros before the first of them, which some programs leave out
};

// Reads on from the stream's position, which is the end of the samples. Returns how many bytes follow that
// are neither chunks nor tags; 0 also for a few bytes, for zeros, and for a chunk that is cut off. The
// samples of a second file are such bytes. Throws std::system_error if the system fails, and Interrupted.
uint64_t StrayBytes(ByteStream &stream, const SoundEnd &end);

// "12 bytes after the sound that its header counts are left out"
std::string StrayBytesText(uint64_t bytes);

} // namespace tonekit::host
