// flac_walk.cpp: reads the headers of blocks, from the first one on.
#include "host/tags/flac_walk.h"

#include "host/audio/flac_blocks.h"
#include "host/audio/id3_size.h"

#include <cstdint>
#include <span>

namespace tonekit::host {

namespace {

// How long a tag before the FLAC file is.
uint64_t LeadingTag(TagStream &stream)
{
    stream.seek(0, TagLib::IOStream::Beginning);
    const TagLib::ByteVector start = stream.readBlock(kId3Header);
    return Id3Bytes(std::span(reinterpret_cast<const unsigned char *>(start.data()), start.size()));
}

} // namespace

FlacWalk GoToFlacBlock(TagStream &stream, unsigned type, unsigned &size)
{
    constexpr unsigned kLast = 0x80;
    stream.seek(static_cast<long>(LeadingTag(stream)), TagLib::IOStream::Beginning);
    if (stream.readBlock(4) != TagLib::ByteVector("fLaC"))
        return FlacWalk::None;
    for (int i = 0; i < kMostFlacBlocks; ++i) {
        const TagLib::ByteVector header = stream.readBlock(4);
        if (header.size() < 4)
            return FlacWalk::None;
        const auto first = static_cast<unsigned char>(header[0]);
        size = header.toUInt(1, 3, true);
        if ((first & ~kLast) == type)
            return FlacWalk::Found;
        if ((first & kLast) != 0)
            return FlacWalk::None;
        stream.seek(static_cast<long>(size), TagLib::IOStream::Current);
    }
    return FlacWalk::TooMany;
}

} // namespace tonekit::host
