// stream_header.cpp: reads and sets the sizes of samples in headers.
#include "host/audio/stream_header.h"

#include "host/audio/chunks.h"
#include "host/audio/frame_count.h"
#include "host/system/memory_bytes.h"

#include <algorithm>
#include <array>
#include <span>

namespace tonekit::host {

namespace {

// The number that says how many bytes of samples there are.
struct SizeField {
    uint64_t position = 0;
    int bytes = 4;
    bool bigEndian = false;
    uint64_t value = 0;
    uint64_t samples = 0; // where they begin; 0: no such number was found
    uint64_t more = 0;    // that the number counts besides the samples
    const ChunkForm *chunks = nullptr;
};

// A stream that is longer than this has no end.
constexpr uint64_t kEndless64 = uint64_t{1} << 62;

SizeField FieldInChunks(HeaderBytes &bytes, const char *wanted, const ChunkForm &form)
{
    const std::optional<Chunk> chunk = FindChunk(bytes, wanted, form);
    return chunk ? SizeField{chunk->sizeAt,  form.sizeBytes, form.bigEndian, chunk->size,
                             chunk->content, form.counted,   &form}
                 : SizeField{};
}

// The field of RF64 is in the chunk that comes first.
SizeField FieldOfRf64(HeaderBytes &bytes)
{
    const SizeField data = FieldInChunks(bytes, "data", kRiff);
    if (data.samples == 0 || !bytes.Has(12, "ds64"))
        return data;
    const uint64_t size = bytes.Little(28, 8);
    return bytes.ok() ? SizeField{28, 8, false, size, data.samples, 0, &kRiff} : SizeField{};
}

SizeField FieldOfAu(HeaderBytes &bytes)
{
    const uint64_t samples = bytes.Big(4, 4);
    const uint64_t size = bytes.Big(8, 4);
    return bytes.ok() ? SizeField{8, 4, true, size, samples} : SizeField{};
}

// Nothing for types that have no such number.
std::optional<SizeField> FieldOf(HeaderBytes &bytes)
{
    if (bytes.Has(0, "RIFF") && bytes.Has(8, "WAVE"))
        return FieldInChunks(bytes, "data", kRiff);
    if (bytes.Has(0, "RIFX") && bytes.Has(8, "WAVE"))
        return FieldInChunks(bytes, "data", kBigRiff);
    if (bytes.Has(0, "RF64") && bytes.Has(8, "WAVE"))
        return FieldOfRf64(bytes);
    if (bytes.Has(0, "riff"))
        return FieldInChunks(bytes, "data", kW64);
    if (bytes.Has(0, "FORM") && bytes.Has(8, "AIF"))
        return FieldInChunks(bytes, "SSND", kBigRiff);
    if (bytes.Has(0, ".snd"))
        return FieldOfAu(bytes);
    if (bytes.Has(0, "caff"))
        return FieldInChunks(bytes, "data", kCaf);
    return std::nullopt;
}

bool IsOpen(const SizeField &field)
{
    if (field.value <= field.more)
        return true;
    return field.bytes == 4 ? IsOpenSize(static_cast<uint32_t>(field.value)) : IsOpenSize(field.value);
}

std::array<unsigned char, 8> BytesOfNumber(uint64_t number, int bytes, bool bigEndian)
{
    std::array<unsigned char, 8> result{};
    for (int i = 0; i < bytes; ++i)
        result[static_cast<size_t>(bigEndian ? bytes - 1 - i : i)] =
            static_cast<unsigned char>(number >> (8 * i));
    return result;
}

void PutNumber(PipeInput &pipe, const SizeField &field, uint64_t number)
{
    const auto bytes = BytesOfNumber(number, field.bytes, field.bigEndian);
    const auto count = static_cast<size_t>(field.bytes);
    pipe.Replace(static_cast<size_t>(field.position), count, std::span(bytes).first(count));
}

// In what never ends, for all that isn't samples.
constexpr uint64_t kRoomAtEnd = uint64_t{1} << 20;

// RF64 has room for what never ends, but not for all codings.
bool FitsIntoRf64(HeaderBytes &bytes)
{
    if (!bytes.Has(0, "RIFF"))
        return false;
    const SizeField format = FieldInChunks(bytes, "fmt ", kRiff);
    const uint64_t tag = format.samples ? bytes.Little(format.samples, 2) : 0;
    constexpr uint64_t kPcm = 1;
    constexpr uint64_t kFloat = 3;
    constexpr uint64_t kExtensible = 0xFFFE;
    return tag == kPcm || tag == kFloat || tag == kExtensible;
}

// The first 12 bytes and a chunk of sizes that RF64 begins with.
std::vector<unsigned char> StartOfRf64(uint64_t size)
{
    std::vector<unsigned char> start = {'R', 'F', '6', '4', 0xFF, 0xFF, 0xFF, 0xFF, 'W', 'A',
                                        'V', 'E', 'd', 's', '6',  '4',  28,   0,    0,   0};
    for (int i = 0; i < 2; ++i) { // of the file and of the samples
        const auto bytes = BytesOfNumber(size, 8, false);
        start.insert(start.end(), bytes.begin(), bytes.end());
    }
    start.insert(start.end(), 12, 0); // frames, and a table of no sizes
    return start;
}

// A writer of headers by position.
class HeaderNumbers {
public:
    explicit HeaderNumbers(std::vector<unsigned char> &header) : header_(header) {}

