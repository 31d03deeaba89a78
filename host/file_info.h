// file_info.h: describes a file.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/report/report.h"
#include "host/tags/tag_block.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

struct FileInfo {
    StreamReport stream;
    std::optional<HdcdFinding> hdcd; // none where HDCD can't be
    std::vector<std::pair<std::string, std::string>> text;
    std::vector<Picture> pictures;
    std::vector<Chapter> chapters;
    std::optional<Loudness> loudness;
    std::optional<Digest> digest;
    std::vector<std::string> warnings;
    std::string error; // empty: all is known
};

// Looks at one file; reads all of it if loudness or digest are asked for, and then reports how far it is.
// Throws Failure or Interrupted.
FileInfo LookAt(const Options &options, const std::filesystem::path &path,
                const ProgressSink &progress = IgnoreProgress);

std::string InfoText(const FileInfo &info);
// One JSON object with all files under "files", however many there are.
std::string InfoJson(const std::vector<FileInfo> &infos);

} // namespace tonekit::host
