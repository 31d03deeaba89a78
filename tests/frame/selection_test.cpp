// selection_test.cpp: the selection writes the fitting body into every slot.
#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/bodies.h"
#include "tests/support/selected_tier.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string_view>

namespace tonekit {
namespace {

void ExpectSlots(unsigned tier)
{
    const std::vector<const char *> names = DispatchedNames();
    ASSERT_FALSE(names.empty());
    for (size_t row = 0; row < names.size(); ++row)
        EXPECT_EQ(*tonekit_dispatch_rows[row].slot, tonekit_dispatch_rows[row].bodies[tier]) << names[row];
}

// At load it ran with the processor's word; a run of the suite for one tier rests on the other branch.
TEST(Selection, IsTheProcessorsOrTheOneThatTheTestRunNames)
{
    const char *named = std::getenv("TONEKIT_TEST_TIER");
    const unsigned tier = named ? static_cast<unsigned>(std::string_view(kTierLetters).find(*named))
                                : ChooseTier(FeatureWord(AskProcessor()));
    ExpectSlots(tier);
    EXPECT_EQ(SelectedLetter(), kTierLetters[tier]);
}

TEST(Selection, FollowsTheWord)
{
    for (unsigned tier = 0; tier < kTierCount; ++tier) {
        SelectBodies(kTierWords[tier]);
        ExpectSlots(tier);
    }
    RestoreSelection();
}

TEST(Selection, UnitsCoverEveryRow)
{
    size_t rows = 0;
    for (const uint64_t *unit = tonekit_dispatch_units; *unit != 0; ++unit)
        rows += *unit;
    EXPECT_EQ(rows, DispatchedNames().size());
}

} // namespace
} // namespace tonekit
