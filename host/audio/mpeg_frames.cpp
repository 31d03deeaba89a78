// mpeg_frames.cpp: sizes of MPEG frames by their headers, and the notes of encoders.
#include "host/audio/mpeg_frames.h"

#include "host/audio/id3_size.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr size_t kHeader = 4;
constexpr size_t kApeHeader = 32;
constexpr uint64_t kMostBefore = uint64_t{64} << 10; // bytes before the first frame

// Bits of the header.
constexpr uint32_t kSync = 0x7FF;
constexpr uint32_t kLayer3 = 1;
constexpr uint32_t kVersion1 = 3;

uint32_t Big32(std::span<const unsigned char> bytes, size_t place)
{
    return uint32_t{bytes[place]} << 24 | uint32_t{bytes[place + 1]} << 16 | uint32_t{bytes[place + 2]} << 8 |
           bytes[place + 3];
}

void PutBig32(std::vector<unsigned char> &bytes, size_t place, uint32_t number)
{
    for (size_t i = 0; i < 4; ++i)
        bytes[place + i] = static_cast<unsigned char>(number >> (24 - 8 * i));
}

uint32_t VersionOf(uint32_t header)
{
    return header >> 19 & 3;
}

uint32_t LayerOf(uint32_t header)
{
    return header >> 17 & 3;
}

bool IsMono(uint32_t header)
{
    return (header >> 6 & 3) == 3;
}

// One decoder reads both without being started again.
bool AreAlike(uint32_t one, uint32_t other)
{
    constexpr uint32_t kSyncVersionLayerRate = 0xFFFE0C00;
    return ((one ^ other) & kSyncVersionLayerRate) == 0 && IsMono(one) == IsMono(other);
}

bool Has(std::span<const unsigned char> bytes, size_t place, std::string_view word)
{
    return bytes.size() >= place + word.size() && std::memcmp(&bytes[place], word.data(), word.size()) == 0;
}

// The whole of an ID3v2 tag or an APE tag that begins with its header; 0 if there is none.
uint64_t TagBytes(std::span<const unsigned char> bytes)
{
    if (const uint64_t size = Id3Bytes(bytes))
        return size;
    if (Has(bytes, 0, "APETAGEX") && bytes.size() >= kApeHeader) {
        constexpr unsigned char kIsHeader = 0x20;
        const uint64_t size =
            uint64_t{bytes[15]} << 24 | uint64_t{bytes[14]} << 16 | uint64_t{bytes[13]} << 8 | bytes[12];
        return bytes[23] & kIsHeader ? kApeHeader + size : kApeHeader;
    }
    return 0;
}

// Whether bytes that follow audio begin a tag.
bool IsTag(std::span<const unsigned char> bytes)
{
    return Has(bytes, 0, "TAG") || Has(bytes, 0, "ID3") || Has(bytes, 0, "APETAGEX") ||
           Has(bytes, 0, "LYRICSBEGIN");
}

// Whether the frame is there, and as many others like it as `others` follow it up to the end or a tag.
bool AreFrames(std::span<const unsigned char> bytes, int others)
{
    const uint32_t first = Big32(bytes, 0);
    size_t place = SizeOfMpegFrame(first);
    for (int i = 0; i < others && place < bytes.size() && !IsTag(bytes.subspan(place)); ++i) {
        if (place + kHeader > bytes.size() || !AreAlike(first, Big32(bytes, place)))
            return false;
        const size_t size = SizeOfMpegFrame(Big32(bytes, place));
        if (size == 0)
            return false;
        place += size;
    }
    return SizeOfMpegFrame(first) <= bytes.size();
}

} // namespace

size_t SizeOfMpegFrame(uint32_t header)
{
    // In thousands of bits a second.
    constexpr std::array<std::array<uint16_t, 15>, 5> kBitRates = {{
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448}, // version 1, layers 1 to 3
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256}, // others, layer 1
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},      // layers 2 and 3
    }};
    constexpr std::array<uint32_t, 3> kRates = {44100, 48000, 32000};
    const uint32_t version = VersionOf(header);
    const uint32_t layer = 4 - LayerOf(header);
    const uint32_t bits = header >> 12 & 15;
    const uint32_t rate = header >> 10 & 3;
    if (header >> 21 != kSync || version == 1 || layer == 4 || bits == 0 || bits == 15 || rate == 3)
        return 0;
    const size_t row = version == kVersion1 ? layer - 1 : layer == 1 ? 3 : 4;
    const uint32_t perSecond = kBitRates[row][bits] * 1000u;
    const uint32_t hertz = kRates[rate] >> (version == kVersion1 ? 0 : version == 2 ? 1 : 2);
    const uint32_t padding = header >> 9 & 1;
    if (layer == 1)
        return size_t{12 * perSecond / hertz + padding} * 4;
    return (layer == 3 && version != kVersion1 ? 72 : 144) * perSecond / hertz + padding;
}

