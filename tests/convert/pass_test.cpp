// pass_test.cpp: every byte of the pass against the slow model, call by call, in each body.
#include "convert/dither.h"
#include "tests/reference/pass.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

using reference::Encoding;

struct Format {
    Encoding encoding;
    uint32_t code, bits;
};
constexpr Format kInt8{Encoding::kInt8, 0, 8};
constexpr Format kInt16{Encoding::kInt16, 0, 16};
constexpr Format kInt24{Encoding::kInt24, 0, 24};
constexpr Format kInt32{Encoding::kInt32, 0, 32};
constexpr Format kInt64{Encoding::kInt64, 0, 64};
constexpr Format kFloat32{Encoding::kFloat32, 1, 32};
constexpr Format kFloat64{Encoding::kFloat64, 1, 64};
constexpr Format kHdcd{Encoding::kHdcdInt32, 2, 32};

struct Stream {
    Format input, output;
    uint32_t inputChannels, outputChannels;
    uint32_t inputRate, outputRate;
    uint32_t span = 0;
    bool limiter = false;
    int ditherMode = -1; // off
};

// A converter compared with its model, both fed the same calls.
class Pair {
public:
    Pair(char letter, const Stream &stream) : letter_(letter), stream_(stream)
    {
        SetDitherParameters(stream.ditherMode >= 0,
                            stream.ditherMode >= 0 ? static_cast<uint32_t>(stream.ditherMode) : 1);
        Body<void(void *)>("_ZN21CSampleRateConverter3C1Ev", letter)(memory_);
        using Init = void(void *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                          uint32_t, void *&, void *&, bool, bool, uint32_t, uint32_t);
        Body<Init>("_ZN21CSampleRateConverter34InitEjjjjjjjjRPvS1_bbjj", letter)(
            memory_, stream.input.code, stream.input.bits, stream.inputChannels, stream.inputRate,
            stream.output.code, stream.output.bits, stream.outputChannels, stream.outputRate, input_, output_,
            stream.ditherMode >= 0, stream.limiter, 0, stream.span);
        SetDitherSeed(kSeed);

        reference::PassSettings settings{stream.input.encoding, stream.output.encoding, stream.inputChannels,
                                         stream.inputRate,      stream.outputChannels,  stream.outputRate};
        settings.limiter = stream.limiter;
        settings.dither = stream.ditherMode >= 0 && stream.output.bits != 32;
        settings.ditherMode = stream.ditherMode;
        settings.ditherScale =
            stream.output.bits == 64 ? 0.0 : std::ldexp(1.0, static_cast<int>(stream.output.bits) - 1);
        settings.hdcdGain = 1.9952623149688795;
        const bool equal = stream.inputRate == stream.outputRate;
        const soxr_t resampler = equal ? nullptr
                                       : reference::NewResampler(stream.inputRate, stream.outputRate,
                                                                 stream.outputChannels, stream.span);
        if (equal || reference::SpanTakesDouble(stream.span))
            double_ = std::make_unique<reference::Pass<double>>(settings, resampler, kSeed);
        else
            float_ = std::make_unique<reference::Pass<float>>(settings, resampler, kSeed);
    }
    ~Pair()
    {
        Object().~CSampleRateConverter3();
        SetDitherParameters(0, 1);
    }
    Pair(const Pair &) = delete;
    Pair &operator=(const Pair &) = delete;

    CSampleRateConverter3 &Object() { return *reinterpret_cast<CSampleRateConverter3 *>(memory_); }

