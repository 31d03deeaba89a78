// header_bytes.h: numbers and words of a file's header, wherever they are.
#pragma once

#include "host/system/byte_stream.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tonekit::host {

// Past the end of the file all numbers are 0, and ok() is false until the next one. Throws std::system_error
// if the system fails.
class HeaderBytes {
public:
    // The header begins at `start`, where all positions are counted from.
    explicit HeaderBytes(ByteStream &file, uint64_t start = 0);

    // From the start to the end of the file.
    uint64_t size() const { return size_; }
    // Whether the last one asked for is there.
    bool ok() const { return ok_; }

    // Whether a word of at most 32 letters is at this place.
    bool Has(uint64_t position, const char *text);
    // Numbers of up to 8 bytes.
    uint64_t Little(uint64_t position, int bytes) { return Number(position, bytes, false); }
    uint64_t Big(uint64_t position, int bytes) { return Number(position, bytes, true); }

    // Throws std::system_error if the system fails, and Interrupted after an interrupt, as all reads do.
    bool Fetch(uint64_t position, void *buffer, size_t length);

private:
    uint64_t Number(uint64_t position, int bytes, bool bigEndian);

    ByteStream &file_;
    uint64_t start_;
    uint64_t size_ = 0;
    bool ok_ = true;
};

// Numbers in bytes that are all there, the lowest first and the highest first.
inline uint64_t LittleIn(std::span<const unsigned char> bytes, size_t place, size_t count)
{
    uint64_t number = 0;
    for (size_t i = count; i-- > 0;)
        number = number << 8 | bytes[place + i];
    return number;
}

inline uint64_t BigIn(std::span<const unsigned char> bytes, size_t place, size_t count)
{
    uint64_t number = 0;
    for (size_t i = 0; i < count; ++i)
        number = number << 8 | bytes[place + i];
    return number;
}

// How much of what ends there isn't in the file.
inline uint64_t Shortfall(uint64_t end, uint64_t size)
{
    return end > size ? end - size : 0;
}

} // namespace tonekit::host
