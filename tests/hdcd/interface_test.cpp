// interface_test.cpp: the exported functions: detection, scans, memory, nulls.
#include "hdcd/detection.h"
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/hdcd/random_stream.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/hdcd_encoder.h"

#include <gtest/gtest.h>

namespace tonekit {
namespace {

using Names = std::vector<const char *>;

// Both channels carry a code B every 500 frames from 100 on.
Samples Encoded(size_t frames, uint8_t left, uint8_t right)
{
    Samples samples = NoiseFrames(frames, left + 256u * right);
    HdcdEncoder encoder(samples);
    for (size_t frame = 100; frame + 48 <= frames; frame += 500) {
        encoder.CodeB(0, frame, left);
        encoder.CodeB(1, frame, right);
    }
    return samples;
}

std::vector<int16_t> Narrow(const Samples &samples)
{
    return {samples.begin(), samples.end()};
}

TEST(HdcdInterface, NullDecodersAreIgnored)
{
    int32_t samples[2] = {5, 6};
    const int16_t narrow[2] = {5, 6};
    hdcd_reset(nullptr);
    hdcd_process(nullptr, samples, 1);
    hdcd_free(nullptr);
    EXPECT_EQ(hdcd_scan(nullptr, samples, 1), 0u);
    EXPECT_EQ(hdcd_scan16(nullptr, narrow, 1), 0u);
    EXPECT_EQ(hdcd_detected(nullptr), 0u);
    EXPECT_EQ(samples[0], 5);
}

TEST(HdcdInterface, FreshDecoderHasDetectedNothing)
{
    EXPECT_EQ(hdcd_detected(NewDecoder().get()), 0u);
}

TEST(HdcdInterface, PlainAudioStaysAtNothing)
{
    const OwnedDecoder decoder = NewDecoder();
    for (uint64_t block = 0; block < 50; ++block) {
        Samples samples = NoiseFrames(4000, block, 32768);
        hdcd_process(decoder.get(), samples.data(), 4000);
        ASSERT_EQ(hdcd_detected(decoder.get()), 0u);
    }
}

TEST(HdcdInterface, CodesWithoutEffectAreOneUntilGainOrPeaksMakeThemTwo)
{
    for (const uint8_t effective : std::initializer_list<uint8_t>{0x01, 0x10}) {
        const OwnedDecoder decoder = NewDecoder();
        Samples samples = Encoded(1000, 0x00, 0x20);
        hdcd_process(decoder.get(), samples.data(), 1000);
        EXPECT_EQ(hdcd_detected(decoder.get()), 1u);
        EXPECT_EQ(decoder->detection.uses_transient_filter, 1u);
        samples = Encoded(200, effective, 0x00);
        hdcd_process(decoder.get(), samples.data(), 200);
        EXPECT_EQ(hdcd_detected(decoder.get()), 2u);
        hdcd_reset(decoder.get());
        EXPECT_EQ(hdcd_detected(decoder.get()), 0u);
    }
}

TEST(HdcdInterface, OneChannelAloneStaysAtNothing)
{
    for (int channel = 0; channel < 2; ++channel) {
        const OwnedDecoder decoder = NewDecoder();
        Samples samples = NoiseFrames(3000, 4);
        HdcdEncoder(samples).CodeB(channel, 500, 0x14);
        hdcd_process(decoder.get(), samples.data(), 3000);
        EXPECT_EQ(hdcd_detected(decoder.get()), 0u);
        EXPECT_EQ(decoder->detection.active_count, 1u);
        EXPECT_EQ(decoder->detection.total_packets, 1);
    }
}

TEST(HdcdInterface, LapseOfBothTimersLeavesTheAnswer)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples = Encoded(400, 0x04, 0x04);
    hdcd_process(decoder.get(), samples.data(), 400);
    EXPECT_EQ(decoder->detection.active_count, 2u);
    Samples plain = NoiseFrames(90000, 5);
    hdcd_process(decoder.get(), plain.data(), 90000);
    EXPECT_EQ(hdcd_detected(decoder.get()), 2u);
    EXPECT_EQ(decoder->detection.active_count, 0u);
    EXPECT_EQ(decoder->detection.cdt_expirations, 2);
}

TEST(HdcdInterface, PeakExtensionIsPermanentUntilOnePacketLacksIt)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples = Encoded(2000, 0x10, 0x10);
    hdcd_process(decoder.get(), samples.data(), 2000);
    EXPECT_EQ(decoder->detection.peak_extend, 2u);
    samples = Encoded(400, 0x10, 0x00);
    hdcd_process(decoder.get(), samples.data(), 400);
    EXPECT_EQ(decoder->detection.peak_extend, 1u);
    samples = Encoded(2000, 0x10, 0x10);
    hdcd_process(decoder.get(), samples.data(), 2000);
    EXPECT_EQ(decoder->detection.peak_extend, 1u);
}