    // One call of both. Returns the frames that came out.
    uint32_t Call(const std::vector<uint8_t> &data, uint32_t frames, bool last)
    {
        std::copy(data.begin(), data.end(), static_cast<uint8_t *>(input_));
        const uint32_t result = Body<uint32_t(void *, uint32_t, bool)>(
            "_ZN21CSampleRateConverter38ResampleEjb", letter_)(memory_, frames, last);
        const auto expected = double_ ? double_->Resample(data.data(), frames, last)
                                      : float_->Resample(data.data(), frames, last);
        const size_t frameBytes = size_t{stream_.output.bits} * stream_.outputChannels / 8;
        EXPECT_EQ(result * frameBytes, expected.size());
        if (result * frameBytes == expected.size()) {
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), static_cast<uint8_t *>(output_)))
                << "a byte differs";
        }
        EXPECT_EQ(Object().finished, double_ ? double_->finished : float_->finished);
        // The gain of the other path stays what it was at the start.
        EXPECT_EQ(Object().mixLimiterGainDouble, double_ ? double_->gain : 1.0);
        EXPECT_EQ(Object().mixLimiterGainFloat, double_ ? 1.0f : float_->gain);
        if (stream_.ditherMode >= 0) {
            EXPECT_EQ(DitherSeed(), double_ ? double_->Seed().seed : float_->Seed().seed);
        }
        return result;
    }

    // So many frames from the start of the output buffer.
    std::vector<uint8_t> OutputBytes(uint32_t frames) const
    {
        const auto *bytes = static_cast<const uint8_t *>(output_);
        return {bytes, bytes + size_t{frames} * stream_.outputChannels * stream_.output.bits / 8};
    }

    std::vector<uint8_t> RandomFrames(Random &random, uint32_t frames) const
    {
        const size_t count = size_t{frames} * stream_.inputChannels;
        std::vector<uint8_t> data(count * stream_.input.bits / 8);
        if (stream_.input.code != 1) {
            random.Fill(data.data(), data.size());
            return data;
        }
        for (size_t i = 0; i < count; ++i) {
            const double sample = 2.5 * random.Uniform() - 1.25;
            const auto narrow = static_cast<float>(sample);
            if (stream_.input.bits == 64)
                std::memcpy(&data[8 * i], &sample, 8);
            else
                std::memcpy(&data[4 * i], &narrow, 4);
        }
        return data;
    }

    // A stream from its first block to its end: some blocks, a short one, then calls until none returns
    // frames.
    void RunStream(Random &random, const std::vector<uint32_t> &blocks)
    {
        for (const uint32_t frames : blocks)
            Call(RandomFrames(random, frames), frames, false);
        for (int call = 0; call < 6; ++call)
            Call({}, 0, true);
    }

private:
    static constexpr uint32_t kSeed = 12345;

    char letter_;
    Stream stream_;
    alignas(CSampleRateConverter3) unsigned char memory_[sizeof(CSampleRateConverter3)];
    void *input_ = nullptr;
    void *output_ = nullptr;
    std::unique_ptr<reference::Pass<double>> double_;
    std::unique_ptr<reference::Pass<float>> float_;
};

class PassTest : public testing::TestWithParam<char> {};

TEST_P(PassTest, CopiesEqualIntegerFormatsWithoutDither)
{
    Random random(1);
    for (const Format &format : {kInt8, kInt16, kInt24, kInt32}) {
        Pair pair(GetParam(), {format, format, 3, 3, 48000, 48000, 0, false, 1});
        EXPECT_EQ(pair.Call(pair.RandomFrames(random, 777), 777, false), 777u);
        EXPECT_EQ(pair.Call({}, 0, true), 0u);
    }
}

TEST_P(PassTest, ClipsFloatsOfEqualFormats)
{
    Pair pair(GetParam(), {kFloat32, kFloat32, 2, 2, 48000, 48000});
    const float values[4] = {1.5f, -3.0f, 0.25f, 1.0f};
    std::vector<uint8_t> data(sizeof values);
    std::memcpy(data.data(), values, sizeof values);
    pair.Call(data, 2, false);
    const auto *out = static_cast<const float *>(pair.Object().outputBuffer);
    EXPECT_EQ(out[0], 1.0f);
    EXPECT_EQ(out[1], -1.0f);
    EXPECT_EQ(out[2], 0.25f);
    EXPECT_EQ(out[3], 1.0f);
}

TEST_P(PassTest, MixOfEqualChannelsStillAddsItsZeroes)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Pair pair(GetParam(), {kFloat64, kFloat64, 2, 2, 48000, 48000});
    const double values[6] = {-0.0, 1.0, 0.5, nan, -0.0, -1.0};
    std::memcpy(pair.Object().inputBuffer, values, sizeof values);
    ASSERT_EQ(Body<uint32_t(void *, uint32_t, bool)>("_ZN21CSampleRateConverter38ResampleEjb",
                                                     GetParam())(&pair.Object(), 3, false),
              3u);
    const auto *out = static_cast<const double *>(pair.Object().outputBuffer);
    EXPECT_FALSE(std::signbit(out[0])) << "-0.0 + 0.0 is 0.0";
    EXPECT_TRUE(std::isnan(out[2])) << "a NaN times 0 reaches its neighbour";
    EXPECT_TRUE(std::isnan(out[3]));
    EXPECT_TRUE(std::signbit(out[4])) << "-0.0 + -0.0 stays";
}

