// folder_walk.h: finds the files of a folder and of all folders in it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tonekit::host {

struct FoundFile {
    std::filesystem::path path;
    std::filesystem::path relative; // to the folder that was walked
    bool audio = false;             // by its extension or its first bytes
    std::string error;              // why this place can't be read, with its name before it; mostly empty
};

// Whether the name's extension is that of an audio file.
bool HasAudioExtension(const std::filesystem::path &path);

// Whether a file without an extension, as downloads have them, begins as audio does.
bool StartsAsAudio(const std::filesystem::path &path);

// All regular files in the order of their names, folder by folder. Links are followed; one that leads back
// to a folder around it, and a folder that can't be read, are in the list with their errors. Hidden files and
// folders, those whose names begin with a dot, are left out, and so is the folder `excluded`.
std::vector<FoundFile> WalkFolder(const std::filesystem::path &folder, const std::filesystem::path &excluded);

} // namespace tonekit::host
