// safe_output.cpp: temporary files in the folders of their targets.
#include "host/system/safe_output.h"

#include "host/system/failure.h"
#include "host/system/paths.h"

#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path &path, const std::string &what)
{
    throw Failure(Utf8Name(path) + ": " + what);
}

constexpr std::string_view kPrefix = ".tonekit-";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr size_t kRandomLetters = 8;

// Short, so that it fits wherever the target's name fits, and hidden from plain listings.
fs::path TemporaryName(const fs::path &target)
{
    constexpr size_t kLongestExtension = 16;
    std::random_device random;
    std::string name(kPrefix);
    for (size_t i = 0; i < kRandomLetters; ++i)
        name += kLetters[random() % kLetters.size()];
    fs::path path = target.parent_path() / name;
    if (target.extension().native().size() <= kLongestExtension)
        path += target.extension();
    return path;
}

bool IsTemporaryName(const std::string &name)
{
    const size_t end = kPrefix.size() + kRandomLetters;
    return name.starts_with(kPrefix) && name.find_first_not_of(kLetters, kPrefix.size()) >= end &&
           (name.size() == end || (name.size() > end && name[end] == '.'));
}

// Once for each folder: what other runs leave later is for later runs.
void RemoveLeftBehind(const fs::path &folder)
{
    static std::mutex mutex;
    static std::set<fs::path> done;
    const std::lock_guard<std::mutex> lock(mutex);
    if (!done.insert(folder).second)
        return;
    std::vector<fs::path> names;
    NamesIn(folder, names); // what can't be read stays as it is
    for (const fs::path &name : names) {
        if (IsTemporaryName(Utf8Name(name)))
            RemoveIfLeftBehind(folder / name);
    }
}

// What this run has put into its place, and where. A folder that takes two names for one, as where case or
// the form of an accented letter doesn't matter, would lose the first of two outputs without a word.
class FilesInPlace {
public:
    // Puts the file in the place of `target`. Returns the other name of a target that this run has written.
    std::error_code Put(const fs::path &file, const fs::path &target, fs::path &otherName)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        FileState state;
        if (!StateOf(target, state)) {
            const auto written = places_.find(state.identity);
            if (written != places_.end() && written->second != target &&
                AreSameFile(written->second, target)) {
                otherName = written->second;
                return std::make_error_code(std::errc::file_exists);
            }
        }
        const bool known = !StateOf(file, state);
        if (known)
            places_.insert_or_assign(state.identity, target);
        const std::error_code error = MoveInPlaceOf(file, target);
        if (error && known)
            places_.erase(state.identity);
        return error;
    }

private:
    std::mutex mutex_;
    std::map<FileIdentity, fs::path> places_;
};

FilesInPlace &Places()
{
    static FilesInPlace places;
    return places;
}

// The permissions of a file that may not be there yet; its owner may read and write in any case.
fs::perms WidestPermissions(const fs::path &target)
{
    std::error_code error;
    const fs::file_status status = fs::status(target, error);
    if (!fs::exists(status))
        return fs::perms(0666);
    return (status.permissions() & fs::perms::all) | fs::perms::owner_read | fs::perms::owner_write;
}

} // namespace

SafeOutput::SafeOutput(const fs::path &target) : shown_(target), target_(WithoutLinks(target))
{
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (status.type() == fs::file_type::none)
        Fail(shown_, error.message());
    if (fs::is_directory(status))
        Fail(shown_, "is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status))
        Fail(shown_, "is not a regular file, so nothing is written over it");
    if (fs::exists(status) && !MayWrite(target_))
        Fail(shown_, "is write-protected");
    const fs::path folder = target_.parent_path().empty() ? fs::path(".") : target_.parent_path();
    if (!fs::is_directory(folder, error))
        Fail(shown_, "there is no folder " + Utf8Name(folder));
    RemoveLeftBehind(folder);
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
    for (int i = 0; i < kAttempts; ++i) {
        fs::path name = TemporaryName(target_);
        File file;
        const std::error_code error = file.CreateNew(name, WidestPermissions(target_));
        if (!error && !file.MarkAsInWork(mark_))
            continue;
        if (!error) {
            temporary_ = std::move(name); // a copy could fail and leave the file
            return file;
        }
        if (error != std::errc::file_exists)
            Fail(shown_, "can't be written: " + error.message());
    }
    Fail(shown_, "can't be written: no temporary name is free");
}

void SafeOutput::BeginToStore()
{
    File file;
    if (!file.OpenToChange(temporary_))
        file.BeginToStore();
}

void SafeOutput::Store()
{
    std::error_code error;
    File file;
    if ((error = file.OpenToChange(temporary_)) || (error = file.Sync()) || (error = file.Close()))
        Fail(shown_, "can't be written: " + error.message());
    stored_ = true;
}

void SafeOutput::Commit()
{
    if (!stored_)
        Store();
    std::error_code error;
    const fs::file_status old = fs::status(target_, error);
    if (fs::exists(old)) {
        TakeOverDetails(target_, temporary_);
        fs::permissions(temporary_, old.permissions(), error);
    } else if (old.type() == fs::file_type::not_found) {
        error.clear();
    }
    fs::path otherName;
    if (!error)
        error = Places().Put(temporary_, target_, otherName);
    if (!otherName.empty())
        Fail(shown_, "is the same file as " + Utf8Name(otherName) +
                         ", which was just written: there both names mean one");
    if (error)
        Fail(shown_, "can't be written: " + error.message());
    temporary_.clear();
    mark_.Close();
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
