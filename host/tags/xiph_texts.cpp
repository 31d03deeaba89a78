// xiph_texts.cpp: walks over the entries of Vorbis comments.
#include "host/tags/xiph_texts.h"

#include "host/system/terminal_text.h"
#include "host/tags/flac_walk.h"

#include <algorithm>
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

} // namespace

size_t IllFormedFlacTexts(TagStream &stream)
{
    constexpr unsigned kComment = 4;
    unsigned size = 0;
    return GoToFlacBlock(stream, kComment, size) == FlacWalk::Found ? IllFormedTexts(stream.readBlock(size))
                                                                    : 0;
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
