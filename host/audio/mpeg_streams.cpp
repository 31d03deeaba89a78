// mpeg_streams.cpp: compares what encoders noted with the frames of the file.
#include "host/audio/mpeg_streams.h"

#include "host/audio/mpeg_frames.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <span>
#include <system_error>

namespace tonekit::host {

namespace {

void Check(const std::error_code &error)
{
    if (error)
        throw std::system_error(error);
}

std::vector<unsigned char> BytesAt(ByteStream &file, uint64_t position, size_t size)
{
    std::vector<unsigned char> bytes(size);
    size_t got = 0;
    Check(file.SeekTo(position));
    Check(file.Read(bytes.data(), size, got));
    bytes.resize(got);
    return bytes;
}

MpegFrames FramesFrom(ByteStream &file, uint64_t start)
{
    MpegFrames frames;
    std::vector<unsigned char> block(size_t{64} << 10);
    size_t got = 0;
    Check(file.SeekTo(start));
    do {
        if (InterruptNoted())
            throw Interrupted();
        Check(file.Read(block.data(), block.size(), got));
        frames.Take(std::span(block).first(got));
    } while (got > 0 && !frames.gaveUp());
    frames.Finish();
    return frames;
}

// Some programs count the note's own bytes or those of a short tag at the end, and some don't.
bool NotesItsSize(const MpegStream &stream)
{
    constexpr uint64_t kShortTag = 128;
    const uint64_t size = stream.end - stream.start;
    const uint64_t noted = stream.note->bytes.value_or(0);
    return noted + stream.noteSize >= size && noted <= size + kShortTag;
}

// A stream that lacks frames is left to the decoder, which says so.
bool IsMended(const MpegStream &stream)
{
    const uint64_t counted = stream.note ? stream.note->frames.value_or(0) : 0;
    return stream.note && stream.frames > 0 && stream.frames <= UINT32_MAX &&
           (counted < stream.frames || (counted > stream.frames && NotesItsSize(stream)));
}

// Some programs count the note's own frame, and those that can't go back count none.
bool IsWrong(const MpegStream &stream)
{
    const uint64_t counted = stream.note->frames.value_or(0);
    return counted != 0 && counted != stream.frames + 1;
}

// If frames were added, what the encoder says of its last ones isn't true of the new ones.
bool KeepsEnd(const MpegStream &stream)
{
    return stream.note->bytes.value_or(0) == 0 || NotesItsSize(stream);
}

} // namespace

MpegStreams StreamsOfMpeg(ByteStream &file, uint64_t start)
{
    const MpegFrames frames = FramesFrom(file, start);
    MpegStreams found;
    found.differ = frames.differ();
    for (const MpegStream &stream : frames.streams()) {
        found.starts.push_back(start + stream.start);
        if (!IsMended(stream))
            continue;
        const uint64_t place = start + stream.start;
        const auto count = static_cast<uint32_t>(stream.frames);
        found.patches.push_back(
            {place, WithCount(BytesAt(file, place, stream.noteSize), *stream.note, count, KeepsEnd(stream))});
        if (IsWrong(stream) && found.wrong.empty())
            found.wrong = "its header counts " + std::to_string(*stream.note->frames) + " frames of " +
                          std::to_string(stream.frames) + ", all of which are read";
    }
    return found;
}

std::optional<Patch> PatchOfOpenCount(ByteStream &stream, uint64_t start)
{
    const std::vector<unsigned char> header = BytesAt(stream, start, 4);
    if (header.size() < 4)
        return std::nullopt;
    const size_t size = SizeOfMpegFrame(uint32_t{header[0]} << 24 | uint32_t{header[1]} << 16 |
                                        uint32_t{header[2]} << 8 | header[3]);
    const std::vector<unsigned char> frame = BytesAt(stream, start, size);
    if (size == 0 || frame.size() < size)
        return std::nullopt;
    const std::optional<MpegNote> note = NoteInFrame(frame);
    if (!note || note->frames.value_or(0) != 0)
        return std::nullopt;
    return Patch{start, WithCount(frame, *note, kMostOpenFrames, true)};
}

} // namespace tonekit::host
