// resampler_test.cpp: the engine on plain arrays, compared with the slow model and at its edges.
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/reference/resample_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace tonekit {
namespace {

using reference::Pixels;

Pixels RandomPixels(Random &random, int32_t width, int32_t height)
{
    Pixels pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    random.Fill(pixels.data(), pixels.size() * sizeof(uint32_t));
    // Black and white patches make lobes overshoot.
    for (size_t i = 0; i < pixels.size(); ++i)
        if (random.Below(3) == 0)
            pixels[i] = random.Below(2) ? 0xFFFFFFFF : 0;
    return pixels;
}

// The engine's result; fails the test if it wrote beyond the target.
Pixels Resampled(const Pixels &source, int32_t sourceWidth, int32_t sourceHeight, int32_t width,
                 int32_t height, TonekitKernel kernel, double radius)
{
    GuardedBuffer target(static_cast<size_t>(width) * static_cast<size_t>(height) * sizeof(uint32_t));
    auto *pixels = target.As<uint32_t>();
    EXPECT_EQ(
        ResampleBitmapPixels(source.data(), sourceWidth, sourceHeight, pixels, width, height, kernel, radius),
        1);
    EXPECT_TRUE(target.Intact());
    return {pixels, pixels + target.size() / sizeof(uint32_t)};
}

TEST(Resampler, EqualsTheModelForEveryFilterAndManySizes)
{
    Random random(7);
    for (int round = 0; round < 20; ++round)
        for (const Filter &filter : FilterCatalogue) {
            const auto side = [&] {
                return static_cast<int32_t>(1 + random.Below(random.Below(4) ? 40 : 150));
            };
            const int32_t sourceWidth = side(), sourceHeight = side(), width = side(), height = side();
            const Pixels source = RandomPixels(random, sourceWidth, sourceHeight);
            ASSERT_EQ(
                Resampled(source, sourceWidth, sourceHeight, width, height, filter.kernel, filter.radius),
                reference::Resampled(source, sourceWidth, sourceHeight, width, height, filter.kernel,
                                     filter.radius))
                << sourceWidth << "x" << sourceHeight << " to " << width << "x" << height << ", filter "
                << &filter - FilterCatalogue;
        }
}

TEST(Resampler, EqualsTheModelWhereListsAreLong)
{
    Random random(8);
    const Pixels wide = RandomPixels(random, 2000, 3);
    EXPECT_EQ(Resampled(wide, 2000, 3, 5, 7, FilterLanczos8, 8.0),
              reference::Resampled(wide, 2000, 3, 5, 7, FilterLanczos8, 8.0));
    const Pixels tall = RandomPixels(random, 9, 1500);
    EXPECT_EQ(Resampled(tall, 9, 1500, 9, 3, FilterCubicBSpline, 16.0),
              reference::Resampled(tall, 9, 1500, 9, 3, FilterCubicBSpline, 16.0));
}

TEST(Resampler, EqualsTheModelWhereKernelsHaveGaps)
{
    Random random(9);
    // Weights far apart in one list, so that neither source positions nor lists are contiguous.
    const TonekitKernel comb = [](double t) {
        return std::fabs(t) < 2.0 || std::fabs(t) > 11.0 ? 1.0 - t / 20.0 : 0.0;
    };
    const Pixels source = RandomPixels(random, 120, 50);
    EXPECT_EQ(Resampled(source, 120, 50, 31, 77, comb, 13.5),
              reference::Resampled(source, 120, 50, 31, 77, comb, 13.5));
    // Whole runs of outputs without any entry.
    const TonekitKernel points = [](double t) { return t == 0.0 ? 2.0 : 0.0; };
    EXPECT_EQ(Resampled(source, 120, 50, 360, 200, points, 1.0),
              reference::Resampled(source, 120, 50, 360, 200, points, 1.0));
}

TEST(Resampler, SameSizeCopiesBitForBitWithoutAskingTheKernel)
{
    Random random(10);
    const Pixels source = RandomPixels(random, 33, 17);
    const TonekitKernel never = [](double) -> double { throw std::logic_error("asked"); };
    EXPECT_EQ(Resampled(source, 33, 17, 33, 17, never, 3.0), source);
}

TEST(Resampler, OneChangedSideFiltersBothDirections)
{
    Random random(11);
    const Pixels source = RandomPixels(random, 20, 10);
    // A B-spline blurs even at its own size: rows are filtered although only the width changes.
    EXPECT_EQ(Resampled(source, 20, 10, 21, 10, FilterCubicBSpline, 2.0),
              reference::Resampled(source, 20, 10, 21, 10, FilterCubicBSpline, 2.0));
}

TEST(Resampler, AConstantImageStaysConstantInAllFourBytes)
{
    const Pixels source(static_cast<size_t>(31 * 23), 0x00FF3780);
    for (const Filter &filter : FilterCatalogue)
        for (const auto &[width, height] : {std::pair{7, 5}, {31, 11}, {15, 23}, {1, 1}})
            EXPECT_EQ(Resampled(source, 31, 23, width, height, filter.kernel, filter.radius),
                      Pixels(static_cast<size_t>(width) * static_cast<size_t>(height), 0x00FF3780))
                << &filter - FilterCatalogue << " to " << width << "x" << height;
}

TEST(Resampler, AConstantImageStaysConstantWhenEnlarged)
{
    const Pixels source(static_cast<size_t>(31 * 23), 0x01FE7F80);
    for (const Filter &filter : FilterCatalogue) {
        if (filter.kernel == FilterBox)
            continue; // the box reaches nothing at the far edge
        EXPECT_EQ(Resampled(source, 31, 23, 100, 47, filter.kernel, filter.radius),
                  Pixels(static_cast<size_t>(100 * 47), 0x01FE7F80))
            << &filter - FilterCatalogue;
    }
}

TEST(Resampler, AnOutputThatNothingReachesIsZero)
{
    // 2 to 5 by a box: output 4 lies at 1.6, beyond half a pixel from source 1.
    const Pixels source = {0x11111111, 0x22222222};
    EXPECT_EQ(Resampled(source, 2, 1, 5, 1, FilterBox, 0.5),
              Pixels({0x11111111, 0x11111111, 0x22222222, 0x22222222, 0}));
}

TEST(Resampler, LobesOvershootAndClamp)
{
    Pixels step(16, 0);
    std::fill(step.begin() + 8, step.end(), 0xFFFFFFFF);
    const Pixels wide = Resampled(step, 16, 1, 64, 1, FilterLanczos3, 3.0);
    EXPECT_EQ(wide, reference::Resampled(step, 16, 1, 64, 1, FilterLanczos3, 3.0));
    // Just before the step the sum is below 0, just after it above 255: neither wraps round.
    EXPECT_EQ(wide[4 * 6], 0u);
    EXPECT_EQ(wide[4 * 9 - 2], 0xFFFFFFFFu);
}

TEST(Resampler, EachByteIsFilteredByItself)
{
    Pixels source(64);
    for (uint32_t i = 0; i < 64; ++i)
        source[i] = i % 2 ? 0xFF00FF00 : 0x00FF00FF;
    const Pixels target = Resampled(source, 64, 1, 13, 1, FilterTriangle, 1.0);
    for (const uint32_t pixel : target) {
        EXPECT_EQ(pixel >> 24, (pixel >> 8) & 0xFF);
        EXPECT_EQ((pixel >> 16) & 0xFF, pixel & 0xFF);
    }
}

TEST(Resampler, HalvesRoundUp)
{
    // Halfway between 10 and 11 is 10.5, and between 0 and 255 is 127.5.
    const Pixels target = Resampled({0x0A00000A, 0x0B0000FF}, 2, 1, 4, 1, FilterTriangle, 1.0);
    EXPECT_EQ(target[1], 0x0B000085u); // 0x0A and 0xFF meet at 132.5
}

TEST(Resampler, SumsThatAreZeroInfiniteOrNoNumberGiveZero)
{
    Random random(12);
    const Pixels source = RandomPixels(random, 24, 1);
    const TonekitKernel cancelling = [](double t) { return t < 0.25 ? 1.0 : -1.0; };
    EXPECT_EQ(Resampled(source, 24, 1, 48, 1, cancelling, 0.75)[21], 0u); // weights 1 and -1
    const TonekitKernel undefined = [](double) { return std::numeric_limits<double>::quiet_NaN(); };
    const TonekitKernel infinite = [](double) { return std::numeric_limits<double>::infinity(); };
    const TonekitKernel alternating = [](double t) { return t < 0.0 ? -1e300 : 1e300 * (1.0 + 1e-15); };
    for (const TonekitKernel kernel : {undefined, infinite})
        EXPECT_EQ(Resampled(source, 24, 1, 50, 1, kernel, 2.0), Pixels(50, 0));
    for (const TonekitKernel kernel : {cancelling, alternating})
        EXPECT_EQ(Resampled(source, 24, 1, 50, 1, kernel, 2.0),
                  reference::Resampled(source, 24, 1, 50, 1, kernel, 2.0));
}

TEST(Resampler, RefusesSizesBelowOne)
{
    const Pixels source(16, 0xFFFFFFFF);
    Pixels target(16, 0x12345678);
    for (const int32_t bad : {0, -1, std::numeric_limits<int32_t>::min()})
        for (int side = 0; side < 4; ++side) {
            int32_t sides[4] = {4, 4, 4, 4};
            sides[side] = bad;
            EXPECT_EQ(ResampleBitmapPixels(source.data(), sides[0], sides[1], target.data(), sides[2],
                                           sides[3], FilterBox, 0.5),
                      0);
        }
    EXPECT_EQ(target, Pixels(16, 0x12345678));
}

TEST(Resampler, RefusesAnIntermediateThatNoMemoryHolds)
{
    const uint32_t source = 0;
    uint32_t target = 0;
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(ResampleBitmapPixels(&source, 1, kMost, &target, kMost, 1, FilterBox, 0.5), 0);
}

TEST(Resampler, RefusesARadiusThatIsNoNumber)
{
    const Pixels source(16, 0);
    Pixels target(4);
    EXPECT_EQ(ResampleBitmapPixels(source.data(), 4, 4, target.data(), 2, 2, FilterBox,
                                   std::numeric_limits<double>::quiet_NaN()),
              0);
}

TEST(Resampler, EveryAllocationIsTestedAndReleased)
{
    const Pixels source(64, 0xFF);
    Pixels target(16);
    const int64_t before = LiveAllocations();
    uint64_t n = 1;
    for (;; ++n) {
        FailAllocation(n);
        const int32_t result = ResampleBitmapPixels(source.data(), 8, 8, target.data(), 4, 4, FilterBox, 0.5);
        const bool failed = AllocationHasFailed();
        AllowAllocations();
        EXPECT_EQ(result, failed ? 0 : 1) << n;
        EXPECT_EQ(LiveAllocations(), before) << n;
        if (!failed)
            break;
    }
    EXPECT_EQ(n, 10u); // the intermediate and twice four arrays
}

TEST(Resampler, TheKernelIsAskedOncePerWeightAndNeverPerPixel)
{
    static uint64_t calls;
    calls = 0;
    const TonekitKernel counting = [](double t) {
        ++calls;
        return FilterTriangle(t);
    };
    const Pixels source(100 * 100, 0x80);
    Resampled(source, 100, 100, 25, 50, counting, 1.0);
    EXPECT_LE(calls, 25u * 9 + 50u * 5);
}

TEST(Resampler, AThrowingKernelLeavesNothingBehind)
{
    const TonekitKernel throwing = [](double) -> double { throw std::runtime_error("kernel"); };
    const Pixels source(64, 0);
    Pixels target(16);
    const int64_t before = LiveAllocations();
    EXPECT_THROW(ResampleBitmapPixels(source.data(), 8, 8, target.data(), 4, 4, throwing, 1.0),
                 std::runtime_error);
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace tonekit
