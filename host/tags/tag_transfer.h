// tag_transfer.h: takes tags, pictures and chapters from one file to the next.
#pragma once

#include "host/audio/sample_source.h"
#include "host/command_line/options.h"
#include "host/report/report.h"
#include "host/tags/extras.h"
#include "host/tags/tag_block.h"
#include "host/tags/tag_kind.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

// One conversion's tags. `loudnessChanged`: what the input's ReplayGain tags say isn't true of the output.
struct TagTransfer {
    std::filesystem::path input;
    TagKind inputKind = TagKind::None;
    std::optional<std::vector<unsigned char>> beginning; // of an input that is a stream
    std::filesystem::path written;                       // the complete audio file
    TagKind writtenKind = TagKind::None;
    std::string shownName; // of the written file, for messages
    uint64_t end = 0;      // of the audio, in 100 ns
    bool copied = false;   // the written file is a copy of the input, tags and all
    bool loudnessChanged = false;
    // Texts of the track that the written file is, before those of the input; it has no chapters then.
    std::vector<std::pair<std::string, std::string>> track;
    double gain = 0;               // dB by which the sound is louder than the input's
    std::optional<FilePart> part;  // of the input that is in the written file; none: all of it
    std::vector<SourceFile> files; // of which the written file is made; none: of the input
    uint32_t inputRate = 0;        // Hz, of their starts
    std::optional<Loudness> loudness;
    std::optional<Loudness> albumLoudness;
    Loudspeakers loudspeakers = 0; // of the written file, where they need names
};

// Gathers the tags of options, extras, measurement and input in a tag block, in this order of precedence.
TagBlockPointer GatherTags(const Options &options, const Extras &extras, const TagTransfer &transfer,
                           std::vector<std::string> &warnings);

// Gathers the tags and writes them. What can't be written leaves a line in `warnings`; throws Failure if the
// system fails in the middle, so that the written file may be damaged.
void TransferTags(const Options &options, const Extras &extras, const TagTransfer &transfer,
                  std::vector<std::string> &warnings);

} // namespace tonekit::host
