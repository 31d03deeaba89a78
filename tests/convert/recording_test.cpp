// recording_test.cpp: a recording of 24 bits becomes one of 16, in each dither mode and at other rates too.
#include "convert/dither.h"
#include "tests/reference/pass.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <sndfile.h>
#include <stdexcept>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

using reference::Encoding;

constexpr char kPath[] = "/usr/share/sonic-pi/samples/misc_burp.flac";
constexpr uint32_t kRate = 44100;
constexpr uint32_t kSeed = 20240601;

// The samples as signed numbers of 24 bits.
const std::vector<int32_t> &Recording24()
{
    static const std::vector<int32_t> recording = [] {
        SF_INFO info{};
        const std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file(sf_open(kPath, SFM_READ, &info), sf_close);
        if (!file)
            throw std::runtime_error(std::string(kPath) + " is missing: install sonic-pi-samples");
        if (info.channels != 1 || info.samplerate != static_cast<int>(kRate) ||
            (info.format & SF_FORMAT_SUBMASK) != SF_FORMAT_PCM_24)
            throw std::runtime_error(std::string(kPath) + " is not mono with 24 bits at 44100 Hz");
        std::vector<int32_t> samples(static_cast<size_t>(info.frames));
        samples.resize(static_cast<size_t>(sf_read_int(file.get(), samples.data(), info.frames)));
        for (int32_t &sample : samples)
            sample /= 256;
        return samples;
    }();
    return recording;
}

std::vector<uint8_t> PackedRecording()
{
    std::vector<uint8_t> bytes;
    for (const int32_t sample : Recording24())
        for (int byte = 0; byte < 3; ++byte)
            bytes.push_back(static_cast<uint8_t>(static_cast<uint32_t>(sample) >> 8 * byte));
    return bytes;
}

// The recording through the exported interface, to 16 bits.
std::vector<int16_t> Converted(uint32_t outputRate, uint32_t span, uint32_t mode)
{
    SetDitherParameters(1, mode);
    void *handle = SRC4_Init(0, 24, 1, kRate, 0, 16, 1, outputRate, true, false, 0, span);
    SetDitherSeed(kSeed);
    const std::vector<uint8_t> input = PackedRecording();
    std::vector<int16_t> all;
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    const auto take = [&] {
        const auto *samples = static_cast<const int16_t *>(out);
        all.insert(all.end(), samples, samples + frames);
    };
    SRC4_Write(handle, input.data(), static_cast<uint32_t>(input.size() / 3));
    while (SRC4_Read(handle, &out, &frames, &bytes))
        take();
    while (SRC4_Flush(handle, &out, &frames, &bytes))
        take();
    SRC4_Deinit(handle);
    SetDitherParameters(0, 1);
    return all;
}

// The same by the slow model, block after block.
template <class T>
std::vector<int16_t> Modelled(uint32_t outputRate, uint32_t span, uint32_t mode)
{
    reference::PassSettings settings{Encoding::kInt24, Encoding::kInt16, 1, kRate, 1, outputRate};
    settings.dither = true;
    settings.ditherScale = 32768;
    settings.ditherMode = static_cast<int32_t>(mode);
    reference::Pass<T> pass(
        settings, outputRate == kRate ? nullptr : reference::NewResampler(kRate, outputRate, 1, span), kSeed);
    const std::vector<uint8_t> input = PackedRecording();
    const size_t frames = input.size() / 3;
    const size_t block = reference::NumbersOf(kRate, outputRate).blockFrames;
    std::vector<uint8_t> bytes;
    const auto feed = [&](size_t first, size_t count, bool last) {
        const std::vector<uint8_t> out =
            pass.Resample(input.data() + 3 * first, static_cast<uint32_t>(count), last);
        bytes.insert(bytes.end(), out.begin(), out.end());
        return !out.empty();
    };
    size_t at = 0;
    for (; at + block <= frames; at += block)
        feed(at, block, false);
    if (at < frames)
        feed(at, frames - at, false);
    while (outputRate != kRate && (feed(frames, 0, true) || !pass.finished)) {
    }
    std::vector<int16_t> samples(bytes.size() / 2);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int16_t>(reference::SignedValue(&bytes[2 * i], 2));
    return samples;
}