TEST_P(PassTest, EqualRatesConvertEveryFormat)
{
    Random random(2);
    for (const Format &input : {kInt8, kInt16, kInt24, kInt32, kInt64, kFloat32, kFloat64, kHdcd})
        for (const Format &output : {kInt8, kInt16, kInt24, kInt32, kFloat32, kFloat64}) {
            Pair pair(GetParam(), {input, output, 2, 2, 44100, 44100});
            pair.RunStream(random, {1, 3000, 0, 17});
        }
}

TEST_P(PassTest, EqualRatesMixEveryPairOfLayouts)
{
    Random random(3);
    for (const uint32_t inputs : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 10u})
        for (const uint32_t outputs : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}) {
            Pair pair(GetParam(), {kInt16, kInt24, inputs, outputs, 44100, 44100, 0, random.Below(2) == 1});
            pair.RunStream(random, {700, 1301});
        }
}

TEST_P(PassTest, EqualCountsBeyondEightChannelsAreSilent)
{
    Random random(13);
    for (const uint32_t channels : {9u, 10u})
        for (const Format &input : {kInt16, kInt32, kHdcd}) {
            Pair pair(GetParam(), {input, kInt24, channels, channels, 48000, 48000});
            ASSERT_EQ(pair.Call(pair.RandomFrames(random, 500), 500, false), 500u);
            EXPECT_EQ(pair.OutputBytes(500), std::vector<uint8_t>(500 * channels * 3)) << channels;
            Pair resampled(GetParam(), {input, kInt24, channels, channels, 48000, 44100});
            const uint32_t frames = resampled.Call(resampled.RandomFrames(random, 5324), 5324, false);
            ASSERT_GT(frames, 1000u);
            EXPECT_EQ(resampled.OutputBytes(frames), std::vector<uint8_t>(frames * channels * 3)) << channels;
        }
}

TEST_P(PassTest, EachPathHasALimiterGainOfItsOwn)
{
    const std::vector<int16_t> full(6 * 5324, 32767); // 6 channels to 2 sum up to 2.2091 of it
    std::vector<uint8_t> data(full.size() * 2);
    std::memcpy(data.data(), full.data(), data.size());
    for (const uint32_t span : {0u, 33u}) {
        Pair pair(GetParam(), {kInt16, kInt16, 6, 2, 48000, 44100, span, true});
        pair.Call(data, 5324, false);
        EXPECT_EQ(pair.Object().mixLimiterGainDouble < 0.5, span == 33);
        EXPECT_EQ(pair.Object().mixLimiterGainFloat < 0.5f, span == 0);
        EXPECT_EQ(span == 33 ? pair.Object().mixLimiterGainFloat : pair.Object().mixLimiterGainDouble, 1);
    }
}

TEST_P(PassTest, AMixThatNeverOvershootsKeepsAGainOfOne)
{
    // The left of 5 channels to 2 is 1.0 of the first, 0.7079 of the third and 0.5012 of the fourth; a sum of
    // exactly 1.0 isn't above the limit.
    const double frame[5] = {1.0, -1.0, 0.0, 0.0, 0.0};
    std::vector<uint8_t> data(5324 * sizeof frame);
    for (size_t at = 0; at < data.size(); at += sizeof frame)
        std::memcpy(&data[at], frame, sizeof frame);
    for (const uint32_t span : {0u, 33u})
        for (const uint32_t outputRate : {48000u, 44100u}) {
            Pair pair(GetParam(), {kFloat64, kInt16, 5, 2, 48000, outputRate, span, true});
            pair.Call(data, 5324, false);
            EXPECT_EQ(pair.Object().mixLimiterGainDouble, 1.0);
            EXPECT_EQ(pair.Object().mixLimiterGainFloat, 1.0f);
        }
}

TEST_P(PassTest, EqualRatesStrayThroughEightChannels)
{
    // A constant goes through the low-pass only at elements 3, 9, 15 and so on of as many as there are
    // frames.
    constexpr uint32_t kFrames = 4000;
    Pair pair(GetParam(), {kFloat64, kFloat64, 2, 8, 48000, 48000});
    std::vector<uint8_t> data(kFrames * 16);
    for (uint32_t i = 0; i < 2 * kFrames; ++i) {
        const double half = 0.5;
        std::memcpy(&data[8 * i], &half, 8);
    }
    pair.Call(data, kFrames, false);
    const auto *out = static_cast<const double *>(pair.Object().outputBuffer);
    constexpr double kMixed[8] = {0.5, 0.5, 0.3548, 0.3548, 0.2506, 0.2506, 0.2506, 0.2506};
    for (uint32_t element = 0; element < 8 * kFrames; ++element) {
        const bool filtered = element % 6 == 3 && element < 6 * kFrames;
        if (!filtered) {
            ASSERT_NEAR(out[element], kMixed[element % 8], 1e-15) << element;
        }
    }
    EXPECT_LT(std::abs(out[3]), 0.001) << "the filter starts from rest";
    EXPECT_NE(out[9], kMixed[1]);
}

