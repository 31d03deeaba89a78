// side_threads_test.cpp: reading and writing on threads of their own.
#include "host/processing/read_ahead.h"
#include "host/processing/side_sink.h"
#include "host/system/failure.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>

namespace tonekit::host {
namespace {

// Frames that count from 0, one byte each modulo 256, and a failure where asked for.
class Counting : public SampleSource {
public:
    Counting(uint64_t frames, uint64_t failsAt = UINT64_MAX) : frames_(frames), failsAt_(failsAt) {}
    std::string name() const override { return "counting"; }
    const AudioFormat &format() const override { return format_; }
    uint64_t frames() const override { return frames_; }
    const std::string &type() const override { return text_; }
    const std::string &encoding() const override { return text_; }
    const Container *container() const override { return nullptr; }
    TagKind tagKind() const override { return TagKind::None; }
    bool lossy() const override { return false; }
    void Rewind() override { position_ = 0; }
    uint32_t Read(void *buffer, uint32_t frames) override
    {
        ++reads;
        if (position_ >= failsAt_)
            throw Failure("broken");
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(frames, frames_ - position_));
        for (uint32_t i = 0; i < count; ++i)
            static_cast<uint8_t *>(buffer)[i] = static_cast<uint8_t>(position_++);
        return count;
    }

    std::atomic<int> reads{0};

private:
    AudioFormat format_{SampleFormat::Int8, 1, 44100};
    std::string text_;
    uint64_t frames_;
    uint64_t failsAt_;
    uint64_t position_ = 0;
};

std::vector<uint8_t> CountedBytes(size_t count)
{
    std::vector<uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), uint8_t{0});
    return bytes;
}

class SideThreads : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(WithAndWithout, SideThreads, testing::Bool());

TEST_P(SideThreads, ReadAllBlocksInTheirOrder)
{
    Counting source(1050);
    ReadAhead blocks(source, 100, GetParam());
    std::vector<uint8_t> all;
    std::vector<uint32_t> sizes;
    for (auto block = blocks.Next(); block.frames > 0; block = blocks.Next()) {
        all.insert(all.end(), block.samples, block.samples + block.frames);
        sizes.push_back(block.frames);
    }
    EXPECT_EQ(all, CountedBytes(1050));
    EXPECT_EQ(sizes, (std::vector<uint32_t>{100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 50}));
}

TEST_P(SideThreads, ReadingFailsAfterTheLastWholeBlock)
{
    Counting source(1000, 300);
    ReadAhead blocks(source, 100, GetParam());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(blocks.Next().frames, 100u);
    EXPECT_THROW(blocks.Next(), Failure);
}

TEST(SideThread, ReadsNoMoreThanAFewBlocksAhead)
{
    Counting source(1000000);
    ReadAhead blocks(source, 100, true);
    blocks.Next();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_LE(source.reads, 5);
}

TEST(SideThread, BlockThatWasGivenStaysUntilTheNext)
{
    Counting source(1000000);
    ReadAhead blocks(source, 100, true);
    for (int i = 0; i < 20; ++i) {
        const ReadAhead::Block block = blocks.Next();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(block.samples[0], static_cast<uint8_t>(i * 100));
        EXPECT_EQ(block.samples[99], static_cast<uint8_t>(i * 100 + 99));
    }
}

TEST_P(SideThreads, WriteAllBlocksInTheirOrder)
{
    const std::vector<uint8_t> bytes = CountedBytes(2 * 1050);
    std::vector<uint8_t> all;
    std::vector<uint32_t> sizes;
    {
        SideSink sink(
            [&](const void *samples, uint32_t frames) {
                const auto *from = static_cast<const uint8_t *>(samples);
                all.insert(all.end(), from, from + 2 * frames);
                sizes.push_back(frames);
            },
            2, GetParam());
        for (uint32_t i = 0; i < 10; ++i)
            sink.Take(bytes.data() + 200 * i, 100);
        sink.Take(bytes.data() + 2000, 50);
        sink.Finish();
    }
    EXPECT_EQ(all, bytes);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{100, 100, 100, 100, 100, 100, 100, 100, 100, 100, 50}));
}

TEST_P(SideThreads, WritingThatFailsIsToldAndEndsThere)
{
    int calls = 0;
    SideSink sink(
        [&](const void *, uint32_t) {
            if (++calls == 3)
                throw Failure("disk full");
        },
        1, GetParam());
    const auto takeMany = [&] {
        for (int i = 0; i < 1000; ++i)
            sink.Take("x", 1);
        sink.Finish();
    };
    EXPECT_THROW(takeMany(), Failure);
    EXPECT_EQ(calls, 3);
}

TEST_P(SideThreads, WritingThatFailsAtTheEndIsToldByFinish)
{
    const auto writeOne = [] {
        SideSink sink([](const void *, uint32_t) { throw Failure("disk full"); }, 1, GetParam());
        sink.Take("x", 1);
        sink.Finish();
    };
    EXPECT_THROW(writeOne(), Failure);
}

TEST(SideThread, HoldsNoMoreThanAFewBlocks)
{
    std::atomic<bool> go{false};
    std::atomic<int> taken{0};
    SideSink sink(
        [&](const void *, uint32_t) {
            while (!go)
                std::this_thread::yield();
        },
        1, true);
    std::thread feeder([&] {
        for (int i = 0; i < 100; ++i, ++taken)
            sink.Take("x", 1);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_LE(taken, 5);
    go = true;
    feeder.join();
    EXPECT_EQ(taken, 100);
    sink.Finish();
}

TEST(SideThread, DropsWhatWaitsWhenItIsGone)
{
    int calls = 0;
    {
        SideSink sink(
            [&](const void *, uint32_t) {
                ++calls;
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            },
            1, true);
        for (int i = 0; i < 4; ++i)
            sink.Take("x", 1);
    }
    EXPECT_LT(calls, 4);
}

} // namespace
} // namespace tonekit::host
