// tag_reader.h: brings the tags of an audio file into a tag block.
#pragma once

#include "host/tags/tag_block.h"
#include "host/tags/tag_kind.h"

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tonekit::host {

// What of a file's tags is wanted.
struct TagChoice {
    std::function<bool(const std::string &key)> text = [](const std::string &) { return true; };
    bool chapters = true;
    bool frontCover = true;
};

// Adds text tags, chapters and pictures after what the block holds; keys that it holds already stay as they
// are. What can't be understood is left out, with a line in `warnings`.
void ReadTags(const std::filesystem::path &path, TagKind kind, const TagChoice &choice, TagBlock *block,
              std::vector<std::string> &warnings);
// The same from the first bytes of a stream called `name`.
void ReadTags(std::span<const unsigned char> beginning, const std::string &name, TagKind kind,
              const TagChoice &choice, TagBlock *block, std::vector<std::string> &warnings);

} // namespace tonekit::host
