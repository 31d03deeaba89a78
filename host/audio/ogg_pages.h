// ogg_pages.h: from page to page of an Ogg file, in which several streams can follow one another.
#pragma once

#include "host/system/byte_stream.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tonekit::host {

// Follows the pages as their bytes come, and looks for the next page after bytes that are none.
class OggPages {
public:
    // The bytes that follow those taken before.
    void Take(std::span<const unsigned char> bytes);
    // How many bytes follow at least before a header is complete, or up to the next header.
    uint64_t BytesToGo() const;
    bool IsInContent() const { return left_ > 0; }
    bool IsInHeader() const { return have_ > 0; }
    // Takes the rest of a page's content for taken.
    void SkipContent();
    // The size of the last complete header.
    size_t headerSize() const { return headerSize_; }
    // Where the streams begin that follow one another: the first, and each after one that had gone on with
    // another.
    const std::vector<uint64_t> &starts() const { return starts_; }
    // Whether there was a page of a stream without its start.
    bool HasStray() const { return stray_; }

private:
    void TakeHeader();

    static constexpr size_t kFixed = 27; // bytes before the sizes of a page's segments
    std::array<unsigned char, kFixed + 255> header_ = {};
    size_t have_ = 0;   // bytes of the header
    uint64_t left_ = 0; // bytes of the page's content
    uint64_t position_ = 0;
    size_t headerSize_ = 0;
    bool wentOn_ = true;
    bool stray_ = false;
    std::vector<uint64_t> starts_;
    std::vector<uint32_t> serials_; // of the streams that began together last
};

// All pages of a file. Its position stays. Throws std::system_error if the system fails.
OggPages PagesOfOgg(ByteStream &file);

} // namespace tonekit::host
