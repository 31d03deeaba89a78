// chunks.cpp: walks chunks.
#include "host/audio/chunks.h"

namespace tonekit::host {

namespace {

// A broken file could have chunks of no size for ever.
constexpr int kMostChunks = 10000;
// A chunk that is longer than this has no end.
constexpr uint64_t kEndless = uint64_t{1} << 62;

} // namespace

std::optional<Chunk> FindChunk(HeaderBytes &bytes, const char *name, const ChunkForm &form, const char *last)
{
    uint64_t position = form.first;
    for (int i = 0; i < kMostChunks; ++i) {
        const bool found = bytes.Has(position, name);
        const bool isLast = !found && last && bytes.Has(position, last);
        const uint64_t sizeAt = position + form.sizeAt;
        const uint64_t size = form.Number(bytes, sizeAt, form.sizeBytes);
        if (!bytes.ok() || isLast)
            return std::nullopt;
        if (found)
            return Chunk{sizeAt, size, position + form.header};
        if (size < form.counted || size > kEndless)
            return std::nullopt;
        position += form.header - form.counted + (size + form.multiple - 1) / form.multiple * form.multiple;
    }
    return std::nullopt;
}

} // namespace tonekit::host