TEST(Recording24BitTest, UsesAllOfItsBits)
{
    ASSERT_GT(Recording24().size(), kRate / 2);
    size_t odd = 0;
    int32_t loudest = 0;
    for (const int32_t sample : Recording24()) {
        odd += sample & 1;
        loudest = std::max(loudest, std::abs(sample));
    }
    EXPECT_GT(odd, Recording24().size() / 4);
    EXPECT_GT(loudest, 1 << 21);
}

TEST(Recording24BitTest, BecomesTheModels16BitsInEachDitherMode)
{
    for (const uint32_t mode : {0u, 1u, 2u})
        EXPECT_TRUE(Converted(kRate, 0, mode) == Modelled<double>(kRate, 0, mode)) << mode;
}

TEST(Recording24BitTest, BecomesTheModels16BitsAtAnotherRate)
{
    for (const uint32_t mode : {0u, 1u, 2u})
        for (const uint32_t rate : {48000u, 32000u, 96000u}) {
            const std::vector<int16_t> ofFloats = Converted(rate, 0, mode);
            EXPECT_NEAR(static_cast<double>(ofFloats.size()),
                        static_cast<double>(Recording24().size()) * rate / kRate, 1.0);
            EXPECT_TRUE(ofFloats == Modelled<float>(rate, 0, mode)) << mode << " " << rate;
            EXPECT_TRUE(Converted(rate, 33, mode) == Modelled<double>(rate, 33, mode)) << mode << " " << rate;
        }
}

struct Noise {
    double mean, rms, largest; // in steps of 16 bits
    double slow;               // rms of means over 16 samples
};

// What a conversion at the same rate has added.
Noise NoiseOf(uint32_t mode)
{
    const std::vector<int16_t> out = Converted(kRate, 0, mode);
    const std::vector<int32_t> &in = Recording24();
    EXPECT_EQ(out.size(), in.size());
    Noise noise{};
    double squares = 0, slowSquares = 0, run = 0;
    for (size_t i = 0; i < std::min(in.size(), out.size()); ++i) {
        const double error = out[i] - in[i] / 256.0;
        noise.mean += error;
        squares += error * error;
        noise.largest = std::max(noise.largest, std::abs(error));
        run += error;
        if (i % 16 == 15) {
            slowSquares += run * run / 256;
            run = 0;
        }
    }
    const auto count = static_cast<double>(in.size());
    noise.mean /= count;
    noise.rms = std::sqrt(squares / count);
    noise.slow = std::sqrt(slowSquares / (count / 16));
    return noise;
}

// Noise of the width of one step has a variance of 1 / 12, and so has rounding; the difference of two of the
// former has 1 / 6. The third mode keeps its noise away from slow errors.
TEST(Recording24BitTest, GetsTheNoiseOfItsMode)
{
    const Noise rectangular = NoiseOf(0);
    const Noise highPass = NoiseOf(1);
    const Noise shaped = NoiseOf(2);
    for (const Noise &noise : {rectangular, highPass, shaped})
        EXPECT_NEAR(noise.mean, 0.0, 0.01);
    EXPECT_NEAR(rectangular.rms, std::sqrt(1 / 12.0 + 1 / 12.0), 0.01);
    EXPECT_NEAR(highPass.rms, std::sqrt(1 / 6.0 + 1 / 12.0), 0.01);
    EXPECT_GT(shaped.rms, 0.75);
    EXPECT_LE(rectangular.largest, 1.001);
    EXPECT_LE(highPass.largest, 1.501);
    EXPECT_LT(shaped.largest, 10.0);
    EXPECT_NEAR(rectangular.slow, rectangular.rms / 4, 0.01) << "white";
    EXPECT_LT(highPass.slow, 0.8 * rectangular.slow);
    EXPECT_LT(shaped.slow, rectangular.slow);
    EXPECT_LT(shaped.slow, shaped.rms / 8);
}

} // namespace
} // namespace tonekit
