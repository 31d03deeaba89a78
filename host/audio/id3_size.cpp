// id3_size.cpp: finds the end of a tag before the audio.
#include "host/audio/id3_size.h"

#include "host/audio/header_bytes.h"

namespace tonekit::host {

uint64_t LeadingTagBytes(ByteStream &stream)
{
    HeaderBytes bytes(stream);
    unsigned char header[kId3Header] = {};
    bytes.Fetch(0, header, sizeof(header));
    const uint64_t tag = Id3Bytes(header);
    return tag < bytes.size() ? tag : 0;
}

} // namespace tonekit::host
