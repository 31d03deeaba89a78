// pipe_output.cpp: holds the first bytes of a stream back, and writes on after them.
#include "host/system/pipe_output.h"

#include <algorithm>
#include <cstddef>

namespace tonekit::host {

std::error_code PipeOutput::Read(void *, size_t, size_t &got)
{
    got = 0;
    return std::make_error_code(std::errc::not_supported);
}

std::error_code PipeOutput::Write(const void *data, size_t size)
{
    const auto *bytes = static_cast<const unsigned char *>(data);
    if (ended_)
        return {};
    if (!released_) {
        held_.resize(static_cast<size_t>(std::max(size_, position_ + size)));
        std::copy_n(bytes, size, held_.begin() + static_cast<ptrdiff_t>(position_));
        position_ += size;
        size_ = held_.size();
        return {};
    }
    if (position_ > size_)
        return std::make_error_code(std::errc::invalid_seek);
    const auto gone = static_cast<size_t>(std::min<uint64_t>(size, size_ - position_));
    const std::error_code error = gone < size ? file_.Write(bytes + gone, size - gone) : std::error_code();
    position_ += size;
    size_ = std::max(size_, position_);
    return error;
}

std::error_code PipeOutput::SeekTo(uint64_t position)
{
    position_ = position;
    return {};
}

std::error_code PipeOutput::Tell(uint64_t &position)
{
    position = position_;
    return {};
}

std::error_code PipeOutput::Size(uint64_t &size)
{
    size = size_;
    return {};
}

std::error_code PipeOutput::Release()
{
    released_ = true;
    const std::error_code error = file_.Write(held_.data(), held_.size());
    held_.clear();
    held_.shrink_to_fit();
    return error;
}

} // namespace tonekit::host