std::optional<MpegNote> NoteInFrame(std::span<const unsigned char> frame)
{
    const uint32_t header = Big32(frame, 0);
    if (LayerOf(header) != kLayer3)
        return std::nullopt;
    const size_t side =
        VersionOf(header) == kVersion1 ? (IsMono(header) ? 17 : 32) : (IsMono(header) ? 9 : 17);
    for (const size_t checksum : {0u, 2u}) { // encoders leave room for it or don't
        MpegNote note{kHeader + checksum + side + 4};
        if (!Has(frame, note.place - 4, "Xing") && !Has(frame, note.place - 4, "Info"))
            continue;
        if (frame.size() < note.place + 12)
            return std::nullopt;
        const uint32_t flags = Big32(frame, note.place);
        size_t place = note.place + 4;
        if (flags & 1) {
            note.frames = Big32(frame, place);
            place += 4;
        }
        if (flags & 2)
            note.bytes = Big32(frame, place);
        return note;
    }
    return std::nullopt;
}

std::vector<unsigned char> WithCount(std::span<const unsigned char> frame, const MpegNote &note,
                                     uint32_t frames, bool keepsEnd)
{
    std::vector<unsigned char> mended(frame.begin(), frame.end());
    if (!note.frames) {
        const size_t size = mended.size();
        mended.insert(mended.begin() + static_cast<ptrdiff_t>(note.place + 4), 4, 0);
        mended.resize(size);
        mended[note.place + 3] |= 1;
    }
    PutBig32(mended, note.place + 4, frames);
    // The encoder's name of 9 bytes is after a table of 100 and a number of 4, if there are these; 12 bits
    // each of what goes before and after the sound are 12 bytes after it.
    const uint32_t flags = Big32(mended, note.place);
    const size_t end =
        note.place + 8 + (flags & 2 ? 4 : 0) + (flags & 4 ? 100 : 0) + (flags & 8 ? 4 : 0) + 22;
    if (!keepsEnd && end + 2 <= mended.size()) {
        mended[end] &= 0xF0;
        mended[end + 1] = 0;
    }
    return mended;
}

void MpegFrames::Take(std::span<const unsigned char> bytes)
{
    held_.erase(held_.begin(), held_.begin() + static_cast<ptrdiff_t>(at_));
    base_ += at_;
    at_ = 0;
    held_.insert(held_.end(), bytes.begin(), bytes.end());
    while (Step(false)) {
    }
}

void MpegFrames::Finish()
{
    while (Step(true)) {
    }
}

uint64_t MpegFrames::frames() const
{
    uint64_t all = 0;
    for (const MpegStream &stream : streams_)
        all += stream.frames;
    return all;
}

bool MpegFrames::gaveUp() const
{
    return streams_.empty() && skipped_ > kMostBefore;
}

// False: more bytes are needed.
bool MpegFrames::Step(bool final)
{
    constexpr size_t kLargestFrame = 2881; // layer 2 of 160 kbit/s and 8000 Hz
    const std::span<const unsigned char> rest = Rest();
    if (passed_ > 0)
        return StepOver(passed_, final);
    if (rest.size() < (final ? kHeader : 3 * kLargestFrame))
        return false;
    if (gaveUp()) {
        at_ = held_.size();
        return false;
    }
    if (const uint64_t tag = TagBytes(rest)) {
        lost_ = true;
        return StepOver(tag, final);
    }
    const uint32_t header = Big32(rest, 0);
    const size_t size = SizeOfMpegFrame(header);
    const bool like = !streams_.empty() && AreAlike(header, first_);
    if (size == 0 || !AreFrames(rest, lost_ || !like ? 2 : 0))
        return StepToSync();
    AddFrame(rest.first(size));
    at_ += size;
    return true;
}

bool MpegFrames::StepOver(uint64_t bytes, bool final)
{
    const size_t here = std::min<uint64_t>(bytes, Rest().size());
    at_ += here;
    passed_ = bytes - here;
    return here > 0 || (final && passed_ == 0);
}

bool MpegFrames::StepToSync()
{
    lost_ = true;
    const std::span<const unsigned char> rest = Rest().subspan(1);
    const auto next = std::find_if(rest.begin(), rest.end(), [](unsigned char byte) {
        return byte == 0xFF || byte == 'I' || byte == 'A'; // of frames and of tags
    });
    const size_t bytes = 1 + static_cast<size_t>(next - rest.begin());
    at_ += bytes;
    skipped_ += bytes;
    return true;
}

void MpegFrames::AddFrame(std::span<const unsigned char> frame)
{
    const uint32_t header = Big32(frame, 0);
    const uint64_t start = base_ + at_;
    lost_ = false;
    const std::optional<MpegNote> note = NoteInFrame(frame);
    const bool follows = !streams_.empty() && streams_.front().note && streams_.size() < kMostStreams;
    if (streams_.empty()) {
        first_ = header;
        streams_.push_back({start, start + frame.size(), note ? 0u : 1u, note ? frame.size() : 0, note});
        return;
    }
    differ_ = differ_ || !AreAlike(header, first_);
    if (note && follows) {
        if (streams_.size() > 1 && streams_.back().frames == 0)
            streams_.pop_back(); // a note of nothing
        streams_.push_back({start, start + frame.size(), 0, frame.size(), note});
        return;
    }
    ++streams_.back().frames;
    streams_.back().end = start + frame.size();
}

} // namespace tonekit::host
