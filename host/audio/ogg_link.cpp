// ogg_link.cpp: reads a pipe page by page, up to the first one of another stream.
#include "host/audio/ogg_link.h"

#include "host/system/pipe_input.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace tonekit::host {

namespace {

// What is further on than this is the end that a reader looks at first.
constexpr uint64_t kMostSkipped = uint64_t{1} << 20;
constexpr size_t kMostPassed = size_t{64} << 10; // bytes that are kept without need

} // namespace

// Takes the rest of a header or of a page's content out of the pipe.
std::error_code OggLink::FetchPart()
{
    const bool inContent = pages_.IsInContent();
    std::vector<unsigned char> &to = inContent ? bytes_ : held_;
    const size_t old = to.size();
    to.resize(old + static_cast<size_t>(pages_.BytesToGo()));
    size_t got = 0;
    const std::error_code error = pipe_.Read(to.data() + old, to.size() - old, got);
    to.resize(old + got);
    atEnd_ = got == 0;
    const size_t streams = pages_.starts().size();
    const uint64_t headers = pages_.count();
    pages_.Take(std::span(to).subspan(old));
    nextBegun_ = streams > 0 && pages_.starts().size() > streams;
    if (inContent)
        MeasureContent(std::span(to).subspan(old));
    else if (pages_.count() > headers && !pages_.IsInContent() && !nextBegun_)
        length_.TakePage(pages_.header(), {});
    if (!inContent && (atEnd_ || !pages_.IsInHeader())) {
        // Nothing of a header that begins another stream is this one's, but what came before it.
        const size_t next = nextBegun_ ? pages_.header().size() : 0;
        const auto end = held_.end() - static_cast<ptrdiff_t>(next);
        bytes_.insert(bytes_.end(), held_.begin(), end);
        held_.erase(held_.begin(), end);
    }
    return error;
}

void OggLink::MeasureContent(std::span<const unsigned char> bytes)
{
    if (length_.Needs(pages_.header()))
        content_.insert(content_.end(), bytes.begin(), bytes.end());
    if (pages_.IsInContent())
        return;
    length_.TakePage(pages_.header(), content_);
    content_.clear();
}

std::error_code OggLink::Read(void *buffer, size_t size, size_t &got)
{
    got = 0;
    if (position_ < base_)
        return std::make_error_code(std::errc::invalid_seek);
    if (position_ > base_ + bytes_.size() + kMostSkipped)
        return {};
    while (position_ + size > base_ + bytes_.size() && !IsComplete()) {
        if (keeps_ && bytes_.size() > mostKept_)
            return std::make_error_code(std::errc::not_enough_memory);
        if (const std::error_code error = FetchPart())
            return error;
    }
    const uint64_t passed = position_ - base_;
    if (passed < bytes_.size())
        got = std::min(size, bytes_.size() - static_cast<size_t>(passed));
    if (got > 0)
        std::memcpy(buffer, bytes_.data() + passed, got);
    position_ += got;
    DropPassed();
    return {};
}

void OggLink::DropPassed()
{
    const auto passed = static_cast<size_t>(std::min<uint64_t>(position_ - base_, bytes_.size()));
    if (keeps_ || passed < kMostPassed)
        return;
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(passed));
    base_ += passed;
}

std::error_code OggLink::Next(bool &found)
{
    found = false;
    while (!IsComplete()) {
        bytes_.clear();
        if (const std::error_code error = FetchPart())
            return error;
    }
    if (!nextBegun_)
        return {};
    bytes_.swap(held_);
    held_.clear();
    base_ = position_ = 0;
    length_ = OpusLength();
    keeps_ = true;
    nextBegun_ = false;
    found = true;
    return {};
}

std::error_code OggLink::Write(const void *, size_t)
{
    return std::make_error_code(std::errc::not_supported);
}

std::error_code OggLink::SeekTo(uint64_t position)
{
    position_ = position;
    return {};
}

std::error_code OggLink::Tell(uint64_t &position)
{
    position = position_;
    return {};
}

std::error_code OggLink::Size(uint64_t &size)
{
    size = PipeInput::kEndless;
    return {};
}

} // namespace tonekit::host
