// recording.h: real recordings for tests, from a Debian package.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tonekit {

struct Recording {
    uint32_t rate = 0;
    std::vector<int16_t> samples; // one channel
};

// A mono 16-bit WAV file of the package alsa-utils, such as "Front_Center.wav". Throws std::runtime_error if
// it is missing or of another kind.
Recording ReadRecording(const std::string &name);

} // namespace tonekit