TEST(HdcdInterface, EmptyAndNegativeBlocksChangeNothing)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples = Encoded(400, 0x03, 0x03);
    hdcd_process(decoder.get(), samples.data(), 400);
    const HdcdDecoder before = *decoder;
    const Samples kept = samples;
    for (const int32_t frames : {0, -1, INT32_MIN}) {
        hdcd_process(decoder.get(), samples.data(), frames);
        EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
        EXPECT_EQ(samples, kept);
    }
    hdcd_process(decoder.get(), nullptr, 100);
    EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
}

// A sanitizer sees what is computed from the null pointer.
TEST(HdcdInterface, EmptyBlockAtNoAddressChangesNothingInAnyMode)
{
    for (uint32_t mode = 0; mode < 7; ++mode)
        for (const uint32_t linked : {0u, 1u}) {
            const OwnedDecoder decoder = NewDecoder();
            decoder->linked = linked;
            hdcd_set_analyze_mode(decoder.get(), mode);
            const HdcdDecoder before = *decoder;
            hdcd_process(decoder.get(), nullptr, 0);
            EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
        }
}

TEST(HdcdInterface, IndependentChannelsEachFollowTheirOwnTarget)
{
    const OwnedDecoder decoder = NewDecoder();
    decoder->linked = 0;
    Samples samples = Encoded(4000, 0x02, 0x06);
    hdcd_process(decoder.get(), samples.data(), 4000);
    EXPECT_EQ(decoder->channel[0].running_gain, 256);
    EXPECT_EQ(decoder->channel[1].running_gain, 768);
    EXPECT_EQ(decoder->count_tg_mismatch, 0);
    EXPECT_EQ(hdcd_detected(decoder.get()), 2u);
}

TEST(HdcdInterface, ProcessAgreesWithTheModelInBothModes)
{
    Random random(12);
    for (int round = 0; round < 100; ++round) {
        const OwnedDecoder decoder = NewDecoder();
        RandomStream stream(random);
        stream.DisturbDecoder(decoder.get());
        decoder->linked = random.Below(4) != 0;
        HdcdDecoder model = *decoder;
        for (const RandomStream::Block &block : stream.Blocks()) {
            Samples samples = block.samples;
            Samples expected = block.samples;
            hdcd_process(decoder.get(), samples.data(), Frames(samples));
            reference::HdcdProcess(&model, expected.data(), Frames(expected));
            ASSERT_EQ(samples, expected);
            ASSERT_EQ(reference::HdcdDifferences(*decoder, model), Names{});
        }
    }
}

TEST(HdcdInterface, ProcessAllocatesNothing)
{
    const OwnedDecoder decoder = NewDecoder();
    Samples samples = Encoded(5000, 0x13, 0x13);
    const uint64_t before = AllocationsSoFar();
    FailEveryAllocation();
    hdcd_process(decoder.get(), samples.data(), 5000);
    hdcd_reset(decoder.get());
    AllowAllocations();
    EXPECT_EQ(AllocationsSoFar(), before);
}

TEST(HdcdInterface, NewGivesNullWithoutMemoryAndFreeGivesAllBack)
{
    const int64_t live = LiveAllocations();
    FailAllocation(1);
    EXPECT_EQ(hdcd_new(), nullptr);
    AllowAllocations();
    hdcd_free(hdcd_new());
    EXPECT_EQ(LiveAllocations(), live);
}

class HdcdScan : public HdcdBodies {};

// A scan of equal blocks, wide or narrow, is a decode without the output.
TEST_P(HdcdScan, LeavesTheStateOfADecodeAndTheSamplesAsTheyWere)
{
    Random random(static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 60; ++round) {
        RandomStream stream(random);
        const OwnedDecoder decoded = NewDecoder();
        const OwnedDecoder scanned = NewDecoder();
        const OwnedDecoder scanned16 = NewDecoder();
        scanned->linked = 0; // of no account to a scan
        for (const RandomStream::Block &block : stream.Blocks()) {
            Samples samples = block.samples;
            for (int32_t &sample : samples)
                sample = static_cast<int16_t>(sample);
            const std::vector<int16_t> narrow = Narrow(samples);
            const Samples kept = samples;
            const uint32_t answer = scan(scanned.get(), samples.data(), Frames(samples));
            ASSERT_EQ(samples, kept);
            ASSERT_EQ(scan16(scanned16.get(), narrow.data(), Frames(samples)), answer);
            ASSERT_EQ(narrow, Narrow(kept));
            hdcd_process(decoded.get(), samples.data(), Frames(samples));
            ASSERT_EQ(hdcd_detected(decoded.get()), answer);
            ASSERT_EQ(hdcd_detected(scanned.get()), answer);
            scanned->linked = 1;
            ASSERT_EQ(reference::HdcdDifferences(*scanned, *decoded), Names{});
            ASSERT_EQ(reference::HdcdDifferences(*scanned16, *decoded), Names{});
            scanned->linked = 0;
            if (answer == 2)
                break;
        }
    }
}