    void Put(uint64_t position, uint64_t number, int bytes, bool bigEndian)
    {
        const auto text = BytesOfNumber(number, bytes, bigEndian);
        for (size_t i = 0; i < static_cast<size_t>(bytes) && position + i < header_.size(); ++i)
            header_[static_cast<size_t>(position) + i] = text[i];
    }

private:
    std::vector<unsigned char> &header_;
};

} // namespace

bool IsOpenSize(uint32_t size)
{
    constexpr uint32_t kMargin = 4096; // for the header, which some leave out of the largest number
    constexpr uint32_t kRounded = 64;  // to whole frames, of at most so many bytes
    const auto isBelow = [size](uint32_t end, uint32_t margin) { return size < end && size >= end - margin; };
    return size > UINT32_MAX - kMargin || isBelow(0x80000000u, kMargin) || isBelow(0x7F000009u, kRounded + 8);
}

bool IsOpenSize(uint64_t size)
{
    return size == 0 || size == UINT32_MAX || size > kEndless64;
}

bool HasOpenHeader64(ByteStream &file, uint64_t start)
{
    HeaderBytes bytes(file, start);
    if (!bytes.Has(0, "RF64") && !bytes.Has(0, "caff"))
        return false;
    const std::optional<SizeField> field = FieldOf(bytes);
    return field && field->samples != 0 && IsOpen(*field);
}

std::optional<SoundEnd> EndOfSound(ByteStream &file, uint64_t start)
{
    HeaderBytes bytes(file, start);
    const std::optional<SizeField> field = FieldOf(bytes);
    if (!field || field->samples == 0 || IsOpen(*field))
        return std::nullopt;
    const uint64_t end = field->samples + field->value - field->more;
    const uint64_t multiple = field->chunks ? field->chunks->multiple : 1;
    return SoundEnd{start + end, field->chunks, (multiple - end % multiple) % multiple};
}

HeaderForm PrepareHeader(PipeInput &pipe, uint64_t start)
{
    HeaderBytes bytes(pipe, start);
    const std::optional<SizeField> found = FieldOf(bytes);
    if (!found)
        return HeaderForm::AsItWas;
    if (found->samples == 0)
        return HeaderForm::NotFound;
    SizeField field = *found;
    if (!IsOpen(field)) {
        pipe.SetEnd(start + field.samples + field.value - field.more);
        return HeaderForm::AsItWas;
    }
    if (!pipe.endIsKnown() && IsCodedInBlocks(pipe, start))
        return HeaderForm::NeedsEnd;
    const uint64_t left = bytes.size() - std::min(bytes.size(), field.samples + kRoomAtEnd);
    field.position += start;
    if (field.bytes == 8) {
        PutNumber(pipe, field, pipe.endIsKnown() ? bytes.size() - field.samples + field.more : left);
        if (bytes.Has(0, "RF64"))
            PutNumber(pipe, {start + field.samples - 4, 4, false}, UINT32_MAX);
        return HeaderForm::Open;
    }
    PutNumber(pipe, field, UINT32_MAX);
    if (!FitsIntoRf64(bytes))
        return HeaderForm::Open;
    pipe.Replace(static_cast<size_t>(start), 12, StartOfRf64(left));
    return HeaderForm::OpenAsRf64;
}

bool SetSizes(std::vector<unsigned char> &header, const Container &container, const AudioFormat &format,
              std::optional<uint64_t> frames)
{
    MemoryBytes memory(header);
    HeaderBytes bytes(memory);
    const SizeField field = FieldOf(bytes).value_or(SizeField{});
    if (field.samples == 0)
        return true; // a type without sizes
    if (container.kind == ContainerKind::Aiff && !frames)
        return false;
    HeaderNumbers numbers(header);
    const uint64_t size = frames.value_or(0) * format.FrameBytes();
    const uint64_t padded = size + (size & 1);
    const auto put = [&](uint64_t position, int length, bool bigEndian, uint64_t known, uint64_t open) {
        numbers.Put(position, frames ? known : open, length, bigEndian);
    };
    switch (container.kind) {
    case ContainerKind::Wav:
        put(4, 4, false, field.samples - 8 + padded, UINT32_MAX);
        put(field.position, 4, false, size, UINT32_MAX);
        break;
    case ContainerKind::Rf64:
        // Other programs refuse a size that is a negative number to them.
        put(20, 8, false, field.samples - 8 + padded, 0);
        put(28, 8, false, size, 0);
        put(36, 8, false, frames.value_or(0), 0);
        numbers.Put(field.samples - 4, UINT32_MAX, 4, false);
        break;
    case ContainerKind::W64:
        put(16, 8, false, field.samples + size, INT64_MAX);
        put(field.position, 8, false, size + field.more, INT64_MAX);
        break;
    case ContainerKind::Aiff: {
        const SizeField common = FieldInChunks(bytes, "COMM", kBigRiff);
        numbers.Put(4, field.samples - 8 + 8 + padded, 4, true);
        numbers.Put(common.samples + 2, *frames, 4, true);
        numbers.Put(field.position, size + 8, 4, true); // two numbers come before the samples
        break;
    }
    case ContainerKind::Au:
        put(field.position, 4, true, size, UINT32_MAX);
        break;
    case ContainerKind::Caf:
        put(field.position, 8, true, size + 4, UINT64_MAX); // the count of edits comes before the samples
        break;
    default:
        break;
    }
    return true;
}

} // namespace tonekit::host
