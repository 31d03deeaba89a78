// process_test.cpp: whole blocks through the decoder, in each body.
#include "hdcd/hdcd_tables.h"
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/hdcd/random_stream.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/element_address.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/hdcd_encoder.h"

#include <gtest/gtest.h>

namespace tonekit {
namespace {

using Names = std::vector<const char *>;

class HdcdProcess : public HdcdBodies {
protected:
    int32_t Linked(Samples &samples, size_t from, size_t frames)
    {
        return processLinked(decoder.get(), samples.data() + 2 * from, static_cast<int32_t>(frames));
    }
    int32_t Linked(Samples &samples) { return Linked(samples, 0, samples.size() / 2); }

    OwnedDecoder decoder = NewDecoder();
    HdcdChannelState *channels = decoder->channel;
};

int32_t Attenuated(int32_t sample, int gain)
{
    return static_cast<int32_t>(int64_t{sample} * 32768 * HdcdGainTable32[gain] >> 23);
}

TEST_P(HdcdProcess, WithoutCodesEverySampleIsMultipliedBy32768)
{
    for (const size_t frames : {1u, 2u, 31u, 32u, 33u, 63u, 64u, 511u, 512u, 513u, 1024u, 5000u}) {
        Samples samples = NoiseFrames(frames, frames, 32768);
        const Samples before = samples;
        Linked(samples);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_EQ(samples[i], before[i] * 32768) << i;
    }
}

TEST_P(HdcdProcess, CodeTakesEffectOnTheFrameThatCompletesIt)
{
    for (size_t frame = 32; frame < 1200; frame += frame < 100 ? 1 : 97) {
        hdcd_reset(decoder.get());
        Samples samples(2 * 2000, 2000);
        HdcdEncoder encoder(samples);
        const size_t last = encoder.CodeB(0, frame, 0x02);
        encoder.CodeB(1, frame, 0x02);
        const Samples before = samples;
        EXPECT_EQ(Linked(samples), 256);
        for (size_t i = 0; i < 2000; ++i) {
            const int gain = i < last ? 0 : static_cast<int>(std::min<size_t>(i - last + 1, 256));
            ASSERT_EQ(samples[2 * i], Attenuated(before[2 * i], gain)) << frame << ' ' << i;
            ASSERT_EQ(samples[2 * i + 1], Attenuated(before[2 * i + 1], gain)) << frame << ' ' << i;
        }
    }
}

TEST_P(HdcdProcess, PeakExtensionIsEachChannelsOwn)
{
    Samples samples(2 * 400, 30000);
    HdcdEncoder encoder(samples);
    const size_t last = encoder.CodeB(1, 64, 0x10);
    encoder.CodeB(0, 64, 0x00);
    const Samples before = samples;
    Linked(samples);
    for (size_t i = 0; i < 400; ++i) {
        ASSERT_EQ(samples[2 * i], before[2 * i] * 32768);
        const int index = before[2 * i + 1] - 22913;
        ASSERT_EQ(samples[2 * i + 1],
                  i < last ? before[2 * i + 1] * 32768 : static_cast<int32_t>(HdcdPeakTable[index]))
            << i;
    }
}

TEST_P(HdcdProcess, ForcedExtensionNeedsNoCode)
{
    channels[0].decoder_options |= kHdcdForcePeakExtend;
    Samples samples = {32767, 32767, -32768, -32768, 22912, 22912};
    Linked(samples);
    EXPECT_EQ(samples,
              (Samples{0x7FF38000, 32767 * 32768, INT32_MIN, -(1 << 30), 22912 * 32768, 22912 * 32768}));
}

TEST_P(HdcdProcess, OneFrameIsAnEmptyRunAndALastFrame)
{
    channels[0].running_gain = channels[1].running_gain = 5;
    Samples samples = {7, -7};
    EXPECT_EQ(Linked(samples), 0);
    EXPECT_EQ(samples, (Samples{7 * 32768, -7 * 32768}));
    EXPECT_EQ(channels[0].sample_count, 1);
    EXPECT_EQ(channels[0].readahead, 31);
}

TEST_P(HdcdProcess, EmptyBlockLeavesGainsAndWindows)
{
    channels[0].running_gain = 5;
    channels[0].control = 2;
    channels[1].running_gain = 300;
    for (const int32_t count : {0, -4}) {
        EXPECT_EQ(processLinked(decoder.get(), nullptr, count), 300);
        EXPECT_EQ(channels[0].running_gain, 5);
        EXPECT_EQ(channels[0].readahead, 32);
        EXPECT_EQ(decoder->count_tg_mismatch, 0);
        EXPECT_EQ(channels[0].sample_count, count);
    }
    EXPECT_EQ(processChannel(&channels[1], nullptr, -3, 2), 300);
    EXPECT_EQ(channels[1].sample_count, -7);
}

TEST_P(HdcdProcess, MismatchCountsFramesAndKeepsTheLastCommonTarget)
{
    Samples samples(2 * 4000, 1000);
    HdcdEncoder encoder(samples);
    encoder.CodeB(0, 100, 0x04);
    encoder.CodeB(1, 100, 0x04);
    const size_t apart = encoder.CodeB(0, 1000, 0x08);
    const size_t together = encoder.CodeB(1, 2000, 0x08);
    Linked(samples);
    EXPECT_EQ(decoder->count_tg_mismatch, static_cast<int32_t>(together - apart));
    EXPECT_EQ(decoder->val_target_gain, 1024);
    const int32_t atFour = Attenuated(1000, 512);
    EXPECT_EQ(samples[2 * 1900], atFour);
    EXPECT_EQ(samples[2 * 1900 + 1], atFour);
    EXPECT_EQ(channels[0].running_gain, 1024);
}

TEST_P(HdcdProcess, LapseInsideABlockReleasesAtOnce)
{
    Samples samples(2 * 91000, 4000);
    HdcdEncoder encoder(samples);
    const size_t last = encoder.CodeB(0, 100, 0x14);
    encoder.CodeB(1, 100, 0x14);
    Linked(samples, 0, 50000);
    Linked(samples, 50000, 41000);
    EXPECT_EQ(channels[0].count_sustain_expired, 1);
    EXPECT_EQ(channels[1].count_sustain_expired, 1);
    const size_t lapse = last + 88200;
    EXPECT_EQ(samples[2 * (lapse - 1)], Attenuated(4000, 512));
    EXPECT_EQ(samples[2 * lapse], Attenuated(4000, 504));
    EXPECT_EQ(samples[2 * (lapse + 62)], Attenuated(4000, 8));
    EXPECT_EQ(samples[2 * (lapse + 63)], 4000 * 32768);
    EXPECT_EQ(samples[2 * (lapse + 64) + 1], 4000 * 32768);
}

TEST_P(HdcdProcess, OneFrameBlocksOfCodesOnTheSameFramesEqualOneBlock)
{
    Samples whole = NoiseFrames(1500, 3);
    HdcdEncoder encoder(whole);
    for (int channel = 0; channel < 2; ++channel) {
        encoder.CodeB(channel, 200, 0x16);
        encoder.CodeA(channel, 700, 0x01);
    }
    Samples cut = whole;
    Linked(whole);
    const OwnedDecoder other = NewDecoder();
    for (size_t i = 0; i < 1500; ++i)
        processLinked(other.get(), cut.data() + 2 * i, 1);
    EXPECT_EQ(cut, whole);
    EXPECT_EQ(reference::HdcdDifferences(*other, *decoder), Names{});
}

TEST_P(HdcdProcess, LinkedBlocksAgreeWithTheModel)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 150; ++round) {
        hdcd_reset(decoder.get());
        RandomStream stream(random);
        stream.DisturbDecoder(decoder.get());
        HdcdDecoder model = *decoder;
        for (const RandomStream::Block &block : stream.Blocks()) {
            GuardedBuffer buffer(block.samples.size() * 4, 4 * random.Below(16));
            std::copy(block.samples.begin(), block.samples.end(), buffer.As<int32_t>());
            Samples expected = block.samples;
            reference::HdcdProcessLinked(&model, expected.data(), Frames(expected));
            ASSERT_EQ(processLinked(decoder.get(), buffer.As<int32_t>(), Frames(expected)),
                      model.channel[1].running_gain);
            ASSERT_EQ(reference::HdcdDifferences(*decoder, model), Names{}) << "round " << round;
            ASSERT_EQ(Samples(buffer.As<int32_t>(), buffer.As<int32_t>() + expected.size()), expected)
                << "round " << round;
            ASSERT_TRUE(buffer.Intact());
        }
    }
}

