// pipe_input.h: a stream that can only be read on, treated like a file whose first bytes stay and can be
// changed.
#pragma once

#include "host/system/byte_stream.h"
#include "host/system/platform.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace tonekit::host {

// Positions can be set at will. While bytes are kept, all that was read can be read again; after that,
// reading goes on from where it is. Reading far ahead returns no bytes, as at the end of a file, unless that
// is allowed.
class PipeInput final : public ByteStream {
public:
    // The size of a stream that doesn't say where it ends.
    static constexpr uint64_t kEndless = uint64_t{1} << 60;

    // At most so many bytes are kept; reading more while bytes are kept is an error.
    PipeInput(File file, uint64_t mostKept) : file_(std::move(file)), mostKept_(mostKept) {}
    // The same for a file, whose places can all be reached. It ends where the file ends.
    PipeInput(File file, uint64_t mostKept, uint64_t size)
        : file_(std::move(file)), mostKept_(mostKept), isFile_(true), end_(size)
    {}

    std::error_code Read(void *buffer, size_t size, size_t &got) override;
    // Not supported.
    std::error_code Write(const void *data, size_t size) override;
    std::error_code SeekTo(uint64_t position) override;
    std::error_code Tell(uint64_t &position) override;
    // What SetEnd set, or kEndless.
    std::error_code Size(uint64_t &size) override;

    // Reading far ahead keeps all up to there, for types whose header may come last.
    void AllowSkips() { skips_ = true; }
    // From now on there is no way back, but to what is kept.
    void KeepNoMore() { keeps_ = false; }
    std::span<const unsigned char> kept() const { return kept_; }
    // Puts bytes in the place of kept ones; all that follows moves with them.
    void Replace(size_t position, size_t count, std::span<const unsigned char> bytes);
    // Keeps all of the stream, up to its end, which is known then.
    std::error_code KeepAll();
    // The stream ends for readers at this position, or where it really does.
    void SetEnd(uint64_t end) { end_ = end; }
    // Where the bytes are that come out of the stream next.
    uint64_t next() const { return next_; }
    bool endIsKnown() const { return end_ != kEndless; }
    // From now on at least so many of the last bytes that came out of the stream are kept, whatever else is.
    void KeepTail(size_t size);
    bool keepsTail() const { return tailSize_ > 0; }
    // All that came, or the last bytes of it, at least as many as KeepTail asked for.
    std::span<const unsigned char> tail() const { return tail_; }
    // All bytes of the stream go through this once, those that are kept already at once.
    void Watch(std::function<void(std::span<const unsigned char>)> watcher);
    // Reads and drops all that is left, so that the writing program isn't cut off.
    std::error_code Drain();

private:
    std::error_code Fetch(uint64_t until);
    std::error_code ReadOn(void *buffer, size_t size, size_t &got);
    void AddToTail(std::span<const unsigned char> bytes);
    std::error_code GoToPosition();

    File file_;
    uint64_t mostKept_;
    bool isFile_ = false;
    bool keeps_ = true;
    bool skips_ = false;
    std::vector<unsigned char> kept_;
    size_t tailSize_ = 0;
    std::vector<unsigned char> tail_;
    std::function<void(std::span<const unsigned char>)> watcher_;
    uint64_t next_ = 0;     // the position of the next byte out of the pipe
    int64_t moved_ = 0;     // how far Replace has moved what follows
    uint64_t position_ = 0; // of the reader
    uint64_t end_ = kEndless;
};

} // namespace tonekit::host
