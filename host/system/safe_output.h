// safe_output.h: an output that exists whole or not at all.
#pragma once

#include "host/system/platform.h"

#include <filesystem>

namespace tonekit::host {

// Writes into a file of a temporary name in the target's folder; Commit puts it in the target's place in
// one step. Without Commit the temporary file is gone when this object is, and the target is as it was.
// A run that is killed leaves its temporary file; the next one into the same folder removes it.
class SafeOutput {
public:
    // Checks that the target can be written: its folder exists and it isn't a folder, a device or
    // write-protected. A symbolic link is followed, so that the link stays. Throws Failure.
    explicit SafeOutput(const std::filesystem::path &target);
    SafeOutput(const SafeOutput &) = delete;
    SafeOutput &operator=(const SafeOutput &) = delete;
    ~SafeOutput();

    // Creates the temporary file; its name ends in the target's extension.
    File Create();
    const std::filesystem::path &temporary() const { return temporary_; }
    // The file must be closed. It is on the disk before it takes the target's place. An existing target's
    // permissions are kept.
    void Commit();
    // The part of Commit that waits for the disk, for callers with many outputs: what all have begun to store
    // is on the disk sooner than one after another. Store throws Failure.
    void BeginToStore();
    void Store();

private:
    std::filesystem::path shown_;
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    File mark_; // says that the temporary file is in work
    bool stored_ = false;
};

// Makes the folders on the way to a file that aren't there yet. Throws Failure.
void MakeFolderOf(const std::filesystem::path &file);

// Whether two names lead to one existing file, by hard or symbolic links too.
bool AreSameFile(const std::filesystem::path &a, const std::filesystem::path &b);

} // namespace tonekit::host
