// header_channels.cpp: the comment with a mask in FLAC, and channel layouts in CAF and AIFF.
#include "host/audio/header_channels.h"

#include "host/audio/chunks.h"
#include "host/audio/flac_blocks.h"
#include "host/audio/header_bytes.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <vector>

namespace tonekit::host {

namespace {

// No more can be converted.
constexpr uint64_t kMostChannels = 8;

std::optional<NamedChannels> FromMask(uint64_t mask)
{
    std::vector<int> numbers;
    for (int i = 0; i < 64; ++i) {
        if (mask >> i & 1)
            numbers.push_back(i);
    }
    return numbers.empty() ? std::nullopt : FromNumbers(numbers);
}

// The text of the mask if the comment, "KEY=text", is that one. Its key may be in small letters.
std::optional<std::string> MaskTextOf(const std::string &comment)
{
    const std::string_view key = kChannelMaskKey;
    const auto alike = [](unsigned char a, unsigned char b) { return a == std::toupper(b); };
    if (comment.size() <= key.size() || comment[key.size()] != '=' ||
        !std::equal(key.begin(), key.end(), comment.begin(), alike))
        return std::nullopt;
    return comment.substr(key.size() + 1);
}

std::optional<NamedChannels> FromMaskText(const std::string &text)
{
    constexpr size_t kMostDigits = 16;
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto isDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
    if (!hexadecimal || text.size() < 3 || text.size() > 2 + kMostDigits ||
        !std::all_of(text.begin() + 2, text.end(), isDigit))
        return std::nullopt;
    return FromMask(std::strtoull(text.c_str(), nullptr, 16));
}

// A block of comments: their writer's name, how many there are, and each with its length before it.
std::optional<NamedChannels> FromComments(HeaderBytes &bytes, uint64_t place, uint64_t end)
{
    constexpr uint64_t kLongest = 64; // of comments that can be the one
    constexpr uint64_t kMostComments = 10000;
    place += 4 + bytes.Little(place, 4);
    const uint64_t count = std::min(bytes.Little(place, 4), kMostComments);
    place += 4;
    for (uint64_t i = 0; i < count && bytes.ok() && place + 4 <= end; ++i) {
        const uint64_t length = bytes.Little(place, 4);
        place += 4;
        if (length <= kLongest && place + length <= end) {
            std::string comment(static_cast<size_t>(length), '\0');
            if (!bytes.Fetch(place, comment.data(), comment.size()))
                return std::nullopt;
            if (const std::optional<std::string> text = MaskTextOf(comment))
                return FromMaskText(*text);
        }
        place += length;
    }
    return std::nullopt;
}

// Blocks: a byte with the type and a mark on the last one, a length of three bytes, and what they hold. One
// or two channels need no names.
std::optional<NamedChannels> FromFlac(HeaderBytes &bytes)
{
    constexpr uint64_t kLast = 0x80;
    constexpr uint64_t kComments = 4;
    constexpr uint64_t kChannelsAt = 20; // in the first block, after a bit of the rate
    uint64_t place = 4;
    if ((bytes.Big(kChannelsAt, 1) >> 1 & 7) < 2)
        return std::nullopt;
    for (int i = 0; i < kMostFlacBlocks; ++i) {
        const uint64_t type = bytes.Big(place, 1);
        const uint64_t length = bytes.Big(place + 1, 3);
        if (!bytes.ok())
            return std::nullopt;
        place += 4;
        if ((type & ~kLast) == kComments)
            return FromComments(bytes, place, place + length);
        if (type & kLast)
            return std::nullopt;
        place += length;
    }
    return std::nullopt;
}

// The number of the loudspeaker that a layout calls by this label; -1 if WAV files have no number for it.
// Rear loudspeakers have a label of their own where others are at the side.
int NumberOfLabel(uint64_t label, bool hasRear)
{
    constexpr uint64_t kRearLeft = 33;
    constexpr uint64_t kRearRight = 34;
    constexpr uint64_t kSurroundLeft = 5;
    constexpr uint64_t kSurroundRight = 6;
    constexpr uint64_t kLastLabel = 18;
    constexpr int kNumberOfRear = 4;
    constexpr int kNumberOfSide = 9;
    if (label == kRearLeft || label == kRearRight)
        return kNumberOfRear + static_cast<int>(label - kRearLeft);
    if (hasRear && (label == kSurroundLeft || label == kSurroundRight))
        return kNumberOfSide + static_cast<int>(label - kSurroundLeft);
    return label >= 1 && label <= kLastLabel ? static_cast<int>(label) - 1 : -1;
}

std::optional<NamedChannels> FromLabels(HeaderBytes &bytes, uint64_t place, uint64_t count)
{
    constexpr uint64_t kDescription = 20;
    constexpr uint64_t kRear[] = {33, 34};
    if (count == 0 || count > kMostChannels)
        return std::nullopt;
    std::vector<uint64_t> labels;
    for (uint64_t i = 0; i < count; ++i) {
        labels.push_back(bytes.Big(place + i * kDescription, 4));
        if (!bytes.ok())
            return std::nullopt;
    }
    const bool hasRear =
        std::find_first_of(labels.begin(), labels.end(), std::begin(kRear), std::end(kRear)) != labels.end();
    std::vector<int> numbers;
    for (const uint64_t label : labels)
        numbers.push_back(NumberOfLabel(label, hasRear));
    return FromNumbers(numbers);
}

// A layout: a tag that says where the rest is to be looked for, a bitmap, and how many labels follow. The
// other tags are libsndfile's to read.
std::optional<NamedChannels> FromLayout(HeaderBytes &bytes, const std::optional<Chunk> &chunk)
{
    constexpr uint64_t kLabels = 0;
    constexpr uint64_t kBitmap = 1u << 16;
    constexpr uint64_t kHead = 12;
    if (!chunk || chunk->size < kHead)
        return std::nullopt;
    const uint64_t tag = bytes.Big(chunk->content, 4);
    const uint64_t bitmap = bytes.Big(chunk->content + 4, 4);
    const uint64_t count = bytes.Big(chunk->content + 8, 4);
    if (!bytes.ok())
        return std::nullopt;
    if (tag == kLabels)
        return FromLabels(bytes, chunk->content + kHead, count);
    return tag == kBitmap ? FromMask(bitmap) : std::nullopt;
}

} // namespace

std::string ChannelMaskText(Loudspeakers loudspeakers)
{
    constexpr const char *kDigits = "0123456789ABCDEF";
    std::string text;
    for (; loudspeakers != 0 || text.size() < 4; loudspeakers >>= 4)
        text.insert(text.begin(), kDigits[loudspeakers & 15]);
    return "0x" + text;
}

std::optional<NamedChannels> ChannelsInHeader(ByteStream &stream, uint64_t start)
{
    HeaderBytes bytes(stream, start);
    if (bytes.Has(0, "fLaC"))
        return FromFlac(bytes);
    if (bytes.Has(0, "caff"))
        return FromLayout(bytes, FindChunk(bytes, "chan", kCaf, "data"));
    if (bytes.Has(0, "FORM") && bytes.Has(8, "AIF"))
        return FromLayout(bytes, FindChunk(bytes, "CHAN", kBigRiff, "SSND"));
    return std::nullopt;
}

} // namespace tonekit::host
