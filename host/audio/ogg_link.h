// ogg_link.h: each of the streams that follow one another in a pipe, as a stream of its own.
#pragma once

#include "host/audio/ogg_pages.h"
#include "host/audio/opus_length.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tonekit::host {

// Ends where the next of the streams begins. Positions are those in the one that is read.
class OggLink final : public ByteStream {
public:
    // Begins at the pipe's first byte. At most so many bytes of a stream's start are kept.
    OggLink(ByteStream &pipe, uint64_t mostKept) : pipe_(pipe), mostKept_(mostKept) {}

    std::error_code Read(void *buffer, size_t size, size_t &got) override;
    // Not supported.
    std::error_code Write(const void *data, size_t size) override;
    std::error_code SeekTo(uint64_t position) override;
    std::error_code Tell(uint64_t &position) override;
    // PipeInput::kEndless
    std::error_code Size(uint64_t &size) override;

    // From now on there is no way back within this stream.
    void KeepNoMore() { keeps_ = false; }
    // Goes to the start of the next stream, which is kept again; `found` is false after the last one.
    std::error_code Next(bool &found);
    // Whether there was a page of a stream without its start.
    bool HasStray() const { return pages_.HasStray(); }
    // Whether one was broken, or pages were missing.
    bool HasBroken() const { return pages_.HasBroken(); }
    // The frames of this stream, once its last page was read, if it is Opus.
    std::optional<uint64_t> opusFrames() const { return length_.frames(); }

private:
    bool IsComplete() const { return nextBegun_ || atEnd_; }
    std::error_code FetchPart();
    void MeasureContent(std::span<const unsigned char> bytes);
    void DropPassed();

    ByteStream &pipe_;
    uint64_t mostKept_;
    OggPages pages_;
    std::vector<unsigned char> bytes_; // of this stream, from base_ on
    uint64_t base_ = 0;
    uint64_t position_ = 0;
    std::vector<unsigned char> held_; // of a header that isn't complete, or is the next stream's first
    OpusLength length_;
    std::vector<unsigned char> content_; // of a page so far, if its length depends on it
    bool keeps_ = true;
    bool nextBegun_ = false;
    bool atEnd_ = false; // of the pipe
};

} // namespace tonekit::host
