// folder_walk.cpp: walks folders in a fixed order.
#include "host/folder_walk.h"

#include "host/audio/container.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/platform.h"
#include "host/system/safe_output.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

// Types of audio file that are read and not written.
constexpr const char *kOtherExtensions[] = {
    "mp1", "mp2", "wavex", "aifc", "sph", "nist", "voc", "avr", "paf", "fap", "svx", "8svx", "pvf", "sd2",
    "m4a", "m4b", "wv",    "ape",  "dsf", "dff",  "tta", "tak", "mpc", "mka", "wma", "aac",  "ac3", "spx"};

// Folders full of links to each other would be walked in every order that there is.
constexpr int kMostEntries = 16;

class Walk {
public:
    Walk(fs::path root, fs::path excluded) : root_(std::move(root)), excluded_(std::move(excluded)) {}

    std::vector<FoundFile> Run()
    {
        Enter(root_, "");
        return std::move(found_);
    }

private:
    struct Visits {
        int entries = 0;
        bool inside = false; // whether it is on the way to the present folder
    };

    void Enter(const fs::path &folder, const fs::path &relative)
    {
        FileState state;
        if (const std::error_code error = StateOf(folder, state)) {
            Complain(folder, relative, error.message());
            return;
        }
        Visits &visits = visits_[state.identity];
        if (visits.inside) {
            Complain(folder, relative, "the link leads back to a folder around it");
            return;
        }
        if (visits.entries == kMostEntries) {
            Complain(folder, relative,
                     "links have led to this folder " + std::to_string(kMostEntries) + " times already");
            return;
        }
        std::vector<fs::path> names;
        if (const std::error_code error = NamesIn(folder, names)) {
            Complain(folder, relative, "the folder can't be read: " + error.message());
            return;
        }
        std::sort(names.begin(), names.end());
        ++visits.entries;
        visits.inside = true;
        for (const fs::path &name : names) {
            if (InterruptNoted())
                throw Interrupted();
            if (Utf8Name(name)[0] != '.')
                Look(folder / name, relative / name);
        }
        visits.inside = false;
    }

    void Look(const fs::path &path, const fs::path &relative)
    {
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_directory(status)) {
            if (excluded_.empty() || !AreSameFile(path, excluded_))
                Enter(path, relative);
        } else if (fs::is_regular_file(status)) {
            found_.push_back({path, relative, HasAudioExtension(path) || StartsAsAudio(path), ""});
        } else if (status.type() == fs::file_type::not_found) {
            if (HasAudioExtension(path))
                Complain(path, relative, "the link leads nowhere");
        } else if (error) {
            Complain(path, relative, error.message());
        }
    }

    void Complain(const fs::path &path, const fs::path &relative, const std::string &what)
    {
        found_.push_back({path, relative, false, Utf8Name(path) + ": " + what});
    }

    fs::path root_;
    fs::path excluded_;
    std::map<FileIdentity, Visits> visits_;
    std::vector<FoundFile> found_;
};

} // namespace

bool HasAudioExtension(const fs::path &path)
{
    std::string extension = Utf8Name(path.extension());
    if (extension.size() < 2)
        return false;
    extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return ContainerByExtension(extension) ||
           std::find(std::begin(kOtherExtensions), std::end(kOtherExtensions), extension) !=
               std::end(kOtherExtensions);
}

bool StartsAsAudio(const fs::path &path)
{
    char bytes[12] = {};
    size_t got = 0;
    File file;
    if (!path.extension().empty() || file.OpenToRead(path) || file.Read(bytes, sizeof(bytes), got) ||
        got < sizeof(bytes))
        return false;
    const auto has = [&](size_t place, const char *text) {
        return std::memcmp(bytes + place, text, std::strlen(text)) == 0;
    };
    const bool wave = (has(0, "RIFF") || has(0, "RF64")) && has(8, "WAVE");
    const bool aiff = has(0, "FORM") && has(8, "AIF");
    return wave || aiff || has(0, "fLaC") || has(0, "OggS") || has(0, "caff") || has(0, ".snd") ||
           has(0, "ID3");
}

std::vector<FoundFile> WalkFolder(const fs::path &folder, const fs::path &excluded)
{
    return Walk(folder, excluded).Run();
}

} // namespace tonekit::host
