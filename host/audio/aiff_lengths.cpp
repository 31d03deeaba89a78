// aiff_lengths.cpp: finds and mends the lengths in AIFF headers.
#include "host/audio/aiff_lengths.h"

#include <cstring>

namespace tonekit::host {

namespace {

constexpr uint64_t kFirstChunk = 12;
constexpr uint64_t kChunkHeader = 8;
constexpr uint64_t kFramesInComm = kChunkHeader + 2; // after the channels
constexpr uint64_t kOffsetsInSsnd = 8;               // counted by the chunk's size

uint32_t Big(const unsigned char *bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Reads what isn't whole as an error.
std::error_code ReadAt(File &file, uint64_t position, unsigned char *buffer, size_t size)
{
    size_t got = 0;
    if (const std::error_code error = file.SeekTo(position))
        return error;
    if (const std::error_code error = file.Read(buffer, size, got))
        return error;
    return got == size ? std::error_code() : std::make_error_code(std::errc::io_error);
}

std::error_code Mend(File &file, uint64_t position, uint32_t number)
{
    unsigned char bytes[4];
    if (const std::error_code error = ReadAt(file, position, bytes, sizeof(bytes)))
        return error;
    if (Big(bytes) == number)
        return {};
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(number >> (24 - 8 * i));
    if (const std::error_code error = file.SeekTo(position))
        return error;
    return file.Write(bytes, sizeof(bytes));
}

// Takes away what comes after the last chunk, and what the length of the whole counts of it.
std::error_code EndAt(File &file, uint64_t end)
{
    uint64_t size = 0;
    if (const std::error_code error = file.Size(size))
        return error;
    if (size <= end)
        return {};
    if (const std::error_code error = file.Truncate(end))
        return error;
    return Mend(file, 4, static_cast<uint32_t>(end - kChunkHeader));
}

} // namespace

std::error_code MendAiffLengths(File &file, uint64_t frames, uint32_t frameBytes)
{
    uint64_t position = kFirstChunk;
    for (;;) {
        unsigned char header[kChunkHeader];
        if (const std::error_code error = ReadAt(file, position, header, sizeof(header)))
            return error;
        if (std::memcmp(header, "COMM", 4) == 0) {
            if (const std::error_code error =
                    Mend(file, position + kFramesInComm, static_cast<uint32_t>(frames)))
                return error;
        }
        if (std::memcmp(header, "SSND", 4) == 0) {
            const uint64_t size = kOffsetsInSsnd + frames * frameBytes;
            if (const std::error_code error = Mend(file, position + 4, static_cast<uint32_t>(size)))
                return error;
            return EndAt(file, position + kChunkHeader + size + (size & 1));
        }
        const uint64_t size = Big(header + 4);
        position += kChunkHeader + size + (size & 1);
    }
}

} // namespace tonekit::host
