// completeness_coded.cpp: finds the end that headers of types with packets promise.
#include "host/libav/completeness_coded.h"

#include "host/audio/id3_size.h"
#include "host/audio/stream_header.h"
#include "host/libav/mp4_length.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace tonekit::host {

namespace {

// A number of EBML, whose first byte has as many leading zeros as there are bytes after it.
struct EbmlNumber {
    uint64_t value = 0;
    uint64_t bytes = 0;   // that it takes; 0: none is there
    bool unknown = false; // a length that isn't said
};

EbmlNumber EbmlAt(HeaderBytes &bytes, uint64_t place)
{
    const uint64_t first = bytes.Big(place, 1);
    if (!bytes.ok() || first == 0)
        return {};
    EbmlNumber number;
    number.bytes = 1;
    while (!(first & 0x100u >> number.bytes))
        ++number.bytes;
    const uint64_t mask = (uint64_t{1} << 7 * number.bytes) - 1;
    number.value = bytes.Big(place, static_cast<int>(number.bytes)) & mask;
    number.unknown = number.value == mask;
    return bytes.ok() ? number : EbmlNumber();
}

uint64_t EndOfMatroska(HeaderBytes &bytes, uint64_t start)
{
    constexpr uint64_t kIdBytes = 4;
    const EbmlNumber header = EbmlAt(bytes, start + kIdBytes);
    if (header.bytes == 0 || header.unknown || header.value > bytes.size())
        return 0;
    const uint64_t segment = start + kIdBytes + header.bytes + header.value;
    if (!bytes.Has(segment, "\x18\x53\x80\x67"))
        return 0;
    const EbmlNumber size = EbmlAt(bytes, segment + kIdBytes);
    if (size.bytes == 0 || size.unknown)
        return 0;
    return segment + kIdBytes + size.bytes + size.value;
}

// Objects with names of 16 bytes; the header's object holds others, one of which holds the file's size.
uint64_t EndOfAsf(HeaderBytes &bytes, uint64_t start)
{
    constexpr uint64_t kObject = 24;
    constexpr uint64_t kMostObjects = 1000;
    const uint64_t end = start + bytes.Little(start + 16, 8);
    uint64_t place = start + kObject + 6;
    for (uint64_t i = 0; i < kMostObjects && place < end; ++i) {
        if (bytes.Has(place, "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4")) {
            constexpr uint64_t kLive = 1; // the size isn't known
            const uint64_t flags = bytes.Little(place + kObject + 64, 4);
            const uint64_t size = bytes.Little(place + kObject + 16, 8);
            return bytes.ok() && !(flags & kLive) ? start + size : 0;
        }
        const uint64_t size = bytes.Little(place + 16, 8);
        if (!bytes.ok() || size < kObject || size > end)
            return 0;
        place += size;
    }
    return 0;
}

// The size of a DSF file is that of the whole; DSDIFF doesn't count its name and size.
uint64_t EndOfDsd(HeaderBytes &bytes, uint64_t start)
{
    const bool dsf = bytes.Has(start, "DSD ");
    const uint64_t size = dsf ? bytes.Little(start + 12, 8) : bytes.Big(start + 4, 8);
    if (!bytes.ok() || size > uint64_t{1} << 62)
        return 0;
    return start + size + (dsf ? 0 : 12);
}

// The end of a part of an AVI file. Programs that can't go back leave its size open.
uint64_t EndOfAviPart(HeaderBytes &bytes, uint64_t start)
{
    const uint64_t size = bytes.Little(start + 4, 4);
    return bytes.ok() && size != 0 && !IsOpenSize(static_cast<uint32_t>(size)) ? start + 8 + size : 0;
}

// Long files have further parts after the first one, of a gigabyte or two each.
uint64_t EndOfAvi(HeaderBytes &bytes)
{
    constexpr int kMostParts = 10000;
    uint64_t end = EndOfAviPart(bytes, 0);
    for (int i = 0; i < kMostParts && end != 0; ++i) {
        const uint64_t next = end + (end & 1);
        if (!bytes.Has(next, "RIFF") || !bytes.Has(next + 8, "AVIX"))
            break;
        end = EndOfAviPart(bytes, next);
    }
    return end;
}

} // namespace

uint64_t EndOfCodedType(HeaderBytes &bytes, uint64_t start)
{
    if (bytes.Has(start, "RIFF") && bytes.Has(start + 8, "AVI "))
        return EndOfAviPart(bytes, start);
    if (bytes.Has(start, "\x1A\x45\xDF\xA3"))
        return EndOfMatroska(bytes, start);
    if (bytes.Has(start, "\x30\x26\xB2\x75\x8E\x66\xCF\x11"))
        return EndOfAsf(bytes, start);
    if (bytes.Has(start, "DSD ") || bytes.Has(start, "FRM8"))
        return EndOfDsd(bytes, start);
    return 0;
}

uint64_t MissingFromCodedType(HeaderBytes &bytes)
{
    if (bytes.Has(4, "ftyp"))
        return MissingFromMp4(bytes);
    const bool avi = bytes.Has(0, "RIFF") && bytes.Has(8, "AVI ");
    return Shortfall(avi ? EndOfAvi(bytes) : EndOfCodedType(bytes, 0), bytes.size());
}