TEST_P(PassTest, EqualRatesDitherInEachMode)
{
    Random random(4);
    for (const int mode : {0, 1, 2})
        for (const Format &output : {kInt8, kInt16, kInt24, kInt32, kFloat32}) {
            Pair pair(GetParam(), {kFloat64, output, 2, 6, 48000, 48000, 0, false, mode});
            pair.RunStream(random, {2500, 1, 333});
        }
}

TEST_P(PassTest, DitherOf64BitFloatDividesByZero)
{
    Pair pair(GetParam(), {kFloat64, kFloat64, 1, 1, 48000, 48000, 0, false, 0});
    std::vector<uint8_t> data(16);
    pair.Call(data, 2, false);
    const auto *out = static_cast<const double *>(pair.Object().outputBuffer);
    EXPECT_FALSE(std::isfinite(out[0]));
}

TEST_P(PassTest, RatesDiffer)
{
    Random random(5);
    for (const uint32_t span : {0u, 24u, 31u, 33u})
        for (const auto &[inputRate, outputRate] :
             {std::pair{48000u, 44100u}, {44100u, 96000u}, {8000u, 11025u}}) {
            Pair pair(GetParam(), {kInt16, kInt24, 2, 2, inputRate, outputRate, span});
            const uint32_t block = pair.Object().blockFrames;
            pair.RunStream(random, {block, block, 1000});
        }
}

TEST_P(PassTest, RatesThatLeadThroughEachKindOfStage)
{
    // What is made of the start edge needn't be right, as it is skipped.
    Random random(14);
    for (const uint32_t span : {0u, 24u, 33u})
        for (const auto &[inputRate, outputRate] : {std::pair{48000u, 16000u},
                                                    {8000u, 192000u},
                                                    {192000u, 11025u},
                                                    {44101u, 47999u},
                                                    {22050u, 44100u},
                                                    {44100u, 22050u}})
            for (const uint32_t first : {65u, 700u, 2000u}) {
                Pair pair(GetParam(), {kInt16, kFloat64, 1, 1, inputRate, outputRate, span});
                pair.RunStream(random, {first, 300});
            }
}

TEST_P(PassTest, TheEndFirstAndThenABlock)
{
    Random random(15);
    for (const uint32_t span : {0u, 33u}) {
        Pair pair(GetParam(), {kInt16, kInt24, 2, 2, 48000, 44100, span});
        pair.Call({}, 0, true);
        pair.RunStream(random, {5324, 5324});
    }
}

TEST_P(PassTest, RatesDifferWithEveryFormat)
{
    Random random(6);
    for (const uint32_t span : {0u, 33u})
        for (const Format &input : {kInt8, kInt24, kInt32, kInt64, kFloat32, kFloat64, kHdcd})
            for (const Format &output : {kInt8, kInt16, kInt32, kFloat32, kFloat64}) {
                Pair pair(GetParam(), {input, output, 1, 2, 48000, 44100, span});
                pair.RunStream(random, {5324, 900});
            }
}

TEST_P(PassTest, RatesDifferWithMadeUpLowFrequencyChannels)
{
    Random random(7);
    for (const uint32_t span : {0u, 33u})
        for (const auto &[inputs, outputs] : {std::pair{1u, 6u},
                                              {1u, 5u},
                                              {2u, 5u},
                                              {4u, 5u},
                                              {2u, 6u},
                                              {2u, 7u},
                                              {2u, 8u},
                                              {4u, 8u},
                                              {5u, 7u},
                                              {6u, 6u},
                                              {3u, 6u},
                                              {6u, 8u},
                                              {8u, 2u},
                                              {5u, 2u},
                                              {7u, 1u},
                                              {2u, 3u}}) {
            Pair pair(GetParam(), {kInt16, kInt16, inputs, outputs, 48000, 44100, span, true, 2});
            pair.RunStream(random, {5324, 5324, 77});
        }
}

