// tag_kind.h: the kinds of audio file whose tags the program reads and writes.
#pragma once

namespace tonekit::host {

enum class TagKind { None, Wav, Aiff, Flac, Vorbis, Opus, Mpeg };

} // namespace tonekit::host
