// ogg_pages.cpp: from the header of one page to that of the next.
#include "host/audio/ogg_pages.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <system_error>

namespace tonekit::host {

namespace {

constexpr unsigned char kMark[] = {'O', 'g', 'g', 'S'};

} // namespace

uint64_t OggPages::BytesToGo() const
{
    if (left_ > 0)
        return left_;
    return (have_ < kFixed ? kFixed : kFixed + header_[kFixed - 1]) - have_;
}

void OggPages::SkipContent()
{
    position_ += left_;
    left_ = 0;
}

void OggPages::Take(std::span<const unsigned char> bytes)
{
    while (!bytes.empty()) {
        if (left_ > 0) {
            const auto passed = static_cast<size_t>(std::min<uint64_t>(left_, bytes.size()));
            left_ -= passed;
            position_ += passed;
            bytes = bytes.subspan(passed);
            continue;
        }
        header_[have_++] = bytes.front();
        ++position_;
        bytes = bytes.subspan(1);
        if (have_ <= sizeof(kMark) && header_[have_ - 1] != kMark[have_ - 1]) {
            header_[0] = header_[have_ - 1];
            have_ = header_[0] == kMark[0] ? 1 : 0;
        }
        if (have_ >= kFixed && have_ == kFixed + header_[kFixed - 1])
            TakeHeader();
    }
}

void OggPages::TakeHeader()
{
    constexpr unsigned char kFirst = 2;
    constexpr size_t kTypeAt = 5;
    constexpr size_t kSerialAt = 14;
    uint32_t serial = 0;
    std::memcpy(&serial, &header_[kSerialAt], sizeof(serial));
    const bool first = header_[kTypeAt] & kFirst;
    if (first && wentOn_) {
        starts_.push_back(position_ - have_);
        serials_.clear();
    }
    if (first)
        serials_.push_back(serial);
    else if (std::find(serials_.begin(), serials_.end(), serial) == serials_.end())
        stray_ = true;
    wentOn_ = !first;
    left_ = std::accumulate(header_.begin() + kFixed, header_.begin() + static_cast<ptrdiff_t>(have_),
                            uint64_t{0});
    headerSize_ = have_;
    have_ = 0;
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
    std::vector<unsigned char> block(4096);
    size_t got = 0;
    uint64_t place = 0;
    do {
        check(file.SeekTo(place));
        check(file.Read(block.data(), block.size(), got));
        pages.Take(std::span(block).first(got));
        place += got;
        if (pages.IsInContent()) {
            place += pages.BytesToGo();
            pages.SkipContent();
        }
    } while (got > 0);
    check(file.SeekTo(before));
    return pages;
}

} // namespace tonekit::host
