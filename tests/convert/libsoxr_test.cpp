// libsoxr_test.cpp: the resampler that is compiled in gives the bits of the packaged libsoxr.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/resampler.h"
#include "tests/reference/set_up.h"
#include "tests/support/environment.h"
#include "tests/support/random.h"

namespace tonekit {
namespace {

constexpr size_t kCapacity = 150000; // frames of output that one step has room for

using Bytes = std::vector<uint8_t>;

// Pieces of any length, alike for both.
std::vector<size_t> Pieces(uint64_t seed)
{
    Random random(seed);
    std::vector<size_t> pieces = {1, 2, 5000};
    for (int i = 0; i < 8; ++i)
        pieces.push_back(1 + random.Below(1500));
    return pieces;
}

// All that comes out of a resampler; process(input, frames, output) returns the frames of one step.
template <class Sample, class Process>
Bytes Output(uint32_t channels, uint64_t seed, Process process)
{
    Random random(seed);
    std::vector<Sample> out(kCapacity * channels);
    Bytes all;
    const auto take = [&](size_t frames) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(out.data());
        all.insert(all.end(), bytes, bytes + frames * channels * sizeof(Sample));
    };
    for (const size_t piece : Pieces(seed)) {
        std::vector<Sample> in(piece * channels);
        for (Sample &sample : in)
            sample = static_cast<Sample>(2 * random.Uniform() - 1);
        take(process(in.data(), piece, out.data()));
    }
    while (const size_t frames = process(nullptr, 0, out.data()))
        take(frames);
    return all;
}

template <class Sample>
void Compare(uint32_t inputRate, uint32_t outputRate, uint32_t channels, uint32_t span)
{
    SCOPED_TRACE(std::to_string(inputRate) + " to " + std::to_string(outputRate) + " Hz, " +
                 std::to_string(channels) + " channels, span " + std::to_string(span));
    soxr_t ours = CreateResampler(inputRate, outputRate, channels, RecipeForSpan(span));
    ASSERT_NE(ours, nullptr);
    const Bytes mine = Output<Sample>(channels, inputRate + span, [&](const void *in, size_t n, void *out) {
        return RunResampler(ours, in, n, out, kCapacity);
    });
    DeleteResampler(ours);

    const soxr_t theirs = reference::NewResampler(inputRate, outputRate, channels, span);
    ASSERT_NE(theirs, nullptr);
    const Bytes packaged =
        Output<Sample>(channels, inputRate + span, [&](const void *in, size_t n, void *out) {
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

void CompareAll()
{
    for (const auto &rates : kRates)
        for (const uint32_t span : {0u, 24u, 31u, 33u})
            for (const uint32_t channels : {1u, 2u, 3u}) {
                if (RecipeForSpan(span).useDoublePath)
                    Compare<double>(rates[0], rates[1], channels, span);
                else
                    Compare<float>(rates[0], rates[1], channels, span);
            }
}

TEST(Libsoxr, GivesThePackagedLibrarysBits)
{
    CompareAll();
}

TEST(Libsoxr, GivesThePackagedLibrarysBitsWithoutVectorInstructions)
{
    SetVariable("SOXR_USE_SIMD", "0");
    CompareAll();
    RemoveVariable("SOXR_USE_SIMD");
}

} // namespace
} // namespace tonekit
