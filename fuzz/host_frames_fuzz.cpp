// host_frames_fuzz.cpp: what follows the frames, blocks and chunks of files by their headers alone: MPEG
// audio, the end of FLAC, WavPack, and what comes after samples.
#include "fuzz/input_bytes.h"
#include "host/audio/flac_end.h"
#include "host/audio/mpeg_frames.h"
#include "host/audio/mpeg_streams.h"
#include "host/audio/patched_bytes.h"
#include "host/audio/stream_header.h"
#include "host/libav/completeness_coded.h"
#include "host/system/memory_bytes.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;
using Bytes = std::span<const unsigned char>;

MpegFrames FramesInParts(Bytes bytes, size_t part)
{
    MpegFrames frames;
    for (size_t i = 0; i < bytes.size(); i += part)
        frames.Take(bytes.subspan(i, std::min(part, bytes.size() - i)));
    frames.Finish();
    return frames;
}

// The same streams however their bytes come, one after another and within the bytes.
void Mpeg(Bytes bytes, size_t part)
{
    const MpegFrames all = FramesInParts(bytes, std::max<size_t>(bytes.size(), 1));
    const MpegFrames parts = FramesInParts(bytes, part);
    Require(all.streams().size() == parts.streams().size() && all.differ() == parts.differ());
    uint64_t end = 0;
    for (size_t i = 0; i < all.streams().size(); ++i) {
        const MpegStream &stream = all.streams()[i];
        const MpegStream &other = parts.streams()[i];
        Require(stream.start == other.start && stream.end == other.end && stream.frames == other.frames);
        Require(stream.start >= end && stream.end > stream.start && stream.end <= bytes.size());
        Require(stream.note.has_value() == (stream.noteSize > 0));
        end = stream.end;
    }
}

std::vector<unsigned char> BytesOf(ByteStream &stream, size_t size)
{
    std::vector<unsigned char> bytes(size);
    size_t got = 0;
    Require(!stream.SeekTo(0) && !stream.Read(bytes.data(), size, got) && got == size);
    return bytes;
}

// A count that is put into a note moves what comes after it there, which may then pass for a tag or a frame
// between frames.
bool MovesAStart(Bytes bytes, const Patch &patch)
{
    const std::optional<MpegNote> note = NoteInFrame(bytes.subspan(patch.position, patch.bytes.size()));
    Require(note.has_value());
    const std::string mended(patch.bytes.begin() + 4, patch.bytes.end());
    for (const char *start : {"ID3", "TAG", "APETAGEX", "LYRICSBEGIN", "\xFF"})
        if (!note->frames && mended.find(start) != std::string::npos)
            return true;
    return false;
}

// Mended notes need no mending.
void Notes(Bytes bytes, uint64_t start)
{
    MemoryBytes memory(bytes);
    const MpegStreams streams = StreamsOfMpeg(memory, start);
    PatchedBytes patched(memory, streams.patches);
    const std::vector<unsigned char> mended = BytesOf(patched, bytes.size());
    for (const Patch &patch : streams.patches)
        if (MovesAStart(bytes, patch))
            return;
    MemoryBytes again(mended);
    const MpegStreams others = StreamsOfMpeg(again, start);
    Require(others.patches.empty() && others.starts == streams.starts && others.differ == streams.differ);
    if (const std::optional<Patch> patch = PatchOfOpenCount(memory, start))
        Require(patch->position == start && start + patch->bytes.size() <= bytes.size());
}

// From a file and from the bytes that are kept of a pipe.
void Flac(Bytes bytes, uint64_t start)
{
    MemoryBytes memory(bytes);
    const std::optional<FlacForm> form = FormOfFlac(memory, start);
    if (!form)
        return;
    const Bytes frames = bytes.subspan(std::min<size_t>(form->firstFrame, bytes.size()));
    const FlacEnd end = EndOfFlac(*form, memory);
    const FlacEnd other = EndOfFlac(*form, frames.last(std::min(frames.size(), form->TailBytes())));
    Require(end.isCut == other.isCut && end.frames == other.frames);
    end.Contradicts(*form);
}

void WavPack(Bytes bytes, size_t part)
{
    MemoryBytes memory(bytes);
    HeaderBytes header(memory);
    const WavPackFrames frames = FramesOfWavPack(header);
    Require(frames.counted != 0 || frames.held == 0);
    // As it comes from a pipe, whose last header may be cut off.
    WavPackBlocks blocks;
    for (size_t i = 0; i < bytes.size(); i += part)
        blocks.Take(bytes.subspan(i, std::min(part, bytes.size() - i)));
    Require(frames.counted == 0 ||
            (blocks.frames().counted == frames.counted && blocks.frames().held == frames.held));
}

void AfterSound(Bytes bytes, uint64_t start)
{
    MemoryBytes memory(bytes);
    const std::optional<SoundEnd> end = EndOfSound(memory, start);
    if (!end || memory.SeekTo(end->position))
        return;
    const uint64_t left = bytes.size() - std::min<uint64_t>(bytes.size(), end->position);
    Require(StrayBytes(memory, *end) <= left);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    const uint32_t action = input.Below(5);
    const uint8_t operand = input.Byte();
    const Bytes bytes(input.Rest(), input.Size());
    const uint64_t start = std::min<uint64_t>(operand, bytes.size());
    switch (action) {
    case 0:
        Mpeg(bytes, 1 + operand * 16u);
        break;
    case 1:
        Notes(bytes, start);
        break;
    case 2:
        Flac(bytes, start);
        break;
    case 3:
        WavPack(bytes, 1 + operand);
        break;
    default:
        AfterSound(bytes, start);
        break;
    }
    return 0;
}
