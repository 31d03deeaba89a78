// flac_end.cpp: finds the last frame of a FLAC stream by its header and its two checksums.
#include "host/audio/flac_end.h"

#include "host/audio/flac_blocks.h"
#include "host/audio/header_bytes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>
#include <vector>

namespace tonekit::host {

namespace {

constexpr size_t kLargestHeader = 16;

// The checksums have the highest bit first. That of a frame's header is 8 bits, that of a frame 16; with its
// checksum after it, and zeros after that, a frame has the checksum 0.
constexpr std::array<uint32_t, 256> MakeSums(int bits, uint32_t polynomial)
{
    std::array<uint32_t, 256> sums{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t sum = byte << (bits - 8);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1 ^ ((sum >> (bits - 1) & 1) != 0 ? polynomial : 0);
        sums[byte] = sum & ((1u << bits) - 1);
    }
    return sums;
}

constexpr auto kHeaderSums = MakeSums(8, 0x07);
constexpr auto kFrameSums = MakeSums(16, 0x8005);

bool HasHeaderSum(std::span<const unsigned char> header, unsigned char expected)
{
    uint32_t sum = 0;
    for (const unsigned char byte : header)
        sum = kHeaderSums[sum ^ byte];
    return sum == expected;
}

uint32_t Summed(uint32_t sum, unsigned char byte)
{
    return (sum << 8 & 0xFF00) ^ kFrameSums[sum >> 8 ^ byte];
}

bool IsWholeFrame(std::span<const unsigned char> frame)
{
    uint32_t sum = 0;
    for (const unsigned char byte : frame)
        sum = Summed(sum, byte);
    return sum == 0;
}

struct FrameHeader {
    bool variable = false;
    uint64_t number = 0;
    uint32_t block = 0;
    uint32_t channels = 0;
    uint32_t bits = 0; // 0: as the stream's header says
};

uint32_t BlockOf(uint32_t code, const unsigned char *more)
{
    switch (code) {
    case 1:
        return 192;
    case 6:
        return more[0] + 1u;
    case 7:
        return (uint32_t{more[0]} << 8 | more[1]) + 1;
    default:
        return code < 6 ? 576u << (code - 2) : 256u << (code - 8);
    }
}

// The number is written as UTF-8 writes characters, in up to 7 bytes. A size of the block and a rate that no
// code means follow it.
std::optional<FrameHeader> HeaderIn(std::span<const unsigned char> bytes)
{
    constexpr uint32_t kReserved = 3;
    constexpr uint32_t kBitsOf[] = {0, 8, 12, kReserved, 16, 20, 24, 32};
    constexpr size_t kNumberAt = 4;
    if (bytes.size() <= kNumberAt || bytes[0] != 0xFF || (bytes[1] & 0xFE) != 0xF8 || (bytes[3] & 1) != 0)
        return std::nullopt;
    const uint32_t blockCode = bytes[2] >> 4;
    const uint32_t rateCode = bytes[2] & 15;
    const uint32_t assignment = bytes[3] >> 4;
    const auto ones = static_cast<size_t>(std::countl_one(bytes[kNumberAt]));
    if (blockCode == 0 || rateCode == 15 || assignment > 10 || ones == 1 || ones > 7)
        return std::nullopt;
    const size_t blockAt = kNumberAt + std::max<size_t>(ones, 1);
    const size_t rateAt = blockAt + (blockCode == 6 ? 1 : blockCode == 7 ? 2 : 0);
    const size_t sumAt = rateAt + (rateCode < 12 ? 0 : rateCode == 12 ? 1 : 2);
    if (bytes.size() <= sumAt || !HasHeaderSum(bytes.first(sumAt), bytes[sumAt]))
        return std::nullopt;
    FrameHeader header;
    header.variable = bytes[1] & 1;
    header.number = bytes[kNumberAt] & (ones == 0 ? 0xFFu : 0x7Fu >> ones);
    for (size_t i = kNumberAt + 1; i < blockAt; ++i)
        header.number = header.number << 6 | (bytes[i] & 0x3F);
    header.block = BlockOf(blockCode, &bytes[blockAt]);
    header.channels = assignment < 8 ? assignment + 1 : 2;
    header.bits = kBitsOf[bytes[3] >> 1 & 7];
    return header;
}

// The header of a frame that can belong to the stream.
std::optional<FrameHeader> HeaderOf(const FlacForm &form, std::span<const unsigned char> bytes)
{
    const std::optional<FrameHeader> header = HeaderIn(bytes);
    const bool fits = header && header->variable == form.variable && header->channels == form.channels &&
                      (header->bits == 0 || header->bits == form.bits) && header->block <= form.largestBlock;
    return fits ? header : std::nullopt;
}

// Frames of sound up to the end of this frame.
uint64_t EndOf(const FlacForm &form, const FrameHeader &header)
{
    const uint64_t unit = form.variable ? 1 : form.block;
    if (header.number < form.firstNumber || (header.number > form.firstNumber && unit == 0))
        return 0;
    return (header.number - form.firstNumber) * unit + header.block;
}

// The size without tags of other types, which some programs put at the end; 0 if one is larger.
size_t WithoutTags(std::span<const unsigned char> bytes)
{
    constexpr size_t kId3 = 128;
    constexpr size_t kApe = 32;
    size_t size = bytes.size();
    if (size >= kId3 && std::memcmp(&bytes[size - kId3], "TAG", 3) == 0)
        size -= kId3;
    if (size >= kApe && std::memcmp(&bytes[size - kApe], "APETAGEX", 8) == 0) {
        const unsigned char *const footer = &bytes[size - kApe];
        const uint64_t tag = (uint64_t{footer[15]} << 24 | uint64_t{footer[14]} << 16 |
                              uint64_t{footer[13]} << 8 | footer[12]) +
                             (footer[23] & 0x80 ? kApe : 0);
        size -= static_cast<size_t>(std::min<uint64_t>(tag, size));
    }
    return size;
}

// The place of the last byte before `end` that a frame can begin with; 0 if there is none.
size_t LastStart(std::span<const unsigned char> bytes, size_t end)
{
    size_t place = end - 1;
    while (place > 0 && bytes[place] != 0xFF)
        --place;
    return place;
}

// Whether what follows a frame is none of another one, be it a tag or a few bytes.
bool IsForeign(std::span<const unsigned char> bytes)
{
    constexpr size_t kFew = 32; // so few that a frame's checksum isn't right by chance there
    constexpr std::string_view kTags[] = {"ID3", "TAG", "APETAGEX", "LYRICSBEGIN"};
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const bool isStart = !bytes.empty() && bytes.front() == 0xFF; // of a header
    return (text.size() <= kFew && !isStart) ||
           std::any_of(std::begin(kTags), std::end(kTags),
                       [&](std::string_view tag) { return text.substr(0, tag.size()) == tag; });
}

// Whether a frame that begins here ends before something else.
bool HasEnd(std::span<const unsigned char> bytes)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        sum = Summed(sum, bytes[i]);
        if (sum == 0 && i > 0 && IsForeign(bytes.subspan(i + 1)))
            return true;
    }
    return false;
}

