// memory_bytes.h: bytes in memory, treated like a file.
#pragma once

#include "host/system/byte_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace tonekit::host {

// Only to be read.
class MemoryBytes final : public ByteStream {
public:
    explicit MemoryBytes(std::span<const unsigned char> bytes) : bytes_(bytes) {}

    std::error_code Read(void *buffer, size_t size, size_t &got) override
    {
        const uint64_t left = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
        got = static_cast<size_t>(std::min<uint64_t>(size, left));
        if (got > 0)
            std::memcpy(buffer, bytes_.data() + position_, got);
        position_ += got;
        return {};
    }
    std::error_code Write(const void *, size_t) override
    {
        return std::make_error_code(std::errc::not_supported);
    }
    std::error_code SeekTo(uint64_t position) override
    {
        position_ = position;
        return {};
    }
    std::error_code Tell(uint64_t &position) override
    {
        position = position_;
        return {};
    }
    std::error_code Size(uint64_t &size) override
    {
        size = bytes_.size();
        return {};
    }

private:
    std::span<const unsigned char> bytes_;
    uint64_t position_ = 0;
};

} // namespace tonekit::host
