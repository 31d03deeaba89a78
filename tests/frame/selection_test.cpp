// selection_test.cpp: the selection writes the fitting body into every slot.
#include <gtest/gtest.h>

#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/bodies.h"

namespace tonekit {
namespace {

constexpr uint64_t kWords[8] = {1, 0xef, 0x1ef, 0x3ef, 0x17ef, 0x117ef, 0x197ef, 0x9d9fef};

void ExpectSlots(unsigned tier)
{
    const std::vector<const char *> names = DispatchedNames();
    ASSERT_FALSE(names.empty());
    for (std::size_t row = 0; row < names.size(); ++row)
        EXPECT_EQ(*tonekit_dispatch_rows[row].slot, tonekit_dispatch_rows[row].bodies[tier]) << names[row];
}

TEST(Selection, RanAtLoadWithTheProcessorsWord)
{
    ExpectSlots(ChooseTier(FeatureWord(AskProcessor())));
}

TEST(Selection, FollowsTheWord)
{
    for (unsigned tier = 0; tier < kTierCount; ++tier) {
        SelectBodies(kWords[tier]);
        ExpectSlots(tier);
    }
    SelectBodies(FeatureWord(AskProcessor()));
}

TEST(Selection, UnitsCoverEveryRow)
{
    std::size_t rows = 0;
    for (const uint64_t *unit = tonekit_dispatch_units; *unit != 0; ++unit)
        rows += *unit;
    EXPECT_EQ(rows, DispatchedNames().size());
}

} // namespace
} // namespace tonekit