TEST_P(PassTest, StartEdgeNeedsMoreThan64Frames)
{
    Random random(8);
    for (const uint32_t frames : {1u, 63u, 64u, 65u, 200u}) {
        Pair pair(GetParam(), {kInt16, kInt16, 2, 2, 48000, 44100});
        pair.Call(pair.RandomFrames(random, frames), frames, false);
        EXPECT_TRUE(pair.Object().firstBlockDone);
        // An edge of 2400 frames fills the filter, so that part of it has come out already and counts as
        // skipped.
        EXPECT_EQ(pair.Object().pendingSkipFrames != 0 || pair.Object().heldOutputFrames != 0, frames > 64)
            << frames;
        for (int call = 0; call < 5; ++call)
            pair.Call({}, 0, true);
    }
}

TEST_P(PassTest, ShortBlocksInTheMiddleRotateTheStage)
{
    Random random(9);
    for (const uint32_t span : {0u, 33u}) {
        Pair pair(GetParam(), {kFloat32, kFloat32, 2, 2, 48000, 44100, span});
        pair.RunStream(random, {5324, 2662, 1, 5323, 1331, 4});
    }
}

TEST_P(PassTest, RotationKeepsOnlyEightBitsOfSomeSamples)
{
    for (const uint32_t span : {0u, 33u}) {
        Pair pair(GetParam(), {kFloat64, kFloat64, 1, 1, 48000, 44100, span});
        std::vector<uint8_t> data(8 * 5324);
        const double values[] = {300.75, -1.5, 0.9,  1e20, std::numeric_limits<double>::quiet_NaN(),
                                 -257.0, 3e9,  128.0};
        for (size_t i = 0; i < 8; ++i)
            std::memcpy(&data[8 * i], &values[i], 8);
        data.resize(8 * 2662);
        pair.Call(data, 2662, false); // half a block: 2662 cycles of two samples
        for (int i = 0; i < 8; ++i) {
            constexpr double kExpected[] = {44.0, 255.0, 0.0, 0.0, 0.0, 255.0, 0.0, 128.0};
            const double rotated =
                span == 0 ? pair.Object().stageFloat[2662 + i] : pair.Object().stageDouble[2662 + i];
            EXPECT_EQ(rotated, kExpected[i]) << i;
        }
    }
}

TEST_P(PassTest, FramesWithLastAreLost)
{
    Random random(10);
    Pair pair(GetParam(), {kInt16, kInt16, 2, 2, 48000, 44100});
    pair.Call(pair.RandomFrames(random, 5324), 5324, false);
    pair.Call(pair.RandomFrames(random, 1000), 1000, true);
    pair.Call(pair.RandomFrames(random, 1000), 1000, true);
    pair.Call({}, 0, true);
    pair.Call({}, 0, true);
}

TEST_P(PassTest, EndWithoutAnyBlockAndEmptyBlocks)
{
    Pair empty(GetParam(), {kInt16, kInt16, 2, 2, 48000, 44100});
    for (int call = 0; call < 4; ++call)
        empty.Call({}, 0, true);
    EXPECT_TRUE(empty.Object().finished);
    Random random(11);
    Pair pair(GetParam(), {kInt16, kInt16, 2, 2, 48000, 44100, 33});
    pair.RunStream(random, {0, 5324, 0, 0, 70});
}

TEST_P(PassTest, CoprimeRatesWithASecondOfEdge)
{
    Random random(12);
    Pair pair(GetParam(), {kInt16, kInt16, 1, 1, 4409, 4410});
    pair.RunStream(random, {512, 512, 512, 512, 100});
}

TEST_P(PassTest, ReadsTheDitherModeAtEachBlock)
{
    CSampleRateConverter3 converter;
    SetDitherParameters(1, 0);
    void *input = nullptr;
    void *output = nullptr;
    converter.Init(1, 64, 1, 48000, 0, 16, 1, 48000, input, output, true, false, 0, 0);
    std::memset(input, 0, 800);
    for (const uint32_t mode : {2u, 1u, 0u}) {
        SetDitherParameters(0, mode); // enable counts at set-up only
        SetDitherSeed(1);
        converter.Resample(100, false);
        EXPECT_EQ(DitherSeed() == 1, false);
        reference::Noise noise{1};
        for (uint32_t i = 0; i < (mode == 2 ? 200u : 100u); ++i)
            noise.Next();
        EXPECT_EQ(DitherSeed(), noise.seed) << mode;
    }
    SetDitherParameters(0, 1);
}

INSTANTIATE_TEST_SUITE_P(Bodies, PassTest, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
