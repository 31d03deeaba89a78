// completeness.cpp: finds the end of the samples that WAV, RF64, W64, AIFF, AU, CAF, Ogg and MP3 headers
// promise.
//
// libsndfile is lenient here: it takes what is there. A listener whose download broke off has to be told.
#include "host/audio/completeness.h"

#include "host/audio/chunks.h"
#include "host/audio/completeness_rare.h"
#include "host/audio/id3_size.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint64_t kUnknown32 = 0xFFFFFFFF;

// The bytes missing from the chunk of the samples. If its size of 32 bits is unknown, it is `longSize`.
uint64_t MissingFromChunk(HeaderBytes &bytes, const char *wanted, const ChunkForm &form,
                          uint64_t longSize = 0)
{
    const std::optional<Chunk> chunk = FindChunk(bytes, wanted, form);
    if (!chunk)
        return 0;
    if (chunk->size == kUnknown32)
        return Shortfall(chunk->content + longSize, bytes.size());
    return IsOpenSize(static_cast<uint32_t>(chunk->size))
               ? 0
               : Shortfall(chunk->content + chunk->size, bytes.size());
}

// The same for sizes of 64 bits. Without an end they are larger than any file.
uint64_t MissingFromLongChunk(HeaderBytes &bytes, const ChunkForm &form)
{
    const std::optional<Chunk> chunk = FindChunk(bytes, "data", form);
    if (!chunk || chunk->size < form.counted || chunk->size > uint64_t{1} << 62)
        return 0;
    return Shortfall(chunk->content + chunk->size - form.counted, bytes.size());
}

uint64_t MissingFromRf64(HeaderBytes &bytes)
{
    // The ds64 chunk is the first: after the size of the whole it has that of the samples.
    uint64_t dataSize = bytes.Has(12, "ds64") ? bytes.Little(28, 8) : 0;
    if (IsOpenSize(dataSize))
        dataSize = 0;
    return MissingFromChunk(bytes, "data", kRiff, dataSize);
}

uint64_t MissingFromAu(HeaderBytes &bytes)
{
    const uint64_t start = bytes.Big(4, 4);
    const uint64_t size = bytes.Big(8, 4);
    return bytes.ok() && size != kUnknown32 ? Shortfall(start + size, bytes.size()) : 0;
}

// How much a broken file lacks can't be known; 1 means that.
uint64_t MissingFromOgg(HeaderBytes &bytes)
{
    std::vector<unsigned char> tail(std::min<uint64_t>(bytes.size(), kLargestOggPage));
    return bytes.Fetch(bytes.size() - tail.size(), tail.data(), tail.size()) && EndsOgg(tail) ? 0 : 1;
}

// Encoders note the bytes of an MP3 file in a frame of their own before the music; where that is missing
// nothing is known. The note follows the side information, whose size depends on version and channels.
uint64_t MissingFromMp3(HeaderBytes &bytes)
{
    unsigned char first[kId3Header] = {};
    const uint64_t start = bytes.Fetch(0, first, sizeof(first)) ? Id3Bytes(first) : 0;
    const uint64_t header = bytes.Big(start, 4);
    if (!bytes.ok() || header >> 21 != 0x7FF)
        return 0;
    const bool version1 = header >> 19 & 1;
    const bool mono = (header >> 6 & 3) == 3;
    const uint64_t note = start + 4 + (version1 ? (mono ? 17 : 32) : (mono ? 9 : 17));
    if (!bytes.Has(note, "Xing") && !bytes.Has(note, "Info"))
        return 0;
    const uint64_t flags = bytes.Big(note + 4, 4);
    if (!(flags & 2))
        return 0;
    const uint64_t size = bytes.Big(note + 8 + (flags & 1 ? 4 : 0), 4);
    return bytes.ok() ? Shortfall(start + size, bytes.size()) : 0;
}

} // namespace

bool EndsOgg(std::span<const unsigned char> tail)
{
    constexpr size_t kHeader = 27;
    if (tail.size() < kHeader)
        return false;
    for (size_t start = tail.size() - kHeader + 1; start-- > 0;) {
        if (std::memcmp(&tail[start], "OggS", 4) != 0 || tail[start + 4] != 0)
            continue;
        const size_t segments = tail[start + 26];
        size_t end = start + kHeader + segments;
        for (size_t i = 0; i < segments && start + kHeader + i < tail.size(); ++i)
            end += tail[start + kHeader + i];
        const bool last = tail[start + 5] & 4;
        return last && end <= tail.size();
    }
    return false;
}

void CheckOggEnd(const PipeInput &stream, const std::string &name)
{
    if (stream.keepsTail() && !EndsOgg(stream.tail()))
        throw Failure(name + ": the stream is cut off");
}

uint64_t MissingBytes(ByteStream &file, uint64_t start)
{
    HeaderBytes bytes(file, start);
    if (bytes.Has(0, "RIFF") && bytes.Has(8, "WAVE"))
        return MissingFromChunk(bytes, "data", kRiff);
    if (bytes.Has(0, "RIFX") && bytes.Has(8, "WAVE"))
        return MissingFromChunk(bytes, "data", kBigRiff);
    if (bytes.Has(0, "RF64") && bytes.Has(8, "WAVE"))
        return MissingFromRf64(bytes);
    if (bytes.Has(0, "riff"))
        return MissingFromLongChunk(bytes, kW64);
    if (bytes.Has(0, "FORM") && bytes.Has(8, "AIF"))
        return MissingFromChunk(bytes, "SSND", kBigRiff);
    if (bytes.Has(0, "FORM") && (bytes.Has(8, "8SVX") || bytes.Has(8, "16SV")))
        return MissingFromChunk(bytes, "BODY", kBigRiff);
    if (bytes.Has(0, ".snd"))
        return MissingFromAu(bytes);
    if (bytes.Has(0, "caff"))
        return MissingFromLongChunk(bytes, kCaf);
    if (bytes.Has(0, "OggS"))
        return MissingFromOgg(bytes);
    if (const std::optional<uint64_t> missing = MissingFromRareType(bytes))
        return *missing;
    return MissingFromMp3(bytes);
}

std::string CutOffText(uint64_t missing)
{
    return missing == 1 ? "the file is cut off"
                        : "the file is cut off: its last " + std::to_string(missing) + " bytes are missing";
}

} // namespace tonekit::host
