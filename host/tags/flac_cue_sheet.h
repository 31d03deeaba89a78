// flac_cue_sheet.h: the block of a FLAC file that says where its tracks are.
#pragma once

#include "host/tags/cue_sheet.h"

#include <filesystem>
#include <vector>

namespace tonekit::host {

// The audio tracks of the block, without titles; none if the file is no FLAC file, has no such block, or has
// one that makes no sense. `rate` is that of the audio. Throws Failure if the system can't read the file.
std::vector<CueTrack> FlacCueTracks(const std::filesystem::path &path, uint32_t rate);

} // namespace tonekit::host
