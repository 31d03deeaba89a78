// opus_length.h: how long a stream of Opus in Ogg is, by its pages.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace tonekit::host {

// Follows the pages of streams that begin together, one of which may be Opus. A broadcast begins at any
// position, wherever it was joined; what the decoder needs to begin is left out there too.
class OpusLength {
public:
    // Whether the content of a page with this header is needed.
    bool Needs(std::span<const unsigned char> header) const;
    // The next page; its content may be empty where it isn't needed.
    void TakePage(std::span<const unsigned char> header, std::span<const unsigned char> content);

    // Frames of 48000 Hz. Nothing before the last page, if the positions of the pages make no sense, or for
    // anything but Opus.
    std::optional<uint64_t> frames() const;

private:
    bool IsOurs(std::span<const unsigned char> header) const;
    void TakeFirst(std::span<const unsigned char> header, std::span<const unsigned char> content);
    void CountPackets(std::span<const unsigned char> header, std::span<const unsigned char> content);

    bool isOpus_ = false;
    uint64_t serial_ = 0;
    bool hasTags_ = false;              // all of its second header
    int64_t lead_ = 0;                  // frames that the decoder needs to begin
    int64_t decoded_ = 0;               // frames of packets that end before the first position
    std::optional<int64_t> unfinished_; // frames of a packet that goes on with the next page
    std::optional<int64_t> start_;
    int64_t end_ = 0;
    bool last_ = false; // page
};

} // namespace tonekit::host
