// xiph_texts.cpp: walks over the entries of Vorbis comments.
#include "host/tags/xiph_texts.h"

#include "host/audio/id3_size.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace tonekit::host {

namespace {

// A vendor's text and a count of entries; each text has its length in front.
size_t IllFormedTexts(const TagLib::ByteVector &comment)
{
    constexpr unsigned kLength = 4;
    const auto left = [&comment](unsigned at) { return comment.size() - at; };
    const auto number = [&comment](unsigned at) { return comment.toUInt(at, false); };
    if (comment.size() < kLength || number(0) > left(kLength) || left(kLength) - number(0) < kLength)
        return 0;
    unsigned at = kLength + number(0);
    unsigned count = number(at);
    size_t illFormed = 0;
    for (at += kLength; count > 0 && left(at) >= kLength; --count) {
        const unsigned length = number(at);
        at += kLength;
        if (length > left(at))
            break;
        if (!IsUtf8({comment.data() + at, length}))
            ++illFormed;
        at += length;
    }
    return illFormed;
}

// How long a tag before the FLAC file is.
uint64_t LeadingTag(TagStream &stream)
{
    stream.seek(0, TagLib::IOStream::Beginning);
    const TagLib::ByteVector start = stream.readBlock(kId3Header);
    return Id3Bytes(std::span(reinterpret_cast<const unsigned char *>(start.data()), start.size()));
}

} // namespace

size_t IllFormedFlacTexts(TagStream &stream)
{
    constexpr unsigned kComment = 4;
    constexpr unsigned kLast = 0x80;
    stream.seek(static_cast<long>(LeadingTag(stream)), TagLib::IOStream::Beginning);
    if (stream.readBlock(4) != TagLib::ByteVector("fLaC"))
        return 0;
    for (;;) {
        const TagLib::ByteVector header = stream.readBlock(4);
        if (header.size() < 4)
            return 0;
        const auto type = static_cast<unsigned char>(header[0]);
        const unsigned size = header.toUInt(1, 3, true);
        if ((type & ~kLast) == kComment)
            return IllFormedTexts(stream.readBlock(size));
        if ((type & kLast) != 0)
            return 0;
        stream.seek(static_cast<long>(size), TagLib::IOStream::Current);
    }
}

size_t IllFormedOggTexts(TagLib::Ogg::File &file)
{
    const TagLib::ByteVector packet = file.packet(1);
    for (const char *const start : {"\x03vorbis", "OpusTags"}) {
        const TagLib::ByteVector name(start);
        if (packet.startsWith(name))
            return IllFormedTexts(packet.mid(name.size()));
    }
    return 0;
}

} // namespace tonekit::host