// The last whole frame that another one follows, or that one.
FlacEnd EndOfCut(const FlacForm &form, std::span<const unsigned char> tail)
{
    FlacEnd end;
    std::optional<FrameHeader> before;
    FrameHeader last;
    size_t start = 0;
    size_t lastStart = 0;
    for (size_t place = 0; place < tail.size(); ++place) {
        const std::optional<FrameHeader> header = HeaderOf(form, tail.subspan(place));
        if (!header)
            continue;
        if (before && IsWholeFrame(tail.subspan(start, place - start))) {
            end = {true, EndOf(form, *before)};
            last = *header;
            lastStart = place;
        }
        before = header;
        start = place;
    }
    return end.isCut && HasEnd(tail.subspan(lastStart)) ? FlacEnd{false, EndOf(form, last)} : end;
}

} // namespace

size_t FlacForm::TailBytes() const
{
    // A frame whose samples are as they are; one channel of two can be a difference with a bit more.
    const size_t largestFrame =
        kLargestHeader + 2 + channels * (1 + (size_t{largestBlock} * (bits + 1) + 7) / 8);
    constexpr size_t kTags = 4096;
    return 2 * largestFrame + kTags;
}

bool FlacEnd::Contradicts(const FlacForm &form) const
{
    return form.counted == 0 ? isCut : frames > form.counted;
}

