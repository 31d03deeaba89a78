// host_headers_fuzz.cpp: what reads and changes headers by itself, on arbitrary files: completeness, open
// sizes of streams, the lengths of AIFF files, cue sheets in FLAC files, sizes that are set afterwards,
// samples without a header, audio that comes through a pipe, and CAF files with long chunks.
#include "fuzz/memory_file.h"
#include "host/audio/aiff_lengths.h"
#include "host/audio/audio_reader.h"
#include "host/audio/completeness.h"
#include "host/audio/raw_reader.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "host/tags/flac_cue_sheet.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::MemoryFile;
using tonekit::fuzz::Require;

constexpr uint64_t kMostKept = 1 << 16;
constexpr int kMostBlocks = 16;
constexpr uint32_t kBlockFrames = 256;

File Opened(const MemoryFile &file)
{
    File opened;
    Require(!opened.OpenToRead(file.Path()));
    return opened;
}

void ReadAll(SampleSource &source)
{
    std::vector<uint8_t> buffer(size_t{kBlockFrames} * source.format().FrameBytes());
    for (int block = 0; block < kMostBlocks; ++block)
        if (source.Read(buffer.data(), kBlockFrames) == 0)
            return;
}

// A file lacks no more than its header can promise, and what is lacking stays so when it is looked at again.
void Completeness(const MemoryFile &file, size_t size)
{
    File opened = Opened(file);
    const uint64_t missing = MissingBytes(opened);
    Require(missing == MissingBytes(opened));
    std::vector<unsigned char> bytes(size);
    size_t got = 0;
    Require(!opened.SeekTo(0) && !opened.Read(bytes.data(), size, got) && got == size);
    EndsOgg(bytes);
}

// After its preparation a stream can be read to an end.
void OpenSizes(const MemoryFile &file, size_t size, bool isFile)
{
    File opened = Opened(file);
    HasOpenHeader64(opened);
    Require(!opened.SeekTo(0));
    PipeInput pipe =
        isFile ? PipeInput(std::move(opened), kMostKept, size) : PipeInput(std::move(opened), kMostKept);
    if (!isFile)
        pipe.KeepTail(kLargestOggPage);
    try {
        PrepareHeader(pipe);
    } catch (const std::system_error &) {
        return; // more than may be kept
    }
    Require(!pipe.SeekTo(0));
    pipe.KeepNoMore();
    std::vector<unsigned char> bytes(4096);
    size_t got = 1;
    for (uint64_t all = 0; got != 0; all += got) {
        Require(all <= size + 64); // 36 bytes that RF64 has more than WAV, and what is left of them
        if (pipe.Read(bytes.data(), bytes.size(), got))
            return;
    }
    Require(!pipe.Drain());
}

// Sets the sizes of a header of any container.
void Sizes(InputBytes &input)
{
    const std::vector<Container> &containers = Containers();
    const Container &container = containers[input.Below(static_cast<uint32_t>(containers.size()))];
    const AudioFormat format = {
        container.formats[input.Below(static_cast<uint32_t>(container.formats.size()))], 1 + input.Below(8),
        44100};
    std::optional<uint64_t> frames;
    if (input.Flag())
        frames = input.Word();
    std::vector<unsigned char> header(input.Rest(), input.Rest() + input.Size());
    const std::vector<unsigned char> before = header;
    SetSizes(header, container, format, frames);
    Require(header.size() == before.size());
    const std::vector<unsigned char> once = header;
    SetSizes(header, container, format, frames);
    MemoryBytes memory(once);
    HasOpenHeader64(memory);
}

// Lengths that were mended need no mending.
void Lengths(const MemoryFile &file, uint64_t frames, uint32_t frameBytes)
{
    File opened;
    Require(!opened.OpenToChange(file.Path()));
    if (MendAiffLengths(opened, frames, frameBytes))
        return;
    uint64_t size = 0;
    uint64_t again = 0;
    Require(!opened.Size(size));
    Require(!MendAiffLengths(opened, frames, frameBytes));
    Require(!opened.Size(again) && size == again);
}

