// tag_writer.h: brings a tag block into an audio file.
#pragma once

#include "host/tags/tag_block.h"
#include "host/tags/tag_kind.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tonekit::host {

// Replaces the file's tags with those of the block. `end` is the length of the audio in 100 ns, where the
// last chapter ends; `shownName` is for messages. What can't be stored is left out, with a line in
// `warnings`.
void WriteTags(const std::filesystem::path &path, TagKind kind, const TagBlock *block, uint64_t end,
               const std::string &shownName, std::vector<std::string> &warnings);

} // namespace tonekit::host
