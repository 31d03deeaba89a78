// tag_changes.h: what becomes of tags that were true of other audio.
#pragma once

#include "host/audio/file_part.h"
#include "host/tags/tag_block.h"
#include "host/tags/tag_kind.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

// The chapters of a file as those of a part of it: their positions count from the part's start. The chapter
// that the part begins in begins with it; those outside are left out.
std::vector<Chapter> ChaptersOfPart(const std::vector<Chapter> &chapters, const FilePart &part);

// A tag as it is true after the sound became louder by so many dB: measured gains and peaks move, others
// stay. Nothing for a measurement that is no number. `key` is in capitals.
std::optional<std::string> TagAfterGain(const std::string &key, const std::string &value, double gain);

// A gain in dB as tags of this kind say it.
std::string GainText(TagKind kind, double gain);

// A tag in the form that files of this kind have for it: measured gains are R128's in Opus and ReplayGain's
// in all others. Nothing where the kind has no form for a measurement. `key` is in capitals.
std::optional<std::pair<std::string, std::string>> InFormOf(TagKind kind, const std::string &key,
                                                            const std::string &value);

} // namespace tonekit::host
