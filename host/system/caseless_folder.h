// caseless_folder.h: whether a folder takes names that differ in case alone for one.
#pragma once

#include <filesystem>
#include <map>

namespace tonekit::host {

// Asks the file system about names that are there already. Nothing is written; where nothing tells, case
// matters. The answer for each folder is kept.
class CaselessFolders {
public:
    // Whether it is so in this folder, or, while it isn't there, in the one that it will be made in.
    bool Has(const std::filesystem::path &folder);

private:
    std::map<std::filesystem::path, bool> known_;
};

} // namespace tonekit::host
