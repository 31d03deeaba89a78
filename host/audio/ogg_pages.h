// ogg_pages.h: whether an Ogg file or stream holds several streams, one after another.
#pragma once

#include "host/system/byte_stream.h"

#include <array>
#include <cstdint>
#include <span>

namespace tonekit::host {

// Follows the pages as their bytes come.
class OggPages {
public:
    // The bytes that follow those taken before.
    void Take(std::span<const unsigned char> bytes);
    // Whether a page began a stream after one that had gone on with another.
    bool HasLaterStream() const { return laterStream_; }
    // The bytes from those taken up to the next header. Skip takes them for taken.
    uint64_t BytesToHeader() const { return left_; }
    void Skip() { left_ = 0; }
    // What came wasn't a page; nothing is looked at any longer.
    bool IsLost() const { return lost_; }

private:
    void TakeHeader();

    static constexpr size_t kFixed = 27; // bytes before the sizes of a page's segments
    std::array<unsigned char, kFixed + 255> header_ = {};
    size_t have_ = 0;   // bytes of the header
    uint64_t left_ = 0; // bytes of the page's content
    bool wentOn_ = false;
    bool laterStream_ = false;
    bool lost_ = false;
};

// The same of a whole file. Its position stays. Throws std::system_error if the system fails.
bool HasLaterOggStream(ByteStream &file);

} // namespace tonekit::host
