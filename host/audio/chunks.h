// chunks.h: files that are a row of chunks, each with a name and a size.
#pragma once

#include "host/audio/header_bytes.h"

#include <cstdint>
#include <optional>

namespace tonekit::host {

// How a family of types writes its chunks: a name, a size, what they hold, and zeros up to a multiple.
struct ChunkForm {
    uint64_t first;  // where the first chunk begins
    uint64_t sizeAt; // in a chunk
    int sizeBytes;
    bool bigEndian;
    uint64_t header;  // bytes before what the chunk holds
    uint64_t counted; // of these, that the size counts
    uint64_t multiple;

    uint64_t Number(HeaderBytes &bytes, uint64_t position, int length) const
    {
        return bigEndian ? bytes.Big(position, length) : bytes.Little(position, length);
    }
};

inline constexpr ChunkForm kRiff = {12, 4, 4, false, 8, 0, 2};
inline constexpr ChunkForm kBigRiff = {12, 4, 4, true, 8, 0, 2}; // AIFF too
inline constexpr ChunkForm kW64 = {40, 16, 8, false, 24, 24, 8};
inline constexpr ChunkForm kCaf = {8, 4, 8, true, 12, 0, 1};

struct Chunk {
    uint64_t sizeAt = 0;
    uint64_t size = 0;    // as the file says it
    uint64_t content = 0; // where it begins
};

// The first chunk whose name begins like this; nothing if it isn't there, or comes after one that begins like
// `last`. Throws std::system_error if the system fails.
std::optional<Chunk> FindChunk(HeaderBytes &bytes, const char *name, const ChunkForm &form,
                               const char *last = nullptr);

} // namespace tonekit::host
