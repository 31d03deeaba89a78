// file_tracks.h: the tracks of an audio file that holds several, from its chapters or a cue sheet.
#pragma once

#include "host/audio/file_part.h"
#include "host/command_line/options.h"
#include "host/tags/tag_block.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct FileTrack {
    FilePart part;
    std::vector<std::pair<std::string, std::string>> tags; // an empty value takes a tag of the file away
};

// All of the file, track by track, the first one from the file's start on. Their places are, in this order:
// those of
// --cue or --chapters, of the chapters in the file's tags, of the cue sheet in its tag CUESHEET or in a block
// of FLAC, and of a cue sheet of the same name next to it. `tags` are the texts that the file's output would
// have, by their names in capitals. Throws Failure if there are none, or if they don't fit the audio.
std::vector<FileTrack> TracksOfFile(const Options &options, const std::filesystem::path &path,
                                    const std::map<std::string, std::string> &tags);

// The tracks of --cue as chapters of the only input. Throws Failure if they don't fit its audio.
std::vector<Chapter> ChaptersOfCueSheet(const Options &options);

} // namespace tonekit::host
