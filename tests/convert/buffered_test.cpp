// buffered_test.cpp: gathering of frames into blocks, through the plain functions of each body.
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

class Buffered : public testing::TestWithParam<char> {
protected:
    void Init(uint32_t inputRate, uint32_t outputRate, uint32_t outputBits = 24)
    {
        handle_ = Body<decltype(SRC4_Init)>("SRC4_Init", GetParam())(0, 16, 2, inputRate, 0, outputBits, 2,
                                                                     outputRate, false, false, 0, 0);
    }
    uint32_t Read()
    {
        return Body<decltype(SRC4_Read)>("SRC4_Read", GetParam())(handle_, &out_, &frames_, &bytes_);
    }
    uint32_t Flush() { return SRC4_Flush(handle_, &out_, &frames_, &bytes_); }
    CSampleRateConverter4 &Object() { return *static_cast<CSampleRateConverter4 *>(handle_); }
    void TearDown() override { SRC4_Deinit(handle_); }

    void *handle_ = nullptr;
    void *out_ = this;
    uint32_t frames_ = 123;
    uint32_t bytes_ = 456;
};

TEST_P(Buffered, ReadBeforeAnyWriteLeavesOutputsUntouched)
{
    Init(44100, 48000);
    EXPECT_EQ(Read(), 0u);
    EXPECT_EQ(out_, this);
    EXPECT_EQ(frames_, 123u);
    EXPECT_EQ(bytes_, 456u);
}

TEST_P(Buffered, APartialBlockWaits)
{
    Init(48000, 44100);
    ASSERT_EQ(Object().blockFrames, 5324u);
    std::vector<int16_t> data(2 * 5323);
    SRC4_Write(handle_, data.data(), 5323);
    EXPECT_EQ(Read(), 0u);
    EXPECT_EQ(out_, this);
    EXPECT_EQ(Object().blockFill, 5323u);
    SRC4_Write(handle_, data.data(), 1);
    EXPECT_EQ(Read(), 1u);
    EXPECT_NE(out_, this);
    EXPECT_EQ(bytes_, frames_ * 6);
    EXPECT_EQ(Object().blockFill, 0u);
    EXPECT_EQ(Read(), 0u);
}

TEST_P(Buffered, EachReadDeliversOnePass)
{
    Init(48000, 44100);
    std::vector<int16_t> data(2 * (3 * 5324 + 10));
    SRC4_Write(handle_, data.data(), 3 * 5324 + 10);
    uint32_t total = 0;
    for (uint32_t block = 0; block < 3; ++block) {
        EXPECT_EQ(Read(), 1u);
        EXPECT_EQ(Object().writeConsumed, (block + 1) * 5324u);
        total += frames_;
        EXPECT_EQ(Object().totalFramesOut, total);
    }
    EXPECT_EQ(Read(), 0u);
    EXPECT_GT(total, 0u);
    EXPECT_EQ(Object().blockFill, 10u);
    EXPECT_EQ(Object().writeRemaining, 0u);
}

TEST_P(Buffered, FlushAtEqualRatesHandsThePartialBlockOver)
{
    Init(48000, 48000);
    std::vector<int16_t> data(200);
    int16_t next = -100;
    for (int16_t &sample : data)
        sample = next++;
    SRC4_Write(handle_, data.data(), 100);
    EXPECT_EQ(Read(), 0u);
    EXPECT_EQ(Flush(), 1u);
    EXPECT_EQ(frames_, 100u);
    EXPECT_EQ(bytes_, 600u);
    const auto *bytes = static_cast<const uint8_t *>(out_);
    EXPECT_EQ(bytes[0], 0); // -100 becomes -100 * 256, low byte first
    EXPECT_EQ(bytes[1], 0x9C);
    EXPECT_EQ(bytes[2], 0xFF);
    EXPECT_EQ(Flush(), 0u);
    EXPECT_EQ(frames_, 0u);
    EXPECT_EQ(bytes_, 0u);
}

TEST_P(Buffered, FlushWithNothingGatheredDeclinesAtOnceAndWritesItsOutputs)
{
    Init(48000, 48000);
    EXPECT_EQ(Flush(), 0u);
    EXPECT_EQ(out_, Object().outputBuffer);
    EXPECT_EQ(frames_, 0u);
    EXPECT_EQ(bytes_, 0u);
}

TEST_P(Buffered, FlushGoesOnUntilTheResamplerIsEmpty)
{
    Init(44100, 48000);
    std::vector<int16_t> data(2 * 1000);
    SRC4_Write(handle_, data.data(), 1000);
    EXPECT_EQ(Read(), 0u);
    EXPECT_EQ(Flush(), 1u);
    EXPECT_TRUE(Object().firstBlockDone);
    EXPECT_FALSE(Object().lastBlockDone);
    uint32_t total = frames_;
    EXPECT_EQ(Flush(), 1u);
    EXPECT_TRUE(Object().lastBlockDone);
    total += frames_;
    int calls = 0;
    while (Flush()) {
        total += frames_;
        ASSERT_LT(++calls, 100);
    }
    EXPECT_TRUE(Object().finished);
    EXPECT_NEAR(total, 1000.0 * 48000 / 44100, 1.0);
    EXPECT_EQ(Flush(), 0u) << "and declines again";
}

