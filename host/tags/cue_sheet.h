// cue_sheet.h: cue sheets, the texts that say where the tracks of a recording are.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct CueTrack {
    unsigned number = 0;
    uint64_t position = 0; // of its music, in 100 ns of its file
    std::string title;     // may be empty, as may be all that follow
    std::string performer;
    std::string isrc = {};
};

struct CueFile {
    std::string name; // as the sheet has it
    std::vector<CueTrack> tracks;
};

struct CueSheet {
    std::vector<CueFile> files;
    std::string title;
    std::string performer;
    std::vector<std::pair<std::string, std::string>> remarks; // DATE and GENRE
};

// Reads a cue sheet in UTF-8, UTF-16 with a byte order mark, or else Latin-1. A track begins at its INDEX 01;
// what is between its INDEX 00 and that belongs to the track before it. Throws Failure, with `name` and the
// line.
CueSheet ParseCueSheet(const std::string &bytes, const std::string &name);

// The tracks of the audio file of this name (without folders): those of the only file that the sheet has, or
// of the one that is named alike, whatever its extension. Throws Failure, with `name` of the sheet, if there
// is none.
std::vector<CueTrack> TracksOf(const CueSheet &sheet, const std::string &audio, const std::string &name);

} // namespace tonekit::host
