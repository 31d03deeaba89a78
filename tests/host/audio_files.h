// audio_files.h: makes and reads audio files with libsndfile directly, so that tests don't judge the host by
// itself.
#pragma once

#include <cstdint>
#include <sndfile.h>
#include <string>
#include <vector>

namespace tonekit::host::test {

// A file of 32-bit samples, of which the subtype keeps the upper bits.
struct Sound {
    int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    int rate = 44100;
    int channels = 2;
    std::vector<int32_t> samples; // interleaved

    size_t Frames() const { return samples.size() / static_cast<size_t>(channels); }
};

void WriteSound(const std::string &name, const Sound &sound);
Sound ReadSound(const std::string &name);

// Frames of noise that use all bits of the format's depth and no more.
Sound Noise(int format, int rate, int channels, size_t frames, uint32_t seed = 1);
// A sine of this frequency and amplitude (of full scale) on all channels.
Sound Tone(int format, int rate, int channels, size_t frames, double hertz, double amplitude = 0.5);

} // namespace tonekit::host::test
