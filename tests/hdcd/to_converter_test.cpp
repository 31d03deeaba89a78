// to_converter_test.cpp: decoded samples on their way through a converter as format code 2.
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/support/hdcd_encoder.h"

#include <gtest/gtest.h>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

// Decoded stereo as doubles, at an HDCD gain in decibels.
std::vector<double> Convert(const Samples &decoded, uint32_t gain)
{
    SetHDCDGain(gain);
    void *const converter = SRC4_Init(2, 32, 2, 44100, 1, 64, 2, 44100, false, false, 0, 0);
    std::vector<double> result;
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    const auto take = [&] {
        const auto *samples = static_cast<const double *>(out);
        result.insert(result.end(), samples, samples + 2 * size_t{frames});
    };
    SRC4_Write(converter, decoded.data(), static_cast<uint32_t>(decoded.size() / 2));
    while (SRC4_Read(converter, &out, &frames, &bytes) != 0)
        take();
    while (SRC4_Flush(converter, &out, &frames, &bytes) != 0)
        take();
    SRC4_Deinit(converter);
    SetHDCDGain(6);
    return result;
}

TEST(HdcdToConverter, PlainAudioComesOutAtHalfScaleAndTheGainRaisesIt)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples = {16384, -32768, 1, 0};
    hdcd_process(decoder.get(), samples.data(), 2);
    EXPECT_EQ(Convert(samples, 0), (std::vector<double>{0.25, -0.5, 1 / 65536.0, 0.0}));
    // The factor of 6 dB, 10^(6/20).
    EXPECT_EQ(Convert(samples, 6)[0], 0.25 * 1.9952623149688795);
}

TEST(HdcdToConverter, ExtendedPeaksFillTheScale)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples(2 * 200, 32767);
    HdcdEncoder encoder(samples);
    for (int channel = 0; channel < 2; ++channel)
        encoder.CodeB(channel, 64, 0x10);
    hdcd_process(decoder.get(), samples.data(), 200);
    const std::vector<double> audio = Convert(samples, 0);
    ASSERT_EQ(audio.size(), 400u);
    EXPECT_EQ(audio[0], 32767 / 65536.0);
    EXPECT_EQ(audio[398], 0x7FF38000 / 2147483648.0);
}

} // namespace
} // namespace tonekit
