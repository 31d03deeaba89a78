// pipe_input.cpp: keeps the first bytes of a stream, and reads on after them.
#include "host/system/pipe_input.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace tonekit::host {

namespace {

// Headers are close to each other. What is further on is the end that a reader looks at first.
constexpr uint64_t kMostSkipped = uint64_t{1} << 20;

} // namespace

// Keeps all up to this position, or to the end.
std::error_code PipeInput::Fetch(uint64_t until)
{
    if (until <= next_)
        return {};
    if (until > mostKept_)
        return std::make_error_code(std::errc::not_enough_memory);
    const size_t old = kept_.size();
    kept_.resize(static_cast<size_t>(until));
    size_t got = 0;
    const std::error_code error = ReadOn(kept_.data() + old, kept_.size() - old, got);
    kept_.resize(old + got);
    next_ += got;
    return error;
}

std::error_code PipeInput::Read(void *buffer, size_t size, size_t &got)
{
    got = 0;
    size = static_cast<size_t>(std::min<uint64_t>(size, end_ > position_ ? end_ - position_ : 0));
    if (size == 0 || (position_ > next_ + kMostSkipped && !isFile_ && !(skips_ && keeps_)))
        return {};
    if (keeps_) {
        if (const std::error_code error = Fetch(position_ + size))
            return error;
    }
    if (position_ < kept_.size()) {
        got = std::min<size_t>(size, kept_.size() - static_cast<size_t>(position_));
        std::memcpy(buffer, kept_.data() + position_, got);
        position_ += got;
    }
    if (keeps_ || got == size)
        return {};
    if (const std::error_code error = GoToPosition())
        return error;
    size_t more = 0;
    const std::error_code error = ReadOn(static_cast<char *>(buffer) + got, size - got, more);
    got += more;
    next_ += more;
    position_ += more;
    return error;
}

std::error_code PipeInput::ReadOn(void *buffer, size_t size, size_t &got)
{
    const std::error_code error = file_.Read(buffer, size, got);
    const std::span came(static_cast<const unsigned char *>(buffer), got);
    if (keepsTail())
        AddToTail(came);
    if (watcher_)
        watcher_(came);
    return error;
}

void PipeInput::KeepTail(size_t size)
{
    tailSize_ = size;
    tail_.reserve(2 * size); // reading asks for no more memory
    AddToTail(kept_);
}

void PipeInput::Watch(std::function<void(std::span<const unsigned char>)> watcher)
{
    watcher_ = std::move(watcher);
    watcher_(kept_);
}

// What is too old goes when there is as much of it as of what stays, so that each byte moves once.
void PipeInput::AddToTail(std::span<const unsigned char> bytes)
{
    bytes = bytes.last(std::min(bytes.size(), tailSize_));
    if (tail_.size() + bytes.size() > 2 * tailSize_)
        tail_.erase(tail_.begin(), tail_.end() - static_cast<ptrdiff_t>(tailSize_ - bytes.size()));
    tail_.insert(tail_.end(), bytes.begin(), bytes.end());
}

// Moves to the reader's place in what isn't kept.
std::error_code PipeInput::GoToPosition()
{
    if (position_ == next_)
        return {};
    if (!isFile_)
        return std::make_error_code(std::errc::invalid_seek);
    next_ = position_;
    return file_.SeekTo(static_cast<uint64_t>(static_cast<int64_t>(position_) - moved_));
}

std::error_code PipeInput::Write(const void *, size_t)
{
    return std::make_error_code(std::errc::not_supported);
}

std::error_code PipeInput::SeekTo(uint64_t position)
{
    position_ = position;
    return {};
}

std::error_code PipeInput::Tell(uint64_t &position)
{
    position = position_;
    return {};
}

std::error_code PipeInput::Size(uint64_t &size)
{
    size = end_;
    return {};
}

void PipeInput::Replace(size_t position, size_t count, std::span<const unsigned char> bytes)
{
    const auto start = kept_.begin() + static_cast<ptrdiff_t>(position);
    const auto after = kept_.erase(start, start + static_cast<ptrdiff_t>(count));
    kept_.insert(after, bytes.begin(), bytes.end());
    moved_ += static_cast<int64_t>(bytes.size()) - static_cast<int64_t>(count);
    if (endIsKnown())
        end_ += bytes.size() - count;
    next_ = kept_.size();
}

std::error_code PipeInput::KeepAll()
{
    constexpr uint64_t kBlock = uint64_t{64} << 10;
    uint64_t before = 0;
    do {
        before = next_;
        if (const std::error_code error = Fetch(next_ + kBlock))
            return error;
    } while (next_ > before);
    end_ = next_;
    return {};
}

std::error_code PipeInput::Drain()
{
    std::vector<char> block(size_t{64} << 10);
    size_t got = 0;
    do {
        if (const std::error_code error = ReadOn(block.data(), block.size(), got))
            return error;
    } while (got > 0);
    return {};
}

} // namespace tonekit::host
