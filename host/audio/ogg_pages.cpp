// ogg_pages.cpp: from the header of one page to that of the next.
#include "host/audio/ogg_pages.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <system_error>

namespace tonekit::host {

namespace {

constexpr unsigned char kMark[] = {'O', 'g', 'g', 'S'};

constexpr size_t kTypeAt = 5;
constexpr size_t kGranuleAt = 6;
constexpr size_t kSerialAt = 14;
constexpr size_t kNumberAt = 18;
constexpr size_t kSumAt = 22;

constexpr size_t kStep = 8; // bytes taken at once

// What a byte adds to the checksum if so many bytes follow it in a step. The polynomial is 0x04C11DB7, the
// highest bit first.
constexpr std::array<std::array<uint32_t, 256>, kStep> MakeSums()
{
    std::array<std::array<uint32_t, 256>, kStep> sums{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t sum = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1 ^ (sum >> 31 != 0 ? 0x04C11DB7 : 0);
        sums[0][byte] = sum;
    }
    for (size_t after = 1; after < kStep; ++after)
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t before = sums[after - 1][byte];
            sums[after][byte] = before << 8 ^ sums[0][before >> 24];
        }
    return sums;
}

constexpr auto kSums = MakeSums();

uint32_t BigAt(const unsigned char *bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

uint32_t Summed(uint32_t sum, std::span<const unsigned char> bytes)
{
    for (; bytes.size() >= kStep; bytes = bytes.subspan(kStep)) {
        const uint32_t first = sum ^ BigAt(bytes.data());
        sum = kSums[7][first >> 24] ^ kSums[6][first >> 16 & 0xFF] ^ kSums[5][first >> 8 & 0xFF] ^
              kSums[4][first & 0xFF] ^ kSums[3][bytes[4]] ^ kSums[2][bytes[5]] ^ kSums[1][bytes[6]] ^
              kSums[0][bytes[7]];
    }
    for (const unsigned char byte : bytes)
        sum = sum << 8 ^ kSums[0][sum >> 24 ^ byte];
    return sum;
}

uint32_t Little32(const unsigned char *bytes)
{
    return uint32_t{bytes[3]} << 24 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[1]} << 8 | bytes[0];
}

} // namespace

uint64_t OggPages::BytesToGo() const
{
    if (left_ > 0)
        return left_;
    return (have_ < kFixed ? kFixed : kFixed + header_[kFixed - 1]) - have_;
}

void OggPages::Take(std::span<const unsigned char> bytes)
{
    while (!bytes.empty()) {
        if (left_ > 0) {
            const auto passed = static_cast<size_t>(std::min<uint64_t>(left_, bytes.size()));
            sum_ = Summed(sum_, bytes.first(passed));
            left_ -= passed;
            position_ += passed;
            bytes = bytes.subspan(passed);
            CheckSum();
            continue;
        }
        header_[have_++] = bytes.front();
        ++position_;
        bytes = bytes.subspan(1);
        if (have_ <= sizeof(kMark) && header_[have_ - 1] != kMark[have_ - 1]) {
            skipped_ = true;
            header_[0] = header_[have_ - 1];
            have_ = header_[0] == kMark[0] ? 1 : 0;
        }
        if (have_ >= kFixed && have_ == kFixed + header_[kFixed - 1])
            TakeHeader();
    }
}

void OggPages::CheckSum()
{
    broken_ = broken_ || (left_ == 0 && sum_ != expectedSum_);
}

void OggPages::TakeNumber(Stream &stream)
{
    const uint32_t number = Little32(&header_[kNumberAt]);
    broken_ = broken_ || ((stream.hasAudio || skipped_) && number != stream.next);
    stream.next = number + 1;
    stream.hasAudio =
        std::any_of(&header_[kGranuleAt], &header_[kSerialAt], [](unsigned char byte) { return byte != 0; });
}

// The last page may end before the audio of its packets does, which is how a stream gets a length that is no
// multiple of theirs; the last packets may have pages of their own.
void OggPages::TakePosition(Stream &stream)
{
    constexpr uint64_t kMostCut = 8192; // the largest packet
    const uint64_t position =
        uint64_t{Little32(&header_[kGranuleAt + 4])} << 32 | Little32(&header_[kGranuleAt]);
    if (position == 0 || position > INT64_MAX) // a header, or no packet ends here
        return;
    broken_ = broken_ || position + kMostCut < stream.position;
    stream.position = position;
}

void OggPages::TakeHeader()
{
    constexpr unsigned char kFirst = 2;
    const uint32_t serial = Little32(&header_[kSerialAt]);
    const bool first = header_[kTypeAt] & kFirst;
    if (first && wentOn_) {
        starts_.push_back(position_ - have_);
        streams_.clear();
    }
    if (first)
        streams_.push_back({serial, Little32(&header_[kNumberAt]), false, 0});
    const auto stream = std::find_if(streams_.begin(), streams_.end(),
                                     [&](const Stream &one) { return one.serial == serial; });
    if (stream == streams_.end()) {
        stray_ = true;
    } else {
        TakeNumber(*stream);
        TakePosition(*stream);
    }
    wentOn_ = !first;
    left_ = std::accumulate(header_.begin() + kFixed, header_.begin() + static_cast<ptrdiff_t>(have_),
                            uint64_t{0});
    ++count_;
    headerSize_ = have_;
    expectedSum_ = Little32(&header_[kSumAt]);
    std::memset(&header_[kSumAt], 0, sizeof(expectedSum_));
    sum_ = Summed(0, std::span(header_).first(have_));
    have_ = 0;
    skipped_ = false;
    CheckSum();
}

OggPages PagesOfOgg(ByteStream &file)
{
    const auto check = [](const std::error_code &error) {
        if (error)
            throw std::system_error(error);
    };
    uint64_t before = 0;
    check(file.Tell(before));
    OggPages pages;
    std::vector<unsigned char> block(size_t{64} << 10);
    size_t got = 0;
    check(file.SeekTo(0));
    do {
        check(file.Read(block.data(), block.size(), got));
        pages.Take(std::span(block).first(got));
    } while (got > 0);
    check(file.SeekTo(before));
    return pages;
}

} // namespace tonekit::host
