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
    // How many headers were complete.
    uint64_t count() const { return count_; }
    // The last complete header, but for its checksum. Valid until the next bytes are taken.
    std::span<const unsigned char> header() const { return std::span(header_).first(headerSize_); }
    // Where the streams begin that follow one another: the first, and each after one that had gone on with
    // another.
    const std::vector<uint64_t> &starts() const { return starts_; }
    // Whether there was a page of a stream without its start.
    bool HasStray() const { return stray_; }
    // Whether a page differs from its checksum, pages are missing after audio of their stream, or a page says
    // that its audio ends long before that of an earlier one. Readers pass such pages over, or leave out what
    // is after that end.
    bool HasBroken() const { return broken_; }

private:
    struct Stream {
        uint32_t serial;
        uint32_t next;         // the number of its next page
        bool hasAudio;         // in the last page; before it, what comes may be a later part of a broadcast
        uint64_t position = 0; // where the audio of its pages ends, in samples
    };

    void TakeHeader();
    void TakeNumber(Stream &stream);
    void TakePosition(Stream &stream);
    void CheckSum();

    static constexpr size_t kFixed = 27; // bytes before the sizes of a page's segments
    std::array<unsigned char, kFixed + 255> header_ = {};
    size_t have_ = 0;   // bytes of the header
    uint64_t left_ = 0; // bytes of the page's content
    uint64_t position_ = 0;
    uint32_t sum_ = 0; // of the page so far
    uint32_t expectedSum_ = 0;
    uint64_t count_ = 0;
    size_t headerSize_ = 0;
    bool wentOn_ = true;
    bool stray_ = false;
    bool skipped_ = false; // bytes before the page that are none of any
    bool broken_ = false;
    std::vector<uint64_t> starts_;
    std::vector<Stream> streams_; // those that began together last
};

// All pages of a file. Its position stays. Throws std::system_error if the system fails.
OggPages PagesOfOgg(ByteStream &file);

} // namespace tonekit::host
