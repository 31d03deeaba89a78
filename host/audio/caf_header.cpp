// caf_header.cpp: leaves chunks out of CAF headers.
#include "host/audio/caf_header.h"

#include "host/audio/header_bytes.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint64_t kFirstChunk = 8;
constexpr uint64_t kChunkHeader = 12;
constexpr uint64_t kMostBeforeSamples = 50 << 10;
// A broken file could have chunks of no size for ever.
constexpr int kMostChunks = 10000;
constexpr uint64_t kEndless = uint64_t{1} << 62;

struct Part {
    uint64_t position;
    uint64_t size;
};

// What comes before the chunk of the samples.
struct CafParts {
    std::vector<Part> needed;
    uint64_t samples = 0; // where their chunk begins; 0: it wasn't found
    bool tooMany = false;
};

bool IsNeeded(HeaderBytes &bytes, uint64_t position)
{
    constexpr const char *kNeeded[] = {"desc", "chan", "kuki", "pakt"};
    return std::any_of(std::begin(kNeeded), std::end(kNeeded),
                       [&](const char *name) { return bytes.Has(position, name); });
}

CafParts PartsOf(HeaderBytes &bytes)
{
    CafParts parts;
    if (!bytes.Has(0, "caff"))
        return parts;
    uint64_t position = kFirstChunk;
    for (int i = 0; i < kMostChunks; ++i) {
        const uint64_t size = bytes.Big(position + 4, 8);
        if (!bytes.ok())
            return parts;
        if (bytes.Has(position, "data")) {
            parts.samples = position;
            return parts;
        }
        if (size > kEndless)
            return parts;
        if (IsNeeded(bytes, position))
            parts.needed.push_back({position, kChunkHeader + size});
        position += kChunkHeader + size;
    }
    parts.tooMany = true;
    return parts;
}

bool IsLong(const CafParts &parts)
{
    return parts.tooMany || parts.samples > kMostBeforeSamples;
}

} // namespace

bool HasLongCafHeader(ByteStream &file, uint64_t start)
{
    HeaderBytes bytes(file, start);
    return IsLong(PartsOf(bytes));
}

bool ShortenCafHeader(PipeInput &pipe, uint64_t start)
{
    HeaderBytes bytes(pipe, start);
    const CafParts parts = PartsOf(bytes);
    if (!IsLong(parts))
        return true;
    uint64_t left = kFirstChunk;
    for (const Part &part : parts.needed)
        left += std::min(part.size, kMostBeforeSamples);
    if (parts.tooMany || left > kMostBeforeSamples)
        return false;
    std::vector<unsigned char> header;
    for (const Part &part : parts.needed) {
        const auto chunk = pipe.kept().subspan(static_cast<size_t>(start + part.position));
        header.insert(header.end(), chunk.begin(), chunk.begin() + static_cast<ptrdiff_t>(part.size));
    }
    pipe.Replace(static_cast<size_t>(start + kFirstChunk), static_cast<size_t>(parts.samples - kFirstChunk),
                 header);
    return true;
}

} // namespace tonekit::host
