// folders.h: a small library of music, and what the program makes of its folder.
#pragma once

#include "tests/host/failures.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace tonekit::host::test {

namespace fs = std::filesystem;

// The library: music/one/{a.wav,cover.jpg}, music/two/deep/b.flac, music/{c.wav,notes.txt,.hidden.wav}.
class Folders : public Failures {
protected:
    void SetUp() override
    {
        Failures::SetUp();
        fs::create_directories(folder / "music/one");
        fs::create_directories(folder / "music/two/deep");
        WriteSound(folder / "music/one/a.wav", Noise(kWav16, 44100, 2, 3000, 1));
        WriteText(folder / "music/one/cover.jpg", "picture");
        WriteSound(folder / "music/two/deep/b.flac",
                   Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, 3000, 2));
        WriteSound(folder / "music/c.wav", Noise(kWav16, 44100, 2, 3000, 3));
        WriteText(folder / "music/notes.txt", "notes");
        WriteText(folder / "music/.hidden.wav", "hidden");
    }

    // All regular files below a folder, in order.
    std::vector<std::string> Tree(const std::string &name) const
    {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto &entry : fs::recursive_directory_iterator(folder / name, error)) {
            if (entry.is_regular_file())
                names.push_back(entry.path().lexically_relative(folder.path() / name).generic_string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    Outcome Run(std::vector<std::string> arguments)
    {
        Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome;
    }
};

using Names = std::vector<std::string>;

} // namespace tonekit::host::test
