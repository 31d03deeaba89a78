// contribution_list_test.cpp: which positions an output takes, and that a list never outgrows its room.
#include "image/contribution_list.h"
#include "image/filters.h"
#include "tests/reference/resample_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace tonekit {
namespace {

double One(double)
{
    return 1.0;
}

std::vector<int32_t> Indices(const ContributionList &list, size_t output)
{
    const int32_t *begin = list.indices + output * list.stride;
    return {begin, begin + list.counts[output]};
}

TEST(ContributionLists, ReducingByFourWithLanczos3SpansTwentyFivePositions)
{
    ContributionLists lists;
    ASSERT_TRUE(lists.Build(400, 100, One, 3.0));
    // Output 50 lies on source 200, and 12 positions to each side count, from trunc(200.5 - 12) on.
    const std::vector<int32_t> indices = Indices(lists.list(), 50);
    ASSERT_EQ(indices.size(), 25u);
    EXPECT_EQ(indices.front(), 188);
    EXPECT_EQ(indices.back(), 212);
    EXPECT_EQ(lists.list().sums[50], 25.0);
}

TEST(ContributionLists, OutputZeroLiesOnSourceZeroAndTheOutsideIsDropped)
{
    ContributionLists lists;
    ASSERT_TRUE(lists.Build(10, 20, FilterTriangle, 1.0));
    EXPECT_EQ(Indices(lists.list(), 0), std::vector<int32_t>({0}));
    EXPECT_EQ(lists.list().sums[0], 1.0);
    EXPECT_EQ(Indices(lists.list(), 1), std::vector<int32_t>({0, 1}));
    EXPECT_EQ(Indices(lists.list(), 19), std::vector<int32_t>({9}));
    EXPECT_EQ(lists.list().sums[19], 0.5);
}

TEST(ContributionLists, ZeroWeightsAreLeftOutAndNanIsKept)
{
    ContributionLists lists;
    const TonekitKernel kernel = [](double t) {
        return t == 0.0 ? std::numeric_limits<double>::quiet_NaN() : 0.0;
    };
    ASSERT_TRUE(lists.Build(8, 16, kernel, 4.0));
    EXPECT_EQ(Indices(lists.list(), 4), std::vector<int32_t>({2}));
    EXPECT_NE(lists.list().sums[4], lists.list().sums[4]);
    EXPECT_EQ(Indices(lists.list(), 5), std::vector<int32_t>());
    EXPECT_EQ(lists.list().sums[5], 0.0);
}

TEST(ContributionLists, RadiusZeroTakesTheNearestPosition)
{
    ContributionLists lists;
    ASSERT_TRUE(lists.Build(4, 10, One, 0.0));
    // trunc(i / 2.5 + 0.5), in and past the last position
    const int32_t nearest[10] = {0, 0, 1, 1, 2, 2, 2, 3, 3, 4};
    for (size_t i = 0; i < 9; ++i)
        EXPECT_EQ(Indices(lists.list(), i), std::vector<int32_t>({nearest[i]})) << i;
    EXPECT_EQ(lists.list().counts[9], 0);
}

TEST(ContributionLists, AgreesWithTheModelAndStaysInItsRoomForOddRatios)
{
    Random random(71);
    for (int round = 0; round < 400; ++round) {
        const auto source = static_cast<int32_t>(1 + random.Below(300));
        const auto target = static_cast<int32_t>(1 + random.Below(300));
        const double radius = 16.0 * random.Uniform();
        ContributionLists lists;
        ASSERT_TRUE(lists.Build(source, target, One, radius));
        const ContributionList &list = lists.list();
        const auto model = reference::ContributionsOf(source, target, One, radius);
        ASSERT_EQ(list.positions, target);
        for (size_t i = 0; i < model.size(); ++i) {
            ASSERT_EQ(static_cast<size_t>(list.counts[i]), model[i].size());
            ASSERT_LE(model[i].size(), list.stride);
            for (size_t entry = 0; entry < model[i].size(); ++entry)
                ASSERT_EQ(list.indices[i * list.stride + entry], model[i][entry].first);
        }
    }
}

TEST(ContributionLists, AListMayBeOneLongerThanTheWindow)
{
    // 2 width is just below 5, and a window just below 6 truncates to 5; but 1000 and 2 width round to 1005,
    // which makes six positions.
    ContributionLists lists;
    ASSERT_TRUE(lists.Build(2000, 2001, One, std::nextafter(2.5, 0.0)));
    const ContributionList &list = lists.list();
    EXPECT_EQ(Indices(list, 1003).size(), 6u);
    EXPECT_GE(list.stride, 6u);
    EXPECT_EQ(list.sums[1003], 6.0);
}

TEST(ContributionLists, RefusesWhatNoListCanHold)
{
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double radius : {undefined, infinite, 1e300, 1073741824.0}) {
        ContributionLists lists;
        EXPECT_FALSE(lists.Build(4, 8, One, radius)) << radius;
    }
    ContributionLists wide;
    EXPECT_TRUE(wide.Build(4, 8, One, 1073741823.0)); // a window of 2^31 - 1
    EXPECT_EQ(wide.list().counts[7], 4);
}

TEST(ContributionLists, ANegativeRadiusReachesNothingBeyondTheFirstPosition)
{
    for (const double radius : {-0.25, -5.0, -1e300, -std::numeric_limits<double>::infinity()}) {
        ContributionLists lists;
        ASSERT_TRUE(lists.Build(40, 40, One, radius)) << radius;
        for (size_t i = 1; i < 40; ++i)
            EXPECT_EQ(lists.list().counts[i], 0) << radius;
    }
}

TEST(ContributionLists, EveryAllocationIsTestedAndReleased)
{
    const int64_t before = LiveAllocations();
    for (uint64_t n = 1; n <= 4; ++n) {
        ContributionLists lists;
        FailAllocation(n);
        EXPECT_FALSE(lists.Build(40, 30, One, 3.0)) << n;
        AllowAllocations();
    }
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace tonekit
