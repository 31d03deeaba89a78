// id3_size.h: how long an ID3v2 tag is, which may come before audio of any type.
#pragma once

#include "host/system/byte_stream.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tonekit::host {

constexpr size_t kId3Header = 10;

// The bytes of the tag that begins here, with its header and footer; 0 if there is none, or not its whole
// header. The size is stored with 7 bits in each byte.
inline uint64_t Id3Bytes(std::span<const unsigned char> bytes)
{
    constexpr unsigned char kHasFooter = 0x10;
    if (bytes.size() < kId3Header || bytes[0] != 'I' || bytes[1] != 'D' || bytes[2] != '3')
        return 0;
    uint64_t size = 0;
    for (size_t i = 6; i < kId3Header; ++i)
        size = size << 7 | (bytes[i] & 0x7F);
    return size + kId3Header + (bytes[5] & kHasFooter ? kId3Header : 0);
}

// The bytes before the audio of a file or of a pipe that is kept; 0 if it begins with no tag, or if nothing
// comes after it. The position is left anywhere. Throws std::system_error if the system fails.
uint64_t LeadingTagBytes(ByteStream &stream);

} // namespace tonekit::host