namespace {

// How far it is to the next byte that a block may begin with.
uint64_t BytesToSign(std::span<const unsigned char> bytes)
{
    return static_cast<uint64_t>(std::find(bytes.begin() + 1, bytes.end(), 'w') - bytes.begin());
}

} // namespace

// Other bytes can look like the name of a block.
bool WavPackBlocks::IsBlock(std::span<const unsigned char, kHeader> header) const
{
    constexpr std::string_view kName = "wvpk";
    constexpr uint64_t kLargest = uint64_t{1} << 20;
    if (!std::equal(kName.begin(), kName.end(), header.begin()))
        return false;
    const uint64_t size = 8 + LittleIn(header, 4, 4);
    return !lost_ || (size >= kHeader && size <= kLargest && LittleIn(header, 8, 2) >> 8 == 4 &&
                      LittleIn(header, 10, 2) == 0);
}

// What follows a block and is none: tags, after which another file may follow.
std::optional<uint64_t> WavPackBlocks::PassOther(std::span<const unsigned char, kHeader> header)
{
    if (begun_) {
        lost_ = true;
        return BytesToSign(header);
    }
    const uint64_t tag = tagged_ ? 0 : Id3Bytes(header);
    tagged_ = true;
    ended_ = tag == 0;
    return ended_ ? std::nullopt : std::optional(tag);
}

// Each block has a name, the size of what follows, a version, a byte each of place and count beyond 32 bits,
// the count of all frames, its place, its frames and flags. Blocks of more than two channels share a place,
// and the first of them has a flag; a block without frames holds other things.
std::optional<uint64_t> WavPackBlocks::TakeHeader(std::span<const unsigned char, kHeader> header)
{
    if (!IsBlock(header))
        return PassOther(header);
    begun_ = true;
    lost_ = false;
    const uint64_t counted = LittleIn(header, 12, 4);
    const uint64_t place = LittleIn(header, 16, 4);
    const uint64_t held = LittleIn(header, 20, 4);
    const bool first = held > 0 && frames_.counted == 0;
    const uint64_t size = 8 + LittleIn(header, 4, 4);
    if (size < kHeader || LittleIn(header, 10, 2) != 0 ||
        (first && (counted == 0 || counted == UINT32_MAX))) {
        ended_ = unknown_ = true;
        return std::nullopt;
    }
    if (first)
        frames_.counted = counted;
    if (held > 0) {
        constexpr uint64_t kFirstOfPlace = 0x800;
        const bool again = place == last_ && LittleIn(header, 24, 4) & kFirstOfPlace;
        if (first || place < last_ || again) { // of another file after this one
            before_ = frames_.held;
            first_ = place;
        }
        last_ = place;
        frames_.held = std::max(frames_.held, before_ + place - first_ + held);
    }
    return size;
}

void WavPackBlocks::Take(std::span<const unsigned char> bytes)
{
    while (!bytes.empty() && !ended_) {
        const auto passed = static_cast<size_t>(std::min<uint64_t>(left_, bytes.size()));
        left_ -= passed;
        bytes = bytes.subspan(passed);
        const size_t part = std::min(kHeader - have_, bytes.size());
        std::copy_n(bytes.begin(), part, header_.begin() + static_cast<ptrdiff_t>(have_));
        bytes = bytes.subspan(part);
        have_ += part;
        if (have_ < kHeader)
            return;
        const uint64_t step = TakeHeader(header_).value_or(kHeader);
        have_ -= static_cast<size_t>(std::min<uint64_t>(step, kHeader));
        std::copy(header_.end() - static_cast<ptrdiff_t>(have_), header_.end(), header_.begin());
        left_ = step - (kHeader - have_);
    }
}

namespace {

// Looks at all from a place to the end of the file.
void TakeRest(WavPackBlocks &blocks, HeaderBytes &bytes, uint64_t place)
{
    std::vector<unsigned char> part;
    for (; place < bytes.size(); place += part.size()) {
        if (InterruptNoted())
            throw Interrupted();
        part.resize(static_cast<size_t>(std::min<uint64_t>(bytes.size() - place, uint64_t{64} << 10)));
        if (!bytes.Fetch(place, part.data(), part.size()))
            return;
        blocks.Take(part);
    }
}

} // namespace

WavPackFrames FramesOfWavPack(HeaderBytes &bytes)
{
    constexpr int kMostBlocks = 1000000;
    uint64_t position = 0;
    WavPackBlocks blocks;
    std::array<unsigned char, WavPackBlocks::kHeader> header;
    for (int i = 0; i < kMostBlocks; ++i) {
        if (!bytes.Fetch(position, header.data(), header.size()))
            return blocks.frames();
        const std::optional<uint64_t> step = blocks.TakeHeader(header);
        if (!step)
            return blocks.frames();
        position += *step;
        if (blocks.IsLost()) {
            TakeRest(blocks, bytes, position);
            return blocks.frames();
        }
    }
    return {};
}

} // namespace tonekit::host
