// channel_order_test.cpp: ChangeChannelOrder in each body.
#include "tests/support/bodies.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

using Bytes = std::vector<uint8_t>;

class ChannelOrder : public testing::TestWithParam<char> {
protected:
    void Run(Bytes &audio, uint32_t frames, uint32_t bits, uint32_t channels, const Bytes &map)
    {
        Body<decltype(ChangeChannelOrder)>("ChangeChannelOrder", GetParam())(audio.data(), frames, bits,
                                                                             channels, map.data());
    }
};

TEST_P(ChannelOrder, IdentityLeavesTheAudio)
{
    Bytes audio = {1, 2, 3, 4, 5, 6, 7, 8};
    Run(audio, 2, 16, 2, {0, 0, 1, 1});
    EXPECT_EQ(audio, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_P(ChannelOrder, ExchangesLeftAndRight)
{
    Bytes audio = {1, 2, 3, 4, 5, 6, 7, 8};
    Run(audio, 2, 16, 2, {0, 1, 1, 0});
    EXPECT_EQ(audio, (Bytes{3, 4, 1, 2, 7, 8, 5, 6}));
}

TEST_P(ChannelOrder, NoFramesTouchNothing)
{
    Bytes audio = {1, 2, 3, 4};
    Run(audio, 0, 16, 2, {0, 1, 1, 0});
    EXPECT_EQ(audio, (Bytes{1, 2, 3, 4}));
}

TEST_P(ChannelOrder, MovesThreeBytesOf24BitSamples)
{
    Bytes audio(18);
    for (size_t i = 0; i < 18; ++i)
        audio[i] = static_cast<uint8_t>(i);
    Run(audio, 1, 24, 6, {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 0});
    EXPECT_EQ(audio, (Bytes{15, 16, 17, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
}

TEST_P(ChannelOrder, LaterPairOfOneDestinationHolds)
{
    Bytes audio = {10, 20, 30};
    Run(audio, 1, 8, 3, {1, 0, 2, 0, 1, 1});
    EXPECT_EQ(audio, (Bytes{30, 20, 30}));
}

TEST_P(ChannelOrder, OneSourceMayFeedSeveralAndAnUnnamedChannelKeepsItsSample)
{
    Bytes audio = {10, 20, 30, 40};
    Run(audio, 1, 8, 4, {3, 0, 3, 1, 3, 1, 3, 0});
    EXPECT_EQ(audio, (Bytes{40, 40, 30, 40}));
}

TEST_P(ChannelOrder, OddBitCountsUseWholeBytesOfASampleAndOfAFrame)
{
    // 12-bit stereo: frames of 3 bytes, samples of 1; the third byte stays.
    Bytes audio = {1, 2, 3, 4, 5, 6};
    Run(audio, 2, 12, 2, {0, 1, 1, 0});
    EXPECT_EQ(audio, (Bytes{2, 1, 3, 5, 4, 6}));
}

TEST_P(ChannelOrder, BelowEightBitsNothingMoves)
{
    Bytes audio = {1, 2, 3, 4};
    Run(audio, 4, 4, 2, {0, 1, 1, 0});
    EXPECT_EQ(audio, (Bytes{1, 2, 3, 4}));
}

TEST_P(ChannelOrder, TakesEightChannelsOf64Bits)
{
    Bytes audio(128);
    Bytes expected(128);
    for (size_t i = 0; i < 128; ++i) {
        audio[i] = static_cast<uint8_t>(i);
        const size_t frame = i / 64;
        const size_t channel = i % 64 / 8;
        expected[frame * 64 + (7 - channel) * 8 + i % 8] = static_cast<uint8_t>(i);
    }
    Run(audio, 2, 64, 8, {0, 7, 1, 6, 2, 5, 3, 4, 4, 3, 5, 2, 6, 1, 7, 0});
    EXPECT_EQ(audio, expected);
}

INSTANTIATE_TEST_SUITE_P(Bodies, ChannelOrder, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