// Following leaves what decoding leaves, and the samples alone.
TEST_P(HdcdProcess, FollowingMovesTheStateAsDecodingDoes)
{
    auto *follow = Get<decltype(FollowLinked)>("FollowLinked");
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 60; ++round) {
        hdcd_reset(decoder.get());
        RandomStream stream(random);
        stream.DisturbDecoder(decoder.get());
        HdcdDecoder model = *decoder;
        for (const RandomStream::Block &block : stream.Blocks()) {
            Samples samples = block.samples;
            Samples decoded = block.samples;
            reference::HdcdProcessLinked(&model, decoded.data(), Frames(decoded));
            ASSERT_EQ(follow(decoder.get(), samples.data(), Frames(samples)), model.channel[1].running_gain);
            ASSERT_EQ(reference::HdcdDifferences(*decoder, model), Names{}) << "round " << round;
            if (decoder->analyze_mode == 0) {
                ASSERT_EQ(samples, block.samples);
            }
        }
    }
}

TEST_P(HdcdProcess, SingleChannelsAgreeWithTheModel)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 150; ++round) {
        hdcd_reset(decoder.get());
        RandomStream stream(random);
        stream.DisturbDecoder(decoder.get());
        HdcdDecoder model = *decoder;
        for (const RandomStream::Block &block : stream.Blocks()) {
            Samples samples = block.samples;
            Samples expected = block.samples;
            for (int i = 0; i < 2; ++i) {
                reference::HdcdProcessChannel(&model.channel[i], ElementAddress(expected.data(), i),
                                              Frames(expected), 2);
                ASSERT_EQ(processChannel(&channels[i], ElementAddress(samples.data(), i), Frames(samples), 2),
                          model.channel[i].running_gain);
            }
            ASSERT_EQ(reference::HdcdDifferences(*decoder, model), Names{}) << "round " << round;
            ASSERT_EQ(samples, expected) << "round " << round;
        }
    }
}

TONEKIT_HDCD_BODIES(HdcdProcess);

} // namespace
} // namespace tonekit
