// flac_blocks.h: how many of a FLAC file's blocks before its audio are looked at.
#pragma once

namespace tonekit::host {

// Of a few bytes each a broken file could have any number.
inline constexpr int kMostFlacBlocks = 10000;

} // namespace tonekit::host
