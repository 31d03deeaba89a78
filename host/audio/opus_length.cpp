// opus_length.cpp: from the position of the first page with sound to that of the last.
#include "host/audio/opus_length.h"

#include "host/audio/header_bytes.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr size_t kFixed = 27; // bytes before the sizes of a page's segments
constexpr size_t kFlagsAt = 5;
constexpr size_t kPositionAt = 6;
constexpr size_t kSerialAt = 14;
constexpr unsigned char kContinued = 1;
constexpr unsigned char kFirst = 2;
constexpr unsigned char kLast = 4;
constexpr unsigned char kFullSegment = 255; // after which its packet goes on

// The first byte of a packet says how long its frames are and how many; if any number, the second does.
int64_t FramesOfPacket(std::span<const unsigned char> packet)
{
    constexpr int64_t kSpeech[] = {480, 960, 1920, 2880};
    constexpr int64_t kMusic[] = {120, 240, 480, 960};
    constexpr unsigned kAnyCount = 3;
    if (packet.empty())
        return 0;
    const unsigned kind = packet[0] >> 3;
    const int64_t size = kind < 12 ? kSpeech[kind & 3] : kind < 16 ? kSpeech[kind & 1] : kMusic[kind & 3];
    const unsigned code = packet[0] & 3;
    if (code == kAnyCount)
        return packet.size() > 1 ? size * (packet[1] & 0x3F) : 0;
    return code == 0 ? size : 2 * size;
}

} // namespace

bool OpusLength::IsOurs(std::span<const unsigned char> header) const
{
    return isOpus_ && LittleIn(header, kSerialAt, 4) == serial_;
}

bool OpusLength::Needs(std::span<const unsigned char> header) const
{
    return !start_ && (header[kFlagsAt] & kFirst || (hasTags_ && IsOurs(header)));
}

void OpusLength::TakeFirst(std::span<const unsigned char> header, std::span<const unsigned char> content)
{
    constexpr std::string_view kName = "OpusHead";
    constexpr size_t kLeadAt = 10;
    if (isOpus_ || content.size() < kLeadAt + 2 || !std::equal(kName.begin(), kName.end(), content.begin()))
        return;
    isOpus_ = true;
    serial_ = LittleIn(header, kSerialAt, 4);
    lead_ = static_cast<int64_t>(LittleIn(content, kLeadAt, 2));
}

// What goes on here and began before the first page is no packet.
void OpusLength::CountPackets(std::span<const unsigned char> header, std::span<const unsigned char> content)
{
    bool begins = !(header[kFlagsAt] & kContinued);
    for (const unsigned char segment : header.subspan(kFixed)) {
        if (begins)
            unfinished_ = FramesOfPacket(content.first(std::min<size_t>(content.size(), segment)));
        begins = segment != kFullSegment;
        if (begins) {
            decoded_ += unfinished_.value_or(0);
            unfinished_.reset();
        }
        content = content.subspan(std::min<size_t>(content.size(), segment));
    }
}

void OpusLength::TakePage(std::span<const unsigned char> header, std::span<const unsigned char> content)
{
    if (header[kFlagsAt] & kFirst)
        return TakeFirst(header, content);
    if (!IsOurs(header))
        return;
    const auto segments = header.subspan(kFixed);
    if (!hasTags_) { // a page ends after them
        hasTags_ = std::any_of(segments.begin(), segments.end(),
                               [](unsigned char segment) { return segment != kFullSegment; });
        return;
    }
    if (!start_)
        CountPackets(header, content);
    last_ = header[kFlagsAt] & kLast;
    const auto position = static_cast<int64_t>(LittleIn(header, kPositionAt, 8));
    if (position < 0) // no packet ends here
        return;
    // The last page may end before its packets do.
    if (!start_)
        start_ = last_ ? std::max<int64_t>(position - decoded_, 0) : position - decoded_;
    end_ = position;
}

std::optional<uint64_t> OpusLength::frames() const
{
    if (!last_ || !start_ || *start_ < 0 || end_ < *start_)
        return std::nullopt;
    return static_cast<uint64_t>(std::max<int64_t>(end_ - *start_ - lead_, 0));
}

} // namespace tonekit::host
