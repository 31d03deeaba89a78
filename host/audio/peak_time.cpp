// peak_time.cpp: finds the peak chunk of RF64 files and clears its time.
#include "host/audio/peak_time.h"

#include <cstring>

namespace tonekit::host {

std::error_code ClearPeakTime(File &file)
{
    constexpr uint64_t kTimeInPeak = 12; // after the chunk's name, size and version
    unsigned char header[8];
    uint64_t position = 12;
    for (;;) {
        size_t got = 0;
        if (const std::error_code error = file.SeekTo(position))
            return error;
        if (const std::error_code error = file.Read(header, sizeof(header), got))
            return error;
        if (got < sizeof(header))
            return std::make_error_code(std::errc::io_error);
        if (std::memcmp(header, "data", 4) == 0)
            return {};
        if (std::memcmp(header, "PEAK", 4) == 0)
            break;
        const uint64_t size = uint64_t{header[4]} | uint64_t{header[5]} << 8 | uint64_t{header[6]} << 16 |
                              uint64_t{header[7]} << 24;
        position += sizeof(header) + size + (size & 1);
    }
    if (const std::error_code error = file.SeekTo(position + kTimeInPeak))
        return error;
    return file.Write("\0\0\0\0", 4);
}

} // namespace tonekit::host
