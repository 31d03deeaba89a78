// coded_files.h: makes files of types that libsndfile doesn't write, with libavformat directly, so that tests
// don't judge the host by itself.
#pragma once

#include "tests/host/audio_files.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host::test {

struct CodedChapter {
    int milliseconds;
    std::string title;
};

struct Coding {
    std::string format; // libavformat's name of the type
    std::string coder;  // libavcodec's name of the coder
    int bits = 16;      // of the samples that the coder takes; 0: floats
    std::vector<std::pair<std::string, std::string>> tags = {};
    std::vector<CodedChapter> chapters = {};
    std::string picture = {}; // a JPEG file
    std::string film = {};    // a JPEG file that is the one picture of a film, a stream before the sound
};

// Writes the sound's frames; channels of more than two are in the order of the default layout of their count.
void WriteCoded(const std::string &name, const Sound &sound, const Coding &coding);

// A file of Monkey's Audio whose one frame says that it is silent; the checksum is that of its samples.
std::string SilentApe(uint32_t checksum = 0x1D45C9DF);

} // namespace tonekit::host::test