TEST_P(Buffered, NothingCanBeFedOnceDrained)
{
    Init(44100, 48000);
    std::vector<int16_t> data(2 * 70000, 1000);
    SRC4_Write(handle_, data.data(), 1000);
    EXPECT_EQ(Read(), 0u);
    while (Flush()) {
    }
    SRC4_Write(handle_, data.data(), 70000);
    while (Read())
        EXPECT_EQ(frames_, 0u);
    EXPECT_EQ(Object().blockFill, 70000u - Object().blockFrames);
    EXPECT_EQ(Flush(), 1u) << "frames were waiting, though nothing comes of them";
    EXPECT_EQ(frames_, 0u);
    while (Flush())
        EXPECT_EQ(frames_, 0u);
}

TEST_P(Buffered, ASecondWriteForgetsWhatWasNotRead)
{
    Init(48000, 48000);
    const std::vector<int16_t> first(2 * 50, 1);
    const std::vector<int16_t> second(2 * 30, 2);
    SRC4_Write(handle_, first.data(), 50);
    SRC4_Write(handle_, second.data(), 30);
    EXPECT_EQ(Object().totalFramesIn, 80u);
    EXPECT_EQ(Read(), 0u);
    EXPECT_EQ(Flush(), 1u);
    EXPECT_EQ(frames_, 30u);
    EXPECT_EQ(static_cast<const uint8_t *>(out_)[1], 2);
    EXPECT_EQ(Object().totalFramesOut, 30u);
}

TEST_P(Buffered, FramesUnreadAtFlushStayBehind)
{
    Init(48000, 48000);
    const std::vector<int16_t> data(2 * 50, 1);
    SRC4_Write(handle_, data.data(), 50);
    EXPECT_EQ(Flush(), 0u);
    EXPECT_EQ(Object().writeRemaining, 50u);
}

TEST_P(Buffered, TotalsWrap)
{
    Init(48000, 48000);
    Object().totalFramesIn = 0xFFFFFFFFu;
    const std::vector<int16_t> data(4);
    SRC4_Write(handle_, data.data(), 2);
    EXPECT_EQ(Object().totalFramesIn, 1u);
}

// All output of a stream that is written in pieces of the given sizes, over and over.
std::vector<uint8_t> Convert(char letter, const std::vector<int16_t> &data, uint32_t inputRate,
                             uint32_t outputRate, uint32_t quality, const std::vector<uint32_t> &pieces)
{
    void *handle = Body<decltype(SRC4_Init)>("SRC4_Init", letter)(0, 16, 2, inputRate, 0, 24, 2, outputRate,
                                                                  false, false, 0, quality);
    auto *read = Body<decltype(SRC4_Read)>("SRC4_Read", letter);
    std::vector<uint8_t> all;
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    auto take = [&] {
        all.insert(all.end(), static_cast<uint8_t *>(out), static_cast<uint8_t *>(out) + bytes);
    };
    const auto total = static_cast<uint32_t>(data.size() / 2);
    for (uint32_t done = 0, turn = 0; done < total; ++turn) {
        const uint32_t piece = std::min(pieces[turn % pieces.size()], total - done);
        SRC4_Write(handle, data.data() + 2 * done, piece);
        while (read(handle, &out, &frames, &bytes))
            take();
        done += piece;
    }
    while (SRC4_Flush(handle, &out, &frames, &bytes))
        take();
    SRC4_Deinit(handle);
    return all;
}

TEST_P(Buffered, PiecesOfAnySizeGiveTheBytesOfOneWrite)
{
    Random random(42);
    std::vector<int16_t> data(2 * 150000);
    random.Fill(data.data(), data.size() * 2);
    std::vector<uint32_t> sizes;
    for (int i = 0; i < 37; ++i)
        sizes.push_back(1 + random.Below(20000));
    struct Row {
        uint32_t inputRate, outputRate, quality;
    };
    for (const Row &row : {Row{44100, 48000, 0}, {96000, 44100, 24}, {44100, 96000, 33}, {48000, 48000, 0}}) {
        const auto whole = Convert(GetParam(), data, row.inputRate, row.outputRate, row.quality, {150000});
        EXPECT_EQ(whole, Convert(GetParam(), data, row.inputRate, row.outputRate, row.quality, sizes));
        EXPECT_EQ(whole, Convert(GetParam(), data, row.inputRate, row.outputRate, row.quality, {4096}));
        EXPECT_NEAR(static_cast<double>(whole.size()) / 6.0, 150000.0 * row.outputRate / row.inputRate, 1.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Bodies, Buffered, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
