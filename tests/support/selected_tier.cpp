// selected_tier.cpp: selects a tier for a whole test program, with a feature word made up for it.
#include "tests/support/selected_tier.h"

#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/bodies.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tonekit {

namespace {

// What the selection goes by: the processor's own word until a test tier is set.
uint64_t &Word()
{
    static uint64_t word = FeatureWord(AskProcessor());
    return word;
}

} // namespace

char SelectedLetter()
{
    return kTierLetters[ChooseTier(Word())];
}

void RestoreSelection()
{
    SelectBodies(Word());
}

bool SelectTestTier()
{
    const char *wanted = std::getenv("TONEKIT_TEST_TIER");
    if (!wanted || !*wanted)
        return true;
    const char *letter = std::strlen(wanted) == 1 ? std::strchr(kTierLetters, *wanted) : nullptr;
    if (!letter) {
        std::fprintf(stderr, "TONEKIT_TEST_TIER: '%s' is none of the letters %s\n", wanted, kTierLetters);
        return false;
    }
    if (!ProcessorRuns(*letter)) {
        std::fprintf(stderr, "TONEKIT_TEST_TIER: this processor lacks what tier %c needs\n", *letter);
        return false;
    }
    Word() = kTierWords[letter - kTierLetters];
    RestoreSelection();
    return true;
}

} // namespace tonekit
