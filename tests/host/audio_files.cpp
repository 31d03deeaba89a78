// audio_files.cpp: audio files for tests.
#include "tests/host/audio_files.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace tonekit::host::test {

namespace {

int DepthOf(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return 8;
    case SF_FORMAT_PCM_16:
        return 16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_FLOAT: // has 24 exact bits
        return 24;
    default:
        return 32;
    }
}

int32_t KeepUpperBits(int32_t value, int bits)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value) & (0xFFFFFFFFu << (32 - bits)));
}

} // namespace

void WriteSound(const std::string &name, const Sound &sound)
{
    SF_INFO info{};
    info.format = sound.format;
    info.samplerate = sound.rate;
    info.channels = sound.channels;
    SNDFILE *file = sf_open(name.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << name << ": " << sf_strerror(nullptr);
    // Integers into float files keep full scale at 1.0.
    sf_command(file, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
    const auto frames = static_cast<sf_count_t>(sound.Frames());
    ASSERT_EQ(sf_writef_int(file, sound.samples.data(), frames), frames);
    sf_close(file);
}

Sound ReadSound(const std::string &name)
{
    SF_INFO info{};
    SNDFILE *file = sf_open(name.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << name << ": " << sf_strerror(nullptr);
    if (!file)
        return {};
    Sound sound{info.format, info.samplerate, info.channels, {}};
    sound.samples.resize(static_cast<size_t>(info.frames * info.channels));
    const int subtype = info.format & SF_FORMAT_SUBMASK;
    if (subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE) {
        std::vector<double> values(sound.samples.size());
        EXPECT_EQ(sf_readf_double(file, values.data(), info.frames), info.frames);
        for (size_t i = 0; i < values.size(); ++i)
            sound.samples[i] = static_cast<int32_t>(std::clamp(values[i] * 0x1p31, -0x1p31, 0x1p31 - 1));
    } else {
        EXPECT_EQ(sf_readf_int(file, sound.samples.data(), info.frames), info.frames);
    }
    sf_close(file);
    return sound;
}

Sound Noise(int format, int rate, int channels, size_t frames, uint32_t seed)
{
    Sound sound{format, rate, channels, {}};
    std::mt19937 random(seed);
    const int depth = DepthOf(format);
    for (size_t i = 0; i < frames * static_cast<size_t>(channels); ++i)
        sound.samples.push_back(KeepUpperBits(static_cast<int32_t>(random()), depth));
    return sound;
}

Sound Tone(int format, int rate, int channels, size_t frames, double hertz, double amplitude)
{
    Sound sound{format, rate, channels, {}};
    const double step = 2 * std::numbers::pi * hertz / rate;
    for (size_t i = 0; i < frames; ++i) {
        const double value = amplitude * std::sin(step * static_cast<double>(i));
        for (int c = 0; c < channels; ++c)
            sound.samples.push_back(
                KeepUpperBits(static_cast<int32_t>(value * (0x1p31 - 1)), DepthOf(format)));
    }
    return sound;
}

} // namespace tonekit::host::test
