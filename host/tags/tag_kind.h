// tag_kind.h: the kinds of audio file whose tags the program reads and writes.
#pragma once

namespace tonekit::host {

// Those from WavPack on are of files that libavformat reads; Libav is any that TagLib doesn't know.
enum class TagKind { None, Wav, Aiff, Flac, Vorbis, Opus, Mpeg, WavPack, Ape, Mp4, Asf, Libav };

// Whether chapters are read through libavformat, and pictures too but for those of MP4.
constexpr bool IsReadThroughLibav(TagKind kind)
{
    return kind >= TagKind::Mp4;
}

// Whether the program writes tags of this kind.
constexpr bool IsWritten(TagKind kind)
{
    return kind != TagKind::None && kind <= TagKind::Mp4;
}

} // namespace tonekit::host
