// safe_output.cpp: temporary files beside their targets.
#include "host/safe_output.h"

#include "host/failure.h"
#include "host/paths.h"

#include <random>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path &path, const std::string &what)
{
    throw Failure(Utf8Name(path) + ": " + what);
}

// Short, so that it fits wherever the target's name fits, and hidden from plain listings.
fs::path TemporaryName(const fs::path &target)
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = ".tonekit-";
    for (int i = 0; i < 8; i++)
        name += letters[random() % (sizeof(letters) - 1)];
    fs::path path = target.parent_path() / name;
    path += target.extension();
    return path;
}

} // namespace

SafeOutput::SafeOutput(const fs::path &target) : shown_(target), target_(WithoutLinks(target))
{
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::is_directory(status))
        Fail(shown_, "is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status))
        Fail(shown_, "is not a regular file, so nothing is written over it");
    if (fs::exists(status) && !MayWrite(target_))
        Fail(shown_, "is write-protected");
    const fs::path folder = target_.parent_path().empty() ? fs::path(".") : target_.parent_path();
    if (!fs::is_directory(folder, error))
        Fail(shown_, "there is no folder " + Utf8Name(folder));
}

SafeOutput::~SafeOutput()
{
    std::error_code ignored;
    if (!temporary_.empty())
        fs::remove(temporary_, ignored);
}

File SafeOutput::Create()
{
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; i++) {
        const fs::path name = TemporaryName(target_);
        File file;
        const std::error_code error = file.CreateNew(name);
        if (!error) {
            temporary_ = name;
            return file;
        }
        if (error != std::errc::file_exists)
            Fail(shown_, "can't be written: " + error.message());
    }
    Fail(shown_, "can't be written: no temporary name is free");
}

void SafeOutput::Commit()
{
    std::error_code error;
    const fs::file_status old = fs::status(target_, error);
    if (fs::exists(old))
        fs::permissions(temporary_, old.permissions(), error);
    error = MoveInPlaceOf(temporary_, target_);
    if (error)
        Fail(shown_, "can't be written: " + error.message());
    temporary_.clear();
}

void MakeFolderOf(const fs::path &file)
{
    std::error_code error;
    const fs::path folder = file.parent_path();
    if (folder.empty())
        return;
    fs::create_directories(folder, error);
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored))
        Fail(folder,
             "the folder can't be made: " + (error ? error.message() : "there is a file of that name"));
}

bool AreSameFile(const fs::path &a, const fs::path &b)
{
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}

} // namespace tonekit::host
