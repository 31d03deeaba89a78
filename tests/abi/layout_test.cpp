// layout_test.cpp: the records that callers share with the library keep their layout.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include <tonekit/tonekit.h>

namespace {

// offsetof of a class with a base is conditionally supported; GCC and Clang support it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

TEST(Layout, TypesHaveTheirSizes)
{
    EXPECT_EQ(sizeof(bool), 1u);
    EXPECT_EQ(sizeof(tonekit_char16), 2u);
    EXPECT_EQ(sizeof(tonekit::Biquad), 72u);
}

TEST(Layout, ConvertersAreFlatRecords)
{
    EXPECT_FALSE(std::is_polymorphic_v<CSampleRateConverter3>);
    EXPECT_FALSE(std::is_polymorphic_v<CSampleRateConverter4>);
    EXPECT_EQ(offsetof(CSampleRateConverter3, autoLimitRequested), 0u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixLimiterGainDouble), 8u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixLimiterGainFloat), 16u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, extrapolationHistoryFrames), 20u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, firstBlockDone), 24u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, lastBlockDone), 25u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, inputEdgeFrames), 28u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, outputEdgeFrames), 32u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, pendingSkipFrames), 36u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, lfeLowPass), 40u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, useDoublePath), 112u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, inputFormat), 116u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, outputRate), 144u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, workInputDouble), 152u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, stageDoubleBase), 192u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, blockFrames), 200u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, workOutputDouble), 208u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, resamplerOutputFrames), 224u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, resampler), 232u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, resamplerActive), 240u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, inputBuffer), 248u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, outputBuffer), 256u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, heldOutputFrames), 264u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixColumns), 280u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixCanOverflow), 284u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixLimiterOn), 285u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, ditherActive), 286u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, finished), 287u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, mixMatrixDouble), 288u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, ditherScale), 320u);
    EXPECT_EQ(offsetof(CSampleRateConverter3, storeFloat), 352u);
    EXPECT_EQ(sizeof(CSampleRateConverter3), 360u);
    EXPECT_EQ(offsetof(CSampleRateConverter4, readFrameBytes), 360u);
    EXPECT_EQ(offsetof(CSampleRateConverter4, writeData), 368u);
    EXPECT_EQ(offsetof(CSampleRateConverter4, totalFramesOut), 392u);
    EXPECT_EQ(sizeof(CSampleRateConverter4), 400u);
}

} // namespace
