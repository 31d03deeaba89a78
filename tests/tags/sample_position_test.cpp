// sample_position_test.cpp: sample counts as positions and back, with their rounding and wrap.
#include "tests/support/random.h"
#include "tests/tags/tag_functions.h"

#include <cmath>

namespace tonekit {
namespace {

constexpr uint64_t kTopBit = uint64_t{1} << 63;

class SamplePositionTest : public TagTest {};
TONEKIT_ON_EVERY_BODY(SamplePositionTest);

TEST_P(SamplePositionTest, KnownConversions)
{
    EXPECT_EQ(tags.SamplesToN100nS(44100, 44100), 10000000u);
    EXPECT_EQ(tags.SamplesToN100nS(1, 3), 3333333u);
    EXPECT_EQ(tags.SamplesToN100nS(2, 3), 6666667u);
    EXPECT_EQ(tags.SamplesToN100nS(0, 44100), 0u);
    EXPECT_EQ(tags.N100nSToSamples(10000000, 44100), 44100u);
    EXPECT_EQ(tags.N100nSToSamples(1, 48000), 0u);
    EXPECT_EQ(tags.N100nSToSamples(0, 48000), 0u);
    EXPECT_EQ(tags.N100nSToSamples(10000000, 0), 0u);
}

TEST_P(SamplePositionTest, HalvesRoundAwayFromZero)
{
    EXPECT_EQ(tags.SamplesToN100nS(1, 20000000), 1u);
    EXPECT_EQ(tags.SamplesToN100nS(3, 20000000), 2u);
    EXPECT_EQ(tags.SamplesToN100nS(5, 20000000), 3u);
    EXPECT_EQ(tags.SamplesToN100nS(1, 20000001), 0u);
    EXPECT_EQ(tags.N100nSToSamples(5000000, 1), 1u);
    EXPECT_EQ(tags.N100nSToSamples(4999999, 1), 0u);
    EXPECT_EQ(tags.N100nSToSamples(5000000, 5), 3u);
    // The quotient is 0.5 - 2^-54, which a plain add of one half would round up.
    EXPECT_EQ(tags.SamplesToN100nS(900000000000, 18000000000000002048u), 0u);
    EXPECT_EQ(tags.SamplesToN100nS(900000000000, 18000000000000000000u), 1u);
}

TEST_P(SamplePositionTest, RateZeroGivesTheTopBit)
{
    EXPECT_EQ(tags.SamplesToN100nS(0, 0), kTopBit);
    EXPECT_EQ(tags.SamplesToN100nS(1, 0), kTopBit);
    EXPECT_EQ(tags.SamplesToN100nS(UINT64_MAX, 0), kTopBit);
}

TEST_P(SamplePositionTest, PositionsBeyond64BitsGiveTheTopBit)
{
    EXPECT_EQ(tags.SamplesToN100nS(UINT64_MAX, 1), kTopBit);
    // 2^64 / 10^7 samples at 1 Hz end just at the width.
    EXPECT_EQ(tags.SamplesToN100nS(1844674407371, 1), kTopBit);
    EXPECT_EQ(tags.SamplesToN100nS(1844674407370, 1), 18446744073699999744u);
    EXPECT_EQ(tags.SamplesToN100nS(1000000000000, 1), 10000000000000000000u);
    EXPECT_EQ(tags.SamplesToN100nS(922337203685, 1), 9223372036849999872u);
}

TEST_P(SamplePositionTest, TheProductOfPositionAndRateWraps)
{
    // 2^64 / 96000 is 192153584101141.2: about 222 days.
    EXPECT_EQ(tags.N100nSToSamples(192153584101141, 96000), 1844674407371u);
    EXPECT_EQ(tags.N100nSToSamples(192153584101142, 96000), 0u);
    EXPECT_EQ(tags.N100nSToSamples(192153584201142, 96000), 960u);
    EXPECT_EQ(tags.N100nSToSamples(UINT64_MAX, UINT64_MAX), 0u);
    EXPECT_EQ(tags.N100nSToSamples(UINT64_MAX, 1), 1844674407371u);
}

TEST_P(SamplePositionTest, RandomConversionsFollowTheFormula)
{
    Random random(534);
    for (int i = 0; i < 100000; ++i) {
        const uint64_t count = random.Next() >> random.Below(64);
        const uint64_t rate = random.Next() >> random.Below(64);
        // Half a unit in the last place of a long double is enough to see every step's double rounding.
        const double scaled = static_cast<double>(static_cast<long double>(count)) * 10000000.0;
        const double position = std::round(scaled / static_cast<double>(static_cast<long double>(rate)));
        const bool fits = position < 18446744073709551616.0;
        const uint64_t expected = fits ? static_cast<uint64_t>(static_cast<long double>(position)) : kTopBit;
        ASSERT_EQ(tags.SamplesToN100nS(count, rate), expected) << count << " at " << rate;
        const auto product = static_cast<double>(static_cast<long double>(count * rate));
        ASSERT_EQ(tags.N100nSToSamples(count, rate), static_cast<uint64_t>(std::round(product / 10000000.0)));
    }
}

} // namespace
} // namespace tonekit
