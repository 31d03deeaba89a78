// processor_test.cpp: the feature word of given processors, and the tier that each word chooses.
#include "frame/processor.h"

#include <cstring>
#include <gtest/gtest.h>

namespace tonekit {
namespace {

// What a processor with every feature of the most demanding tier answers, by the manual's bit numbers.
ProcessorAnswers FullProcessor()
{
    ProcessorAnswers answers;
    std::strcpy(answers.vendor, "GenuineIntel");
    answers.leaf1Edx = (1u << 0) | (1u << 15) | (1u << 23) | (1u << 24) | (1u << 25) | (1u << 26);
    answers.leaf1Ecx = (1u << 0) | (1u << 1) | (1u << 9) | (1u << 12) | (1u << 19) | (1u << 20) | (1u << 22) |
                       (1u << 23) | (1u << 25) | (1u << 27) | (1u << 28) | (1u << 29) | (1u << 30);
    answers.leaf7Ebx = (1u << 3) | (1u << 4) | (1u << 5) | (1u << 8) | (1u << 11);
    answers.extended1Ecx = 1u << 5;
    answers.xcr0 = 7;
    return answers;
}

char TierOf(const ProcessorAnswers &answers)
{
    return kTierLetters[ChooseTier(FeatureWord(answers))];
}

TEST(FeatureWord, HoldsAllBitsOfAFullProcessor)
{
    EXPECT_EQ(FeatureWord(FullProcessor()), 0xFFFFFFu);
    EXPECT_EQ(TierOf(FullProcessor()), 'V');
}

TEST(FeatureWord, TakesEachBitFromItsPlace)
{
    struct Row {
        uint32_t ProcessorAnswers::*word;
        unsigned bit;
        unsigned feature;
    };
    constexpr Row kRows[] = {
        {&ProcessorAnswers::leaf1Edx, 0, 1},      {&ProcessorAnswers::leaf1Edx, 15, 2},
        {&ProcessorAnswers::leaf1Edx, 23, 3},     {&ProcessorAnswers::leaf1Edx, 24, 4},
        {&ProcessorAnswers::leaf1Edx, 25, 5},     {&ProcessorAnswers::leaf1Edx, 26, 6},
        {&ProcessorAnswers::leaf1Ecx, 0, 7},      {&ProcessorAnswers::leaf1Ecx, 9, 8},
        {&ProcessorAnswers::leaf1Ecx, 19, 9},     {&ProcessorAnswers::leaf1Ecx, 20, 10},
        {&ProcessorAnswers::leaf1Ecx, 22, 11},    {&ProcessorAnswers::leaf1Ecx, 23, 12},
        {&ProcessorAnswers::leaf1Ecx, 1, 13},     {&ProcessorAnswers::leaf1Ecx, 25, 14},
        {&ProcessorAnswers::leaf1Ecx, 29, 15},    {&ProcessorAnswers::leaf1Ecx, 28, 16},
        {&ProcessorAnswers::leaf1Ecx, 30, 17},    {&ProcessorAnswers::leaf1Ecx, 12, 18},
        {&ProcessorAnswers::leaf7Ebx, 3, 19},     {&ProcessorAnswers::leaf7Ebx, 8, 19},
        {&ProcessorAnswers::extended1Ecx, 5, 20}, {&ProcessorAnswers::leaf7Ebx, 4, 21},
        {&ProcessorAnswers::leaf7Ebx, 11, 22},    {&ProcessorAnswers::leaf7Ebx, 5, 23},
    };
    for (const Row &row : kRows) {
        ProcessorAnswers answers = FullProcessor();
        answers.*row.word &= ~(1u << row.bit);
        EXPECT_EQ(FeatureWord(answers), 0xFFFFFFu & ~(1u << row.feature)) << row.feature;
    }
}

TEST(FeatureWord, HoldsBitZeroAloneForOtherMakes)
{
    for (const char *vendor : {"AuthenticAMD", "GenuineIntem", "", "genuineintel", "CentaurHauls"}) {
        ProcessorAnswers answers = FullProcessor();
        std::strcpy(answers.vendor, vendor);
        EXPECT_EQ(FeatureWord(answers), 1u) << vendor;
        EXPECT_EQ(TierOf(answers), 'A') << vendor;
        EXPECT_EQ(EnumerateFeatures(answers), 0xFFFFFFu) << vendor;
    }
}

TEST(FeatureWord, CountsWideFeaturesOnlyIfTheSystemSavesTheRegisters)
{
    for (const uint64_t xcr0 : {0u, 1u, 2u, 3u, 4u, 5u}) {
        ProcessorAnswers answers = FullProcessor();
        answers.xcr0 = xcr0;
        EXPECT_EQ(FeatureWord(answers), 0xFFFFFFu & ~((1u << 15) | (1u << 16) | (1u << 18) | (1u << 23)))
            << xcr0;
        EXPECT_EQ(TierOf(answers), 'P') << xcr0;
    }
}

TEST(TierChoice, TakesTheMostDemandingTierThatFits)
{
    struct Row {
        uint64_t word;
        char letter;
    };
    constexpr Row kRows[] = {
        {0x0, 'A'},        {0x1, 'A'},      {0xEE, 'L'},     {0xEC, 'A'},     {0x1EE, 'M'},
        {0x3EE, 'N'},      {0x2EE, 'L'},    {0x17EE, 'P'},   {0x7EE, 'N'},    {0x13EE, 'N'},
        {0x117EE, 'R'},    {0x197EE, 'S'},  {0x97EE, 'P'},   {0x9D9FEE, 'V'}, {0x9D97EE, 'S'},
        {0x999FEE, 'S'},   {0x959FEE, 'S'}, {0x8D9FEE, 'S'}, {0x1D9FEE, 'S'}, {0x9D1FEE, 'R'},
        {0xFFFFFFFF, 'V'}, {~0ull, 'V'},
    };
    for (const Row &row : kRows)
        EXPECT_EQ(kTierLetters[ChooseTier(row.word)], row.letter) << std::hex << row.word;
}

TEST(TierChoice, NeedsEveryBitOfAMask)
{
    constexpr uint64_t kMasks[8] = {0, 0xEE, 0x1EE, 0x3EE, 0x17EE, 0x117EE, 0x197EE, 0x9D9FEE};
    for (unsigned tier = 1; tier < 8; ++tier)
        for (unsigned bit = 0; bit < 24; ++bit)
            if (kMasks[tier] >> bit & 1) {
                EXPECT_LT(ChooseTier(kMasks[tier] & ~(uint64_t{1} << bit)), tier) << tier << " " << bit;
            }
}

TEST(TierChoice, WithoutMovbeIsS)
{
    ProcessorAnswers answers = FullProcessor();
    answers.leaf1Ecx &= ~(1u << 22);
    EXPECT_EQ(TierOf(answers), 'S');
}

} // namespace
} // namespace tonekit
