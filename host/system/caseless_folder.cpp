// caseless_folder.cpp: tries names in the other case.
#include "host/system/caseless_folder.h"

#include "host/system/platform.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

// The name with small letters as capitals and the other way round; others than those of ASCII stay.
fs::path InOtherCase(const fs::path &name)
{
    fs::path::string_type text = name.native();
    for (auto &letter : text) {
        if ((letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z'))
            letter ^= 'a' ^ 'A';
    }
    return text;
}

// Whether a name that is in the folder leads to the same file in the other case; nothing for a name without
// letters.
std::optional<bool> IsFoundInOtherCase(const fs::path &folder, const fs::path &name)
{
    const fs::path other = InOtherCase(name);
    FileState state;
    FileState stateOfOther;
    if (other == name || StateOf(folder / name, state))
        return std::nullopt;
    return !StateOf(folder / other, stateOfOther) && state.identity == stateOfOther.identity;
}

bool Ask(const fs::path &folder)
{
    std::vector<fs::path> names;
    NamesIn(folder, names);
    for (const fs::path &name : names) {
        // Two names of one file, where case matters, are both there.
        const bool both = std::find(names.begin(), names.end(), InOtherCase(name)) != names.end();
        if (const std::optional<bool> found = IsFoundInOtherCase(folder, name))
            return *found && !both;
    }
    // An empty folder is like its own name, if that is on the same device.
    FileState state;
    FileState stateOfParent;
    const bool sameDevice = !StateOf(folder, state) && !StateOf(folder.parent_path(), stateOfParent) &&
                            state.identity.device == stateOfParent.identity.device;
    return sameDevice && IsFoundInOtherCase(folder.parent_path(), folder.filename()).value_or(false);
}

} // namespace

bool CaselessFolders::Has(const fs::path &folder)
{
    std::error_code error;
    fs::path there = fs::absolute(folder, error).lexically_normal();
    while (!error && !fs::is_directory(there, error) && there.has_relative_path()) {
        error.clear();
        there = there.parent_path();
    }
    const auto [place, isNew] = known_.emplace(there, false);
    if (isNew)
        place->second = Ask(there);
    return place->second;
}

} // namespace tonekit::host
