// sample_guard_test.cpp: which samples the guard changes, and that it changes no other.
#include "host/processing/sample_guard.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace tonekit::host {
namespace {

template <class Sample>
class SampleGuardOf : public testing::Test {};
using Floats = testing::Types<float, double>;
TYPED_TEST_SUITE(SampleGuardOf, Floats);

template <class Sample>
constexpr SampleFormat kFormat = sizeof(Sample) == 4 ? SampleFormat::Float32 : SampleFormat::Float64;

TYPED_TEST(SampleGuardOf, HandsGoodSamplesThroughUntouched)
{
    const TypeParam samples[] = {0, TypeParam(-0.0), 16, -16, std::numeric_limits<TypeParam>::denorm_min()};
    SampleGuard guard(kFormat<TypeParam>, 16);
    EXPECT_EQ(guard.Guarded(samples, 5), samples);
    EXPECT_EQ(guard.silenced(), 0u);
    EXPECT_EQ(guard.clamped(), 0u);
}

TYPED_TEST(SampleGuardOf, MendsAndCountsTheOthers)
{
    using Limits = std::numeric_limits<TypeParam>;
    const TypeParam above = std::nextafter(TypeParam(16), TypeParam(17));
    const TypeParam samples[] = {TypeParam(0.5), Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                                 above,          -Limits::max(),      TypeParam(-0.0)};
    const TypeParam mended[] = {TypeParam(0.5), 0, 0, 0, 16, -16, TypeParam(-0.0)};
    SampleGuard guard(kFormat<TypeParam>, 16);
    const void *const result = guard.Guarded(samples, 7);
    EXPECT_EQ(std::memcmp(result, mended, sizeof(mended)), 0);
    EXPECT_EQ(guard.silenced(), 3u);
    EXPECT_EQ(guard.clamped(), 2u);
    guard.Guarded(samples, 7);
    EXPECT_EQ(guard.silenced(), 6u);
    EXPECT_EQ(guard.clamped(), 4u);
}

// The largest number of a double is none of a float.
TYPED_TEST(SampleGuardOf, FindsInfinityWithoutALimit)
{
    using Limits = std::numeric_limits<TypeParam>;
    const TypeParam samples[] = {Limits::max(), Limits::lowest(), -Limits::infinity(), Limits::infinity()};
    const TypeParam mended[] = {Limits::max(), Limits::lowest(), 0, 0};
    SampleGuard guard(kFormat<TypeParam>, std::numeric_limits<double>::max());
    EXPECT_EQ(std::memcmp(guard.Guarded(samples, 4), mended, sizeof(mended)), 0);
    EXPECT_EQ(guard.silenced(), 2u);
    EXPECT_EQ(guard.clamped(), 0u);
}

TYPED_TEST(SampleGuardOf, CountsWhatIsLouderThanFullScale)
{
    using Limits = std::numeric_limits<TypeParam>;
    const TypeParam above = std::nextafter(TypeParam(1), TypeParam(2));
    const TypeParam samples[] = {
        1, -1, 0, above, -above, Limits::max(), Limits::infinity(), Limits::quiet_NaN()};
    EXPECT_EQ(LouderThanFullScale(kFormat<TypeParam>, samples, 3), 0u);
    EXPECT_EQ(LouderThanFullScale(kFormat<TypeParam>, samples, 8), 3u);
    EXPECT_EQ(LouderThanFullScale(SampleFormat::Int32, samples, 8), 0u);
}

TEST(SampleGuard, LeavesIntegersAlone)
{
    const uint32_t noNumber = 0x7FC00000; // as a float
    SampleGuard guard(SampleFormat::Int32, 1);
    EXPECT_EQ(guard.Guarded(&noNumber, 1), &noNumber);
    EXPECT_EQ(guard.silenced(), 0u);
}

TEST(SampleGuard, TellsWhatItDid)
{
    EXPECT_EQ(GuardText(1, 0, 16, 0, false), "1 sample that is no finite number became 0");
    EXPECT_EQ(GuardText(3, 1, 16, 0, false),
              "3 samples that are no finite numbers became 0, 1 sample louder than 16.0 became that");
    EXPECT_EQ(GuardText(0, 2, 2, 0, false), "2 samples louder than 2.0 became that");
    EXPECT_EQ(GuardText(0, 0, 0, 1, false),
              "1 sample of the input was louder than full scale and is clipped");
    EXPECT_EQ(GuardText(1, 0, 0, 2, false),
              "1 sample that is no finite number became 0, 2 samples of the input were "
              "louder than full scale and are clipped");
    EXPECT_EQ(GuardText(0, 0, 0, 1, true), "1 sample of the mix was louder than full scale and is clipped");
    EXPECT_EQ(GuardText(0, 0, 0, 3, true),
              "3 samples of the mix were louder than full scale and are clipped");
    EXPECT_EQ(GuardText(0, 0, 16, 0, false), "");
    EXPECT_EQ(FarTooLoudText(0), "");
    EXPECT_EQ(FarTooLoudText(1), "1 sample of the input was louder than 600 dB and became that");
    EXPECT_EQ(FarTooLoudText(2), "2 samples of the input were louder than 600 dB and became that");
}

} // namespace
} // namespace tonekit::host
