// ogg_pages.cpp: from the header of one page to that of the next.
#include "host/audio/ogg_pages.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <system_error>
#include <vector>

namespace tonekit::host {

void OggPages::Take(std::span<const unsigned char> bytes)
{
    while (!bytes.empty() && !lost_) {
        if (left_ > 0) {
            const auto passed = static_cast<size_t>(std::min<uint64_t>(left_, bytes.size()));
            left_ -= passed;
            bytes = bytes.subspan(passed);
            continue;
        }
        header_[have_++] = bytes.front();
        bytes = bytes.subspan(1);
        if (have_ >= kFixed && have_ == kFixed + header_[kFixed - 1])
            TakeHeader();
    }
}

void OggPages::TakeHeader()
{
    constexpr unsigned char kFirst = 2;
    lost_ = std::memcmp(header_.data(), "OggS", 4) != 0;
    const bool first = header_[5] & kFirst;
    laterStream_ = laterStream_ || (!lost_ && first && wentOn_);
    wentOn_ = wentOn_ || !first;
    left_ = std::accumulate(header_.begin() + kFixed, header_.begin() + static_cast<ptrdiff_t>(have_),
                            uint64_t{0});
    have_ = 0;
}

bool HasLaterOggStream(ByteStream &file)
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
        place += got + pages.BytesToHeader();
        pages.Skip();
    } while (got > 0 && !pages.IsLost() && !pages.HasLaterStream());
    check(file.SeekTo(before));
    return pages.HasLaterStream();
}

} // namespace tonekit::host
