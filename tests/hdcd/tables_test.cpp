// tables_test.cpp: the constant tables, by their rules and by telling values.
#include "hdcd/hdcd_tables.h"
#include "tests/reference/hdcd_model.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>

namespace tonekit {
namespace {

TEST(HdcdTables, ReadaheadIsTheLeastDistanceToAPossiblePrefix)
{
    for (int low = 0; low < 256; ++low)
        EXPECT_EQ(HdcdReadaheadTable[low], reference::HdcdReadahead(static_cast<unsigned>(low))) << low;
}

TEST(HdcdTables, ReadaheadHoldsTheValuesThatTell)
{
    EXPECT_EQ(HdcdReadaheadTable[0x00], 3);
    EXPECT_EQ(HdcdReadaheadTable[0x02], 1);
    EXPECT_EQ(HdcdReadaheadTable[0x07], 17);
    EXPECT_EQ(HdcdReadaheadTable[0x3E], 14);
    EXPECT_EQ(HdcdReadaheadTable[0x3F], 25);
    EXPECT_EQ(HdcdReadaheadTable[0x7F], 32);
    EXPECT_EQ(HdcdReadaheadTable[0xE8], 10);
    EXPECT_EQ(HdcdReadaheadTable[0xFF], 32);
}

TEST(HdcdTables, GainHoldsTheValuesThatTell)
{
    EXPECT_EQ(HdcdGainTable32[0], 0x800000u);
    EXPECT_EQ(HdcdGainTable32[1], 0x7FF144u);
    EXPECT_EQ(HdcdGainTable32[8], 0x7F8A52u);
    EXPECT_EQ(HdcdGainTable32[128], 0x78D6FCu);
    EXPECT_EQ(HdcdGainTable32[256], 0x721482u);
    EXPECT_EQ(HdcdGainTable32[1024], 0x50C336u);
    EXPECT_EQ(HdcdGainTable32[1536], 0x4026E7u);
    EXPECT_EQ(HdcdGainTable32[1920], 0x35FA26u);
}

TEST(HdcdTables, GainIsTheFactorInSinglePrecisionCutToAnInteger)
{
    for (int gain = 0; gain <= 1920; ++gain)
        EXPECT_EQ(HdcdGainTable32[gain], reference::HdcdGainFactor(gain)) << gain;
}

TEST(HdcdTables, PeakHoldsTheValuesThatTell)
{
    EXPECT_EQ(HdcdPeakTable[0], 0x2CC08300u);
    EXPECT_EQ(HdcdPeakTable[0] - (22913u << 15), 0x300u);
    EXPECT_EQ(HdcdPeakTable[1], 0x2CC08300u + 33536);
    EXPECT_EQ(HdcdPeakTable[511], 0x2DC60000u);
    EXPECT_EQ(HdcdPeakTable[512], 0x2DC60000u + 34560);
    EXPECT_EQ(HdcdPeakTable[4095], 0x364A0000u);
    EXPECT_EQ(HdcdPeakTable[8191], 0x4999FF00u);
    EXPECT_EQ(HdcdPeakTable[9151], 0x5DA00000u);
    EXPECT_EQ(HdcdPeakTable[9854], 0x7FF38000u);
    EXPECT_EQ(HdcdPeakTable[9855], 0x80000000u);
}

// Nine of the pieces are one index long and differ by 256 from those around them.
TEST(HdcdTables, PeakKeepsItsStepsOfOneIndex)
{
    const auto step = [](int index) { return HdcdPeakTable[index + 1] - HdcdPeakTable[index]; };
    const struct {
        int index;
        uint32_t before, here, after;
    } odd[] = {
        {2132, 38400, 38144, 38400},    {3198, 43008, 43264, 43008},    {4799, 55296, 55040, 55296},
        {5545, 59904, 60160, 59904},    {6399, 74240, 73984, 74240},    {8249, 177152, 177408, 177152},
        {8388, 183296, 183040, 183296}, {8724, 292864, 293120, 292864}, {8839, 376832, 376576, 376832}};
    for (const auto &row : odd) {
        EXPECT_EQ(step(row.index - 1), row.before) << row.index;
        EXPECT_EQ(step(row.index), row.here) << row.index;
        EXPECT_EQ(step(row.index + 1), row.after) << row.index;
    }
}

// FNV-1a over all entries, little end first; the sum was made from the pieces by another program.
TEST(HdcdTables, PeakIsCompleteInEveryEntry)
{
    uint64_t sum = 14695981039346656037u;
    for (int index = 0; index < 9856; ++index)
        for (int byte = 0; byte < 4; ++byte)
            sum = (sum ^ (HdcdPeakTable[index] >> 8 * byte & 0xFF)) * 1099511628211u;
    EXPECT_EQ(sum, 0xC2281C3F7BF8CBAu);
}

TEST(HdcdTables, PeakIsTheCurveWalkedStepByStep)
{
    for (int index = 0; index < 9856; ++index)
        EXPECT_EQ(HdcdPeakTable[index], reference::HdcdPeakValue(index)) << index;
}

TEST(HdcdTables, PeakRisesAllTheWay)
{
    for (int index = 1; index < 9856; ++index)
        EXPECT_GT(HdcdPeakTable[index], HdcdPeakTable[index - 1]);
}

template <size_t Size>
void ExpectTone(const HdcdTable<int16_t, Size> &table)
{
    constexpr int kCount = Size;
    constexpr long double kPi = 3.14159265358979323846264338327950288L;
    for (int index = 0; index < kCount; ++index)
        EXPECT_EQ(table[index], static_cast<int>(std::sin(2 * kPi * index / kCount) * 0.1L * 32767)) << index;
}

TEST(HdcdTables, TonesAreOnePeriodOfASine)
{
    ExpectTone(HdcdToneTable44);
    ExpectTone(HdcdToneTable48);
    EXPECT_EQ(HdcdToneTable44[1], 35);
    EXPECT_EQ(HdcdToneTable44[147], 3276);
    EXPECT_EQ(HdcdToneTable44[441], -3276);
    EXPECT_EQ(HdcdToneTable48[160], 3276);
    EXPECT_EQ(HdcdToneTable48[320], 0);
    EXPECT_EQ(HdcdToneTable48[639], -32);
}

} // namespace
} // namespace tonekit
