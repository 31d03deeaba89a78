// libsoxr_test.cpp: the compiled-in resampler returns the bits that the packaged libsoxr does.
#include "convert/resampler.h"
#include "tests/reference/set_up.h"
#include "tests/support/environment.h"
#include "tests/support/random.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace tonekit {
namespace {

constexpr size_t kCapacity = 150000; // frames of output that one step has room for

using Bytes = std::vector<uint8_t>;

enum class Input { Finite, SomeNans };

// Pieces of any length, alike for both.
std::vector<size_t> Pieces(uint64_t seed, Input input)
{
    Random random(seed);
    std::vector<size_t> pieces = {1, 2, 5000};
    if (input == Input::SomeNans)
        pieces.insert(pieces.end(), {30000, 6000, 9000});
    for (int i = 0; i < 8; ++i)
        pieces.push_back(1 + random.Below(1500));
    return pieces;
}

// A quiet NaN, of which each has bits of its own.
template <class Sample>
Sample SomeNan(Random &random)
{
    if constexpr (sizeof(Sample) == 4)
        return std::bit_cast<Sample>(0x7FC00000 | static_cast<uint32_t>(random.Next() & 0x803FFFFF));
    else
        return std::bit_cast<Sample>(0x7FF8000000000000 | (random.Next() & 0x8007FFFFFFFFFFFF));
}

// All output of a resampler; process(input, frames, output) returns the frames of one step.
template <class Sample, class Process>
Bytes Output(uint32_t channels, uint64_t seed, Input input, Process process)
{
    Random random(seed);
    std::vector<Sample> out(kCapacity * channels);
    Bytes all;
    const auto take = [&](size_t frames) {
        // Of two NaNs that meet, each compiler passes on another.
        for (size_t i = 0; i < frames * channels; ++i)
            if (std::isnan(out[i]))
                out[i] = std::numeric_limits<Sample>::quiet_NaN();
        const auto *bytes = reinterpret_cast<const uint8_t *>(out.data());
        all.insert(all.end(), bytes, bytes + frames * channels * sizeof(Sample));
    };
    for (const size_t piece : Pieces(seed, input)) {
        std::vector<Sample> in(piece * channels);
        for (Sample &sample : in) {
            sample = static_cast<Sample>(2 * random.Uniform() - 1);
            if (input == Input::SomeNans && random.Below(3000) == 0)
                sample = SomeNan<Sample>(random);
        }
        take(process(in.data(), piece, out.data()));
    }
    while (const size_t frames = process(nullptr, 0, out.data()))
        take(frames);
    return all;
}

template <class Sample>
void Compare(uint32_t inputRate, uint32_t outputRate, uint32_t channels, uint32_t span, Input input)
{
    SCOPED_TRACE(std::to_string(inputRate) + " to " + std::to_string(outputRate) + " Hz, " +
                 std::to_string(channels) + " channels, span " + std::to_string(span));
    soxr_t ours = CreateResampler(inputRate, outputRate, channels, RecipeForSpan(span));
    ASSERT_NE(ours, nullptr);
    const Bytes mine =
        Output<Sample>(channels, inputRate + span, input, [&](const void *in, size_t n, void *out) {
            return RunResampler(ours, in, n, out, kCapacity);
        });
    DeleteResampler(ours);

    const soxr_t theirs = reference::NewResampler(inputRate, outputRate, channels, span);
    ASSERT_NE(theirs, nullptr);
    const Bytes packaged =
        Output<Sample>(channels, inputRate + span, input, [&](const void *in, size_t n, void *out) {
            size_t consumed = 0;
            size_t produced = 0;
            soxr_process(theirs, in, n, &consumed, out, kCapacity, &produced);
            return produced;
        });
    soxr_delete(theirs);
    ASSERT_GT(packaged.size(), channels * sizeof(Sample));
    EXPECT_EQ(mine, packaged);
}

// Pairs that lead through each kind of stage: whole ratios, ratios of small and of large numbers, halvings
// before them and doublings after them, and one without a ratio of whole numbers that libsoxr would take.
constexpr uint32_t kRates[][2] = {{44100, 48000}, {48000, 44100}, {44100, 16000}, {96000, 44100},
                                  {44100, 96000}, {48000, 16000}, {8000, 192000}, {192000, 11025},
                                  {44101, 47999}, {22050, 44100}};

void CompareAll(Input input)
{
    for (const auto &rates : kRates) {
        // Room for the longest piece.
        if (input == Input::SomeNans && rates[1] > 4 * rates[0])
            continue;
        for (const uint32_t span : {0u, 24u, 31u, 33u})
            for (const uint32_t channels : {1u, 2u, 3u}) {
                if (RecipeForSpan(span).useDoublePath)
                    Compare<double>(rates[0], rates[1], channels, span, input);
                else
                    Compare<float>(rates[0], rates[1], channels, span, input);
            }
    }
}

TEST(Libsoxr, GivesThePackagedLibrarysBits)
{
    CompareAll(Input::Finite);
}

TEST(Libsoxr, GivesNansWhereThePackagedLibraryGivesThem)
{
    CompareAll(Input::SomeNans);
}

TEST(Libsoxr, GivesThePackagedLibrarysBitsWithoutVectorInstructions)
{
    SetVariable("SOXR_USE_SIMD", "0");
    CompareAll(Input::Finite);
    RemoveVariable("SOXR_USE_SIMD");
}

// What comes of 12,000 frames of one channel at twice the rate, fed by pieces into rooms of their own.
std::vector<float> Doubled(size_t piece, size_t room)
{
    Random random(7);
    std::vector<float> in(12000);
    for (float &sample : in)
        sample = static_cast<float>(2 * random.Uniform() - 1);
    soxr_t resampler = CreateResampler(22050, 44100, 1, RecipeForSpan(0));
    std::vector<float> all;
    const auto feed = [&](const float *given, size_t frames) {
        std::vector<float> out(room); // a block of the heap, so that a sanitizer sees what is read behind it
        const size_t made = RunResampler(resampler, given, frames, out.data(), room);
        all.insert(all.end(), out.begin(), out.begin() + static_cast<ptrdiff_t>(made));
        return made;
    };
    for (size_t at = 0; at < in.size(); at += piece)
        feed(in.data() + at, piece);
    while (feed(nullptr, 0) != 0) {
    }
    DeleteResampler(resampler);
    return all;
}

TEST(Libsoxr, LeavesWhatIsBehindItsOutputAlone)
{
    const std::vector<float> whole = Doubled(12000, kCapacity);
    EXPECT_EQ(whole.size(), 24000u);
    for (const size_t room : {1u, 2u, 3u}) // of which the first is half as long as a pointer
        EXPECT_EQ(Doubled(1, room), whole) << room;
}

} // namespace
} // namespace tonekit
