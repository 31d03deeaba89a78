// byte_stream.h: bytes at positions: a file, or what is treated like one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>

namespace tonekit::host {

// Every operation returns the system's error, so that it can be used beneath C callbacks, through which no
// exception may pass.
class ByteStream {
public:
    ByteStream() = default;
    ByteStream(const ByteStream &) = delete;
    ByteStream &operator=(const ByteStream &) = delete;
    virtual ~ByteStream() = default;

    // Fills the buffer; `got` is smaller than `size` only at the end or after an error.
    virtual std::error_code Read(void *buffer, size_t size, size_t &got) = 0;
    virtual std::error_code Write(const void *data, size_t size) = 0;
    virtual std::error_code SeekTo(uint64_t position) = 0;
    virtual std::error_code Tell(uint64_t &position) = 0;
    virtual std::error_code Size(uint64_t &size) = 0;
};

} // namespace tonekit::host
