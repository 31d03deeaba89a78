// skip_first_test.cpp: the frames that a resampler needn't make right, and those after them.
#include "convert/resampler.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace tonekit {
namespace {

constexpr uint32_t kChannels = 2;
constexpr size_t kCapacity = 400000; // frames of output

// All that comes of an input, fed in pieces.
template <class Sample>
std::vector<Sample> Output(uint32_t inputRate, uint32_t outputRate, uint32_t span,
                           const std::vector<Sample> &input, size_t skipped)
{
    soxr_t resampler = CreateResampler(inputRate, outputRate, kChannels, RecipeForSpan(span));
    EXPECT_NE(resampler, nullptr);
    if (skipped != 0)
        SkipFirstFrames(resampler, skipped);
    std::vector<Sample> out(kCapacity * kChannels);
    size_t made = 0;
    const size_t frames = input.size() / kChannels;
    for (size_t done = 0, piece = 700; done < frames; done += piece, piece += 1300) {
        piece = std::min(piece, frames - done);
        made += RunResampler(resampler, input.data() + done * kChannels, piece, out.data() + made * kChannels,
                             kCapacity - made);
    }
    while (const size_t more =
               RunResampler(resampler, nullptr, 0, out.data() + made * kChannels, kCapacity - made))
        made += more;
    DeleteResampler(resampler);
    out.resize(made * kChannels);
    return out;
}

template <class Sample>
std::vector<Sample> Noise(size_t frames)
{
    Random random(frames);
    std::vector<Sample> samples(frames * kChannels);
    for (Sample &sample : samples)
        sample = static_cast<Sample>(2 * random.Uniform() - 1);
    return samples;
}

// The same bits from frame `skipped` on.
template <class Sample>
void ExpectSameAfter(size_t skipped, const std::vector<Sample> &whole, const std::vector<Sample> &part)
{
    ASSERT_EQ(whole.size(), part.size());
    const size_t first = skipped * kChannels;
    if (first < whole.size()) {
        EXPECT_EQ(std::memcmp(&whole[first], &part[first], (whole.size() - first) * sizeof(Sample)), 0)
            << skipped << " frames skipped";
    }
}

template <class Sample>
void CompareAfter(uint32_t inputRate, uint32_t outputRate, uint32_t span)
{
    SCOPED_TRACE(std::to_string(inputRate) + " to " + std::to_string(outputRate) + " Hz, span " +
                 std::to_string(span));
    const auto input = Noise<Sample>(14000);
    const auto whole = Output<Sample>(inputRate, outputRate, span, input, 0);
    const size_t all = whole.size() / kChannels;
    for (const size_t skipped : {size_t{1}, all / 7, all / 3, all / 3 + 11, all - 1, all, 2 * all})
        ExpectSameAfter(skipped, whole, Output<Sample>(inputRate, outputRate, span, input, skipped));
}

// Pairs that lead through each kind and order of stages.
constexpr uint32_t kRates[][2] = {{44100, 48000}, {48000, 44100}, {44100, 16000}, {96000, 44100},
                                  {44100, 96000}, {48000, 16000}, {8000, 192000}, {192000, 11025},
                                  {44101, 47999}, {22050, 44100}, {44100, 22050}, {32000, 96000}};

TEST(SkipFirst, LeavesAllLaterFramesAsTheyAre)
{
    for (const auto &rates : kRates)
        for (const uint32_t span : {0u, 24u, 31u, 33u}) {
            if (RecipeForSpan(span).useDoublePath)
                CompareAfter<double>(rates[0], rates[1], span);
            else
                CompareAfter<float>(rates[0], rates[1], span);
        }
}

TEST(SkipFirst, LeavesOutWhatNoLaterFrameIsMadeOf)
{
    const auto input = Noise<float>(8000);
    const auto whole = Output<float>(48000, 44100, 0, input, 0);
    const auto part = Output<float>(48000, 44100, 0, input, 2205);
    for (size_t i = 200; i < 600; ++i) { // two blocks of 822 frames of input are left out
        EXPECT_NE(whole[i], 0.0f) << i;
        EXPECT_EQ(part[i], 0.0f) << i;
    }
}

TEST(SkipFirst, MakesFramesOfNansAndInfinitiesAsEver)
{
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 2e20f}) {
        auto input = Noise<float>(8000);
        input[1000] = input[1001] = bad; // a frame of the first block
        const auto whole = Output<float>(48000, 44100, 0, input, 0);
        const auto part = Output<float>(48000, 44100, 0, input, 2205);
        ExpectSameAfter(2205, whole, part);
        EXPECT_NE(part[1000], 0.0f) << bad;
        EXPECT_EQ(std::memcmp(whole.data(), part.data(), 1400 * sizeof(float)), 0) << bad;
    }
}

TEST(SkipFirst, IgnoresANullResampler)
{
    SkipFirstFrames(nullptr, 100);
}

} // namespace
} // namespace tonekit