std::optional<FlacForm> FormOfFlac(ByteStream &stream, uint64_t start)
{
    HeaderBytes bytes(stream, start);
    constexpr uint64_t kInfo = 8; // the content of the first block, after the name, its type and its size
    if (!bytes.Has(0, "fLaC") || (bytes.Big(4, 1) & 0x7F) != 0)
        return std::nullopt;
    FlacForm form;
    const uint64_t smallestBlock = bytes.Big(kInfo, 2);
    form.largestBlock = static_cast<uint32_t>(bytes.Big(kInfo + 2, 2));
    const uint64_t numbers = bytes.Big(kInfo + 10, 8); // 20 bits of rate, 3, 5 and 36
    form.channels = static_cast<uint32_t>(numbers >> 41 & 7) + 1;
    form.bits = static_cast<uint32_t>(numbers >> 36 & 31) + 1;
    form.counted = numbers & ((uint64_t{1} << 36) - 1);

    constexpr uint64_t kLast = 0x80;
    uint64_t place = 4;
    uint64_t type = 0;
    for (int i = 0; i < kMostFlacBlocks && (type & kLast) == 0; ++i) {
        type = bytes.Big(place, 1);
        place += 4 + bytes.Big(place + 1, 3);
        if (!bytes.ok())
            return std::nullopt;
    }
    unsigned char first[kLargestHeader] = {};
    const uint64_t left = bytes.size() - std::min(bytes.size(), place);
    const auto size = static_cast<size_t>(std::min<uint64_t>(left, sizeof(first)));
    const std::optional<FrameHeader> header =
        bytes.Fetch(place, first, size) ? HeaderIn(std::span(first).first(size)) : std::nullopt;
    if (!header)
        return std::nullopt;
    form.firstFrame = start + place;
    form.firstNumber = header->number;
    form.variable = header->variable;
    const bool known = smallestBlock == form.largestBlock && header->block == form.largestBlock;
    form.block = known ? form.largestBlock : 0;
    return form;
}

FlacEnd EndOfFlac(const FlacForm &form, std::span<const unsigned char> tail)
{
    tail = tail.first(WithoutTags(tail));
    // What looks like a header may be in the last frame too.
    constexpr int kMostTried = 4;
    size_t place = tail.size();
    for (int tried = 0; tried < kMostTried && place > 0;) {
        place = LastStart(tail, place);
        const std::optional<FrameHeader> header = HeaderOf(form, tail.subspan(place));
        if (!header)
            continue;
        if (IsWholeFrame(tail.subspan(place)))
            return {false, EndOf(form, *header)};
        ++tried;
    }
    return EndOfCut(form, tail);
}

FlacEnd EndOfFlac(const FlacForm &form, ByteStream &file)
{
    HeaderBytes bytes(file, form.firstFrame);
    std::vector<unsigned char> tail(static_cast<size_t>(std::min<uint64_t>(bytes.size(), form.TailBytes())));
    return bytes.Fetch(bytes.size() - tail.size(), tail.data(), tail.size()) ? EndOfFlac(form, tail)
                                                                             : FlacEnd();
}

} // namespace tonekit::host
