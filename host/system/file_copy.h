// file_copy.h: copies a file byte for byte.
#pragma once

#include "host/system/platform.h"

#include <filesystem>
#include <functional>
#include <string>

namespace tonekit::host {

// Copies all bytes of a stream, from its start, into `target` and closes that. The names are those of
// messages; `progress` is called with 1 at the end. Throws Failure or Interrupted.
void CopyStream(ByteStream &source, const std::string &sourceName, File &target, const std::string &shownName,
                const std::function<void(double done)> &progress);

// Copies all bytes into `target`, which is new and empty, and closes it. `shownName` is the target's in
// messages; `progress` is called with the part that is done, 0 to 1. Throws Failure or Interrupted.
void CopyFile(const std::filesystem::path &source, File &target, const std::string &shownName,
              const std::function<void(double done)> &progress);

} // namespace tonekit::host