void CueTracks(const MemoryFile &file, uint32_t rate)
{
    const std::vector<CueTrack> tracks = FlacCueTracks(file.Path(), rate);
    for (size_t i = 1; i < tracks.size(); ++i)
        Require(tracks[i].position > tracks[i - 1].position);
}

// Samples without a header: as many whole frames as there are.
void Raw(const MemoryFile &file, InputBytes &input, bool pipe)
{
    const RawFormat format = RawFormatFrom(input.OneOf(
        {"u8,44100,2", "s8,8000,1", "s16le,48000,2", "s24be,96000,3", "s32,4000,8", "f64be,44100,1"}));
    std::optional<RawReader> reader;
    if (pipe)
        reader.emplace(Opened(file), "stream", format);
    else
        reader.emplace(file.Path(), format);
    ReadAll(*reader);
    if (reader->CanRewind()) {
        reader->Rewind();
        ReadAll(*reader);
    }
}

// CAF files of 8 frames, with chunks of any length before their samples: these or Failure.
void LongCaf(MemoryFile &file, InputBytes &input)
{
    constexpr int16_t kSamples[] = {1, -2, 3, -4, 5, -6, 7, -8};
    std::string caf(
        "caff\0\1\0\0desc\0\0\0\0\0\0\0\x20\x40\xE5\x88\x80\0\0\0\0lpcm\0\0\0\2\0\0\0\2\0\0\0\1\0\0\0\1\0\0\0"
        "\x10",
        52);
    const bool pipe = input.Flag();
    const uint32_t repeat = input.Byte() == 255 ? 10'001 : 1;
    for (uint32_t left = input.Below(6); left != 0; --left) {
        const char *const name = input.OneOf({"free", "pakt", "uuid", "info", "kuki", "chan"});
        const uint32_t length = input.Byte() * input.OneOf({1u, 16u, 256u});
        for (uint32_t k = 0; k < repeat && caf.size() < (1u << 20); ++k) {
            caf += name + std::string("\0\0\0\0\0", 5);
            for (const int shift : {16, 8, 0})
                caf += static_cast<char>(length >> shift);
            caf.append(length, '\0');
        }
    }
    caf += std::string("data\0\0\0\0\0\0\0\x14\0\0\0\0", 16);
    caf.append(reinterpret_cast<const char *>(kSamples), sizeof(kSamples));
    file.Set(reinterpret_cast<const uint8_t *>(caf.data()), caf.size());
    std::optional<AudioReader> reader;
    if (pipe)
        reader.emplace(Opened(file), "stream");
    else
        reader.emplace(file.Path(), "file");
    int16_t samples[16] = {};
    Require(reader->Read(samples, 16) == 8 && std::equal(kSamples, kSamples + 8, samples));
}

void Stream(const MemoryFile &file)
{
    AudioReader reader(Opened(file), "stream");
    Require(reader.pipe() && !reader.CanRewind());
    ReadAll(reader);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static MemoryFile file;
    InputBytes input(data, size);
    const uint32_t action = input.Below(9);
    const uint8_t operand = input.Byte();
    if (action == 2) {
        Sizes(input);
        return 0;
    }
    file.Set(input.Rest(), input.Size());
    try {
        switch (action) {
        case 8:
            LongCaf(file, input);
            break;
        case 0:
            Completeness(file, input.Size());
            break;
        case 1:
            OpenSizes(file, input.Size(), (operand & 1) != 0);
            break;
        case 3:
            Lengths(file, operand, 1 + operand % 8);
            break;
        case 4:
            CueTracks(file, 1000u * operand);
            break;
        case 5:
            Raw(file, input, (operand & 1) != 0);
            break;
        case 6: {
            AudioReader reader(file.Path(), "input");
            reader.TrySeek(operand);
            ReadAll(reader);
            break;
        }
        default:
            Stream(file);
            break;
        }
    } catch (const Failure &) {
        // A file that is refused.
    }
    return 0;
}
