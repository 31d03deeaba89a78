// coded_type.h: the types of audio file that are read through libavformat, by how they begin.
#pragma once

#include "host/system/byte_stream.h"

#include <string>

namespace tonekit::host {

// The name of such a type, as "WavPack", or an empty text for all other files. An ID3v2 tag may be first.
// Reads from the stream's start and leaves its position anywhere; a system error counts as no such type.
std::string CodedTypeOf(ByteStream &stream);

} // namespace tonekit::host