// An analysis mode writes over what it decodes, but not over what a caller wants to be scanned.
TEST_P(HdcdScan, AnalysisModesLeaveTheSamplesAndMoveTheTone)
{
    for (uint32_t mode = 1; mode <= 6; ++mode) {
        const OwnedDecoder decoded = NewDecoder();
        const OwnedDecoder scanned = NewDecoder();
        const OwnedDecoder scanned16 = NewDecoder();
        for (HdcdDecoder *decoder : {decoded.get(), scanned.get(), scanned16.get()})
            hdcd_set_analyze_mode(decoder, mode);
        Samples samples = Encoded(1000, 0x00, 0x00);
        const std::vector<int16_t> narrow = Narrow(samples);
        const Samples kept = samples;
        EXPECT_EQ(scan(scanned.get(), samples.data(), 1000), 1u);
        EXPECT_EQ(scan16(scanned16.get(), narrow.data(), 1000), 1u);
        EXPECT_EQ(samples, kept);
        hdcd_process(decoded.get(), samples.data(), 1000);
        EXPECT_EQ(decoded->channel[0].tone_index, 1000u % 147);
        EXPECT_EQ(reference::HdcdDifferences(*scanned, *decoded), Names{});
        EXPECT_EQ(reference::HdcdDifferences(*scanned16, *decoded), Names{});
    }
}

TEST_P(HdcdScan, AfterTwoNeitherBufferNorStateIsTouched)
{
    const OwnedDecoder decoder = NewDecoder();
    const Samples samples = Encoded(400, 0x14, 0x14);
    EXPECT_EQ(scan(decoder.get(), samples.data(), 400), 2u);
    const HdcdDecoder before = *decoder;
    const uint64_t allocations = AllocationsSoFar();
    EXPECT_EQ(scan(decoder.get(), nullptr, 400), 2u);
    EXPECT_EQ(scan16(decoder.get(), nullptr, 400), 2u);
    EXPECT_EQ(scan(decoder.get(), nullptr, -1), 2u);
    EXPECT_EQ(AllocationsSoFar(), allocations);
    EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
}

TEST_P(HdcdScan, EmptyBlocksGiveTheAnswerSoFar)
{
    const OwnedDecoder decoder = NewDecoder();
    const Samples samples = Encoded(400, 0, 0);
    const std::vector<int16_t> narrow = Narrow(samples);
    EXPECT_EQ(scan16(decoder.get(), narrow.data(), 400), 1u);
    const HdcdDecoder before = *decoder;
    for (const int32_t frames : {0, -1, INT32_MIN}) {
        EXPECT_EQ(scan(decoder.get(), samples.data(), frames), 1u);
        EXPECT_EQ(scan16(decoder.get(), narrow.data(), frames), 1u);
        EXPECT_EQ(scan(decoder.get(), nullptr, frames), 1u);
    }
    EXPECT_EQ(scan(decoder.get(), nullptr, 10), 1u);
    EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
}

TEST_P(HdcdScan, CopyIsTheOnlyAllocationAndShortMemoryChangesNothing)
{
    const OwnedDecoder decoder = NewDecoder();
    const Samples samples = Encoded(400, 0, 0);
    const std::vector<int16_t> narrow = Narrow(samples);
    scan(decoder.get(), samples.data(), 200);
    const HdcdDecoder before = *decoder;
    const int64_t live = LiveAllocations();
    FailAllocation(1);
    EXPECT_EQ(scan(decoder.get(), samples.data(), 400), 0u);
    EXPECT_TRUE(AllocationHasFailed());
    FailAllocation(1);
    EXPECT_EQ(scan16(decoder.get(), narrow.data(), 400), 0u);
    EXPECT_TRUE(AllocationHasFailed());
    AllowAllocations();
    EXPECT_EQ(reference::HdcdDifferences(*decoder, before), Names{});
    EXPECT_EQ(hdcd_detected(decoder.get()), 1u);
    const uint64_t allocations = AllocationsSoFar();
    EXPECT_EQ(scan(decoder.get(), samples.data() + 400, 200), 1u);
    EXPECT_EQ(AllocationsSoFar(), allocations + 1);
    EXPECT_EQ(LiveAllocations(), live);
}

TONEKIT_HDCD_BODIES(HdcdScan);

} // namespace
} // namespace tonekit
