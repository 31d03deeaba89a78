// codes_test.cpp: the scan of the control stream, in each body.
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/hdcd_encoder.h"

#include <gtest/gtest.h>

namespace tonekit {
namespace {

using Names = std::vector<const char *>;

class HdcdCodes : public HdcdBodies {
protected:
    void SetUp() override
    {
        for (HdcdChannelState &c : channels)
            hdcd_channel_init(&c, 44100, 16, 0, kHdcdSilentMismatch);
    }
    int32_t Scan(const Samples &samples, size_t from = 0)
    {
        return findCodes(channels, 2, samples.data() + 2 * from, Frames(samples) - static_cast<int32_t>(from),
                         0);
    }

    HdcdChannelState channels[2];
};

TEST_P(HdcdCodes, FreshChannelReads32SamplesBeforeItsFirstLook)
{
    Samples samples = SilentBitFrames(40);
    EXPECT_EQ(findCodes(channels, 1, samples.data(), 31, 2), 31);
    EXPECT_EQ(channels[0].readahead, 1);
    EXPECT_EQ(findCodes(channels, 1, samples.data(), 1, 2), 1);
    EXPECT_EQ(channels[0].readahead, 31);
}

TEST_P(HdcdCodes, ZeroBitsAreLookedAtEvery31Samples)
{
    for (const int frames : {32, 63, 94, 32 + 31 * 100}) {
        SetUp();
        const Samples samples = SilentBitFrames(static_cast<size_t>(frames));
        EXPECT_EQ(Scan(samples), frames);
        for (const HdcdChannelState &c : channels)
            EXPECT_EQ(c.readahead, 31) << frames;
    }
}

TEST_P(HdcdCodes, CodeAStopsTheScanOnTheFrameThatCompletesIt)
{
    // Every frame relative to the 32 frame steps, and every stretch of them.
    for (size_t frame = 32; frame < 700; frame += frame < 110 ? 1 : 37) {
        SetUp();
        Samples samples = NoiseFrames(1000, frame);
        const size_t last = HdcdEncoder(samples).CodeA(1, frame, 0x15);
        EXPECT_EQ(last, frame + 39);
        EXPECT_EQ(Scan(samples), static_cast<int32_t>(last) + 1);
        const HdcdChannelState &c = channels[1];
        EXPECT_EQ(c.code_counterC, 1);
        EXPECT_EQ(c.code_counterA, 1);
        EXPECT_EQ(c.control, 0x1A);
        EXPECT_EQ(c.sustain, 88200u);
        EXPECT_EQ(c.count_sustain_expired, 0);
        EXPECT_EQ(c.arg, 0);
        EXPECT_EQ(c.count_peak_extend, 1);
        EXPECT_EQ(c.count_transient_filter, 0);
        EXPECT_EQ(c.gain_counts[10], 1);
        EXPECT_EQ(c.max_gain, 10);
        EXPECT_EQ(channels[0].sustain, 0u);
        EXPECT_EQ(channels[0].code_counterC, 0);
        EXPECT_EQ(channels[0].count_sustain_expired, -1);
    }
}

TEST_P(HdcdCodes, CodeBGivesTheSameControl)
{
    Samples samples = NoiseFrames(500, 1);
    const size_t last = HdcdEncoder(samples).CodeB(0, 100, 0x1A, 0xE5);
    EXPECT_EQ(last, 147u);
    EXPECT_EQ(Scan(samples), 148);
    EXPECT_EQ(channels[0].control, 0x1A);
    EXPECT_EQ(channels[0].code_counterB, 1);
    EXPECT_EQ(channels[0].code_counterA, 0);
    EXPECT_EQ(channels[0].code_counterC, 1);
}

TEST_P(HdcdCodes, EveryByteOfCodeA)
{
    for (int byte = 0; byte < 256; ++byte) {
        SetUp();
        channels[0].control = 0x55;
        Samples samples = SilentBitFrames(200);
        HdcdEncoder(samples).CodeA(0, 50, static_cast<uint8_t>(byte));
        const int32_t consumed = Scan(samples);
        const bool valid = (byte & 0xC8) == 0;
        EXPECT_EQ(channels[0].code_counterA, valid);
        EXPECT_EQ(channels[0].code_counterA_almost, !valid);
        EXPECT_EQ(consumed, valid ? 90 : 200);
        EXPECT_EQ(channels[0].control, valid ? (byte & 0x30) | (byte & 7) << 1 : 0x55);
        EXPECT_EQ(channels[0].sustain, valid ? 88200u : 0u);
        EXPECT_EQ(channels[0].count_transient_filter, valid && (byte & 0x20));
    }
}

TEST_P(HdcdCodes, EveryByteOfCodeBIsStoredAsReceived)
{
    for (int byte = 0; byte < 256; ++byte) {
        SetUp();
        Samples samples = SilentBitFrames(200);
        HdcdEncoder(samples).CodeB(0, 50, static_cast<uint8_t>(byte));
        EXPECT_EQ(Scan(samples), 98);
        EXPECT_EQ(channels[0].control, byte);
        EXPECT_EQ(channels[0].gain_counts[byte & 15], 1);
        EXPECT_EQ(channels[0].max_gain, byte & 15);
    }
}

TEST_P(HdcdCodes, BadCheckByteChangesNeitherControlNorTimer)
{
    for (int flip = 0; flip < 8; ++flip) {
        SetUp();
        channels[1].control = 0x12;
        channels[1].sustain = 5000;
        Samples samples = NoiseFrames(300, 2);
        HdcdEncoder(samples).CodeB(1, 60, 0x1A, static_cast<uint8_t>(0xE5 ^ 1 << flip));
        EXPECT_EQ(Scan(samples), 300);
        EXPECT_EQ(channels[1].control, 0x12);
        EXPECT_EQ(channels[1].sustain, 4700u);
        EXPECT_EQ(channels[1].code_counterB, 0);
        EXPECT_EQ(channels[1].code_counterB_checkfails, 1);
        EXPECT_EQ(channels[1].code_counterC, 1);
    }
}

// A window that has both patterns takes the branch of code A, and can only fail there.
TEST_P(HdcdCodes, CodeAComesBeforeCodeB)
{
    channels[0].arg = 1;
    channels[0].readahead = 32;
    Samples samples = SilentBitFrames(80);
    HdcdEncoder(samples).See(0, 0, 0xAFA60580 | 0x00080000, 32);
    Scan(samples);
    EXPECT_EQ(channels[0].code_counterA_almost, 1);
    EXPECT_EQ(channels[0].code_counterB_checkfails, 0);
    EXPECT_EQ(channels[0].arg, 0);
}

TEST_P(HdcdCodes, NeitherCodeIsDroppedInSilence)
{
    channels[0].arg = 1;
    const Samples samples = SilentBitFrames(32);
    EXPECT_EQ(Scan(samples), 32);
    EXPECT_EQ(channels[0].arg, 0);
    EXPECT_EQ(channels[0].code_counterA_almost, 0);
    EXPECT_EQ(channels[0].code_counterB_checkfails, 0);
    EXPECT_EQ(channels[0].code_counterC_unmatched, 0);
    EXPECT_EQ(channels[0].readahead, 31);
}

// A look that finds no code may find the next prefix.
TEST_P(HdcdCodes, AwaitingChannelMayAwaitAgain)
{
    channels[0].arg = 1;
    Samples samples = SilentBitFrames(100);
    HdcdEncoder(samples).CodeA(0, 0, 0x07);
    EXPECT_EQ(Scan(samples), 40);
    EXPECT_EQ(channels[0].code_counterC, 1);
    EXPECT_EQ(channels[0].code_counterA, 1);
    EXPECT_EQ(channels[0].control, 0x0E);
}

TEST_P(HdcdCodes, CodesBackToBack)
{
    Samples samples = NoiseFrames(400, 3);
    HdcdEncoder encoder(samples);
    const size_t first = encoder.CodeA(0, 64, 0x01);
    const size_t second = encoder.CodeB(0, first + 1, 0x04);
    const size_t third = encoder.CodeA(0, second + 1, 0x03);
    size_t at = 0;
    for (const auto &[last, control] : {std::pair{first, 0x02}, {second, 0x04}, {third, 0x06}}) {
        at += static_cast<size_t>(Scan(samples, at));
        EXPECT_EQ(at, last + 1);
        EXPECT_EQ(channels[0].control, control);
    }
    EXPECT_EQ(channels[0].code_counterC, 3);
}

TEST_P(HdcdCodes, TimerEndsTheScanExactlyAtItsExpiry)
{
    Samples samples = NoiseFrames(90000, 4);
    const size_t last = HdcdEncoder(samples).CodeA(0, 100, 0x12);
    size_t at = static_cast<size_t>(Scan(samples));
    EXPECT_EQ(at, last + 1);
    EXPECT_EQ(Scan(samples, at), 88200);
    EXPECT_EQ(channels[0].control, 0);
    EXPECT_EQ(channels[0].sustain, 0u);
    EXPECT_EQ(channels[0].count_sustain_expired, 1);
    at += 88200;
    EXPECT_EQ(Scan(samples, at), static_cast<int32_t>(90000 - at));
    EXPECT_EQ(channels[0].count_sustain_expired, 1);
}

TEST_P(HdcdCodes, TimerThatACodeSetsAgainHasNotExpired)
{
    Samples samples = NoiseFrames(200, 5);
    const size_t last = HdcdEncoder(samples).CodeA(0, 50, 0x02);
    channels[0].sustain = 90; // lapses with the very frame of the code
    channels[0].control = 0x11;
    EXPECT_EQ(last, 89u);
    EXPECT_EQ(Scan(samples), 90);
    EXPECT_EQ(channels[0].sustain, 88200u);
    EXPECT_EQ(channels[0].control, 0x04);
    EXPECT_EQ(channels[0].count_sustain_expired, 0 - 1 + 1);
}

// The first channel is charged for the longer way before the second one shortens it.
TEST_P(HdcdCodes, ShorterTimerOfTheSecondChannelComesTooLateForTheFirst)
{
    const Samples samples = NoiseFrames(300, 6);
    channels[0].sustain = 1000;
    channels[1].sustain = 120;
    channels[0].count_sustain_expired = channels[1].count_sustain_expired = 0;
    EXPECT_EQ(Scan(samples), 120);
    EXPECT_EQ(channels[0].sustain, 700u);
    EXPECT_EQ(channels[1].sustain, 0u);
    EXPECT_EQ(channels[0].count_sustain_expired, 0);
    EXPECT_EQ(channels[1].count_sustain_expired, 1);
}

TEST_P(HdcdCodes, ShorterTimerOfTheFirstChannelShortensTheSecondsCharge)
{
    const Samples samples = NoiseFrames(300, 6);
    channels[0].sustain = 120;
    channels[1].sustain = 1000;
    EXPECT_EQ(Scan(samples), 120);
    EXPECT_EQ(channels[0].sustain, 0u);
    EXPECT_EQ(channels[1].sustain, 880u);
}

// The rest of a block is charged before it is scanned; a code that stops the scan takes nothing off.
TEST_P(HdcdCodes, EarlyStopGivesNothingBackToTheOtherChannel)
{
    Samples samples = NoiseFrames(300, 7);
    HdcdEncoder(samples).CodeA(0, 50, 0x00);
    channels[1].sustain = 1000;
    EXPECT_EQ(Scan(samples), 90);
    EXPECT_EQ(channels[0].sustain, 88200u);
    EXPECT_EQ(channels[1].sustain, 700u);
}

TEST_P(HdcdCodes, CodesOnBothChannelsAtOnceSetBothTimers)
{
    Samples samples = NoiseFrames(300, 8);
    HdcdEncoder encoder(samples);
    encoder.CodeA(0, 58, 0x01);
    encoder.CodeB(1, 50, 0x22);
    EXPECT_EQ(Scan(samples), 98);
    EXPECT_EQ(channels[0].sustain, 88200u);
    EXPECT_EQ(channels[1].sustain, 88200u);
    EXPECT_EQ(channels[0].control, 0x02);
    EXPECT_EQ(channels[1].control, 0x22);
}

TEST_P(HdcdCodes, NothingToScanChangesNothing)
{
    for (const int32_t max : {0, -1, INT32_MIN}) {
        SetUp();
        channels[0].sustain = 5;
        channels[0].control = 3;
        const HdcdChannelState before = channels[0];
        EXPECT_EQ(findCodes(channels, 2, nullptr, max, 0), 0);
        EXPECT_EQ(reference::HdcdDifferences(channels[0], before), Names{});
    }
}

TEST_P(HdcdCodes, StrideBelowTheChannelsIsReplaced)
{
    Samples samples = NoiseFrames(200, 9);
    const size_t last = HdcdEncoder(samples).CodeA(1, 90, 0x04);
    for (const int32_t stride : {-3, 0, 1, 2}) {
        SetUp();
        EXPECT_EQ(findCodes(channels, 2, samples.data(), 200, stride), static_cast<int32_t>(last) + 1);
    }
}

TEST_P(HdcdCodes, WideStridesAndOneChannelReadTheirOwnSamples)
{
    Samples stereo = NoiseFrames(300, 10);
    const size_t last = HdcdEncoder(stereo).CodeB(0, 120, 0x0C);
    Samples wide(300 * 5, 1);
    for (size_t i = 0; i < 300; ++i) {
        wide[5 * i] = stereo[2 * i];
        wide[5 * i + 1] = stereo[2 * i + 1];
    }
    EXPECT_EQ(findCodes(channels, 2, wide.data(), 300, 5), static_cast<int32_t>(last) + 1);
    SetUp();
    EXPECT_EQ(findCodes(channels, 1, wide.data(), 300, 5), static_cast<int32_t>(last) + 1);
    EXPECT_EQ(channels[1].window, 0u);
}

// Random streams, states and cuts against the model, samples beyond 16 bits too.
TEST_P(HdcdCodes, AgreesWithTheModel)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 400; ++round) {
        Samples samples(2 * (1 + random.Below(2000)));
        random.Fill(samples.data(), samples.size() * sizeof samples[0]);
        if (round % 3 == 0)
            for (int32_t &sample : samples)
                sample &= ~1;
        HdcdEncoder encoder(samples);
        for (uint32_t packet = random.Below(6); packet != 0; --packet) {
            const uint32_t frame = random.Below(static_cast<uint32_t>(samples.size() / 2));
            if (frame + 48 > samples.size() / 2)
                continue;
            const int channel = static_cast<int>(random.Below(2));
            const auto byte = static_cast<uint8_t>(random.Next());
            switch (random.Below(4)) {
            case 0:
                encoder.CodeA(channel, frame, byte & 0x37);
                break;
            case 1:
                encoder.CodeA(channel, frame, byte);
                break;
            case 2:
                encoder.CodeB(channel, frame, byte);
                break;
            default:
                encoder.CodeB(channel, frame, byte, static_cast<uint8_t>(random.Next()));
                break;
            }
        }
        SetUp();
        const bool odd = random.Below(4) == 0;
        for (HdcdChannelState &c : channels) {
            if (random.Below(2) != 0)
                c.sustain = 1 + random.Below(3000);
            if (odd) {
                random.Fill(&c.window, sizeof c.window);
                c.readahead = static_cast<uint8_t>(1 + random.Below(32));
                c.arg = static_cast<uint8_t>(random.Below(2));
            }
        }
        HdcdChannelState model[2] = {channels[0], channels[1]};
        const int count = 1 + static_cast<int>(random.Below(2));
        int32_t at = 0;
        while (at < Frames(samples)) {
            const int32_t most = 1 + static_cast<int32_t>(random.Below(round % 2 ? 40 : 1500));
            const int32_t max = std::min(most, Frames(samples) - at);
            const int32_t expected = reference::HdcdFindCodes(model, count, samples.data() + 2 * at, max, 2);
            ASSERT_EQ(findCodes(channels, count, samples.data() + 2 * at, max, 2), expected);
            for (int i = 0; i < 2; ++i)
                ASSERT_EQ(reference::HdcdDifferences(channels[i], model[i]), Names{}) << "round " << round;
            at += expected;
        }
    }
}

TONEKIT_HDCD_BODIES(HdcdCodes);

} // namespace
} // namespace tonekit
