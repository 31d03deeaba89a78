// selected_tier.h: the tier whose bodies plain names run in a test program.
#pragma once

#include <cstdint>

namespace tonekit {

// A feature word that selects each tier, in the order of kTierLetters.
inline constexpr uint64_t kTierWords[8] = {1, 0xEF, 0x1EF, 0x3EF, 0x17EF, 0x117EF, 0x197EF, 0x9D9FEF};

// The letter that plain names run: the one of this processor, or the one that SelectTestTier has set.
char SelectedLetter();

// Selects what SelectedLetter returns, after a test that selected others.
void RestoreSelection();

// Has plain names run the tier that the variable TONEKIT_TEST_TIER names, if it is set, as if the processor's
// feature word asked for it. Prints a line and returns false if there is no such letter or the processor
// can't run it.
bool SelectTestTier();

} // namespace tonekit
