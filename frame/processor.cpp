// processor.cpp: fills the processor feature word and chooses a tier by it.
#include "frame/processor.h"

#include <cstring>

namespace tonekit {

namespace {

constexpr uint64_t Bit(unsigned index)
{
    return uint64_t{1} << index;
}

// Masks of the tiers, in the order of kTierLetters. Each holds the one before it.
constexpr uint64_t kTierMasks[kTierCount] = {0, 0xEE, 0x1EE, 0x3EE, 0x17EE, 0x117EE, 0x197EE, 0x9D9FEE};

// XCR0 bits 1 and 2: the operating system saves the SSE and the upper AVX halves of the wide registers.
constexpr uint64_t kWideRegistersSaved = 0x6;

struct Source {
    FeatureBit feature;
    uint32_t ProcessorAnswers::*word;
    uint32_t bits; // all must be set
    bool wide;     // counts only while the wide registers are saved
};

constexpr uint32_t kBmi1AndBmi2 = (1u << 3) | (1u << 8);

// Where each feature is in the processor's answers, by the vendor's manual of the CPUID instruction.
constexpr Source kSources[] = {
    {Feature_X87, &ProcessorAnswers::leaf1Edx, 1u << 0, false},
    {Feature_CMOV, &ProcessorAnswers::leaf1Edx, 1u << 15, false},
    {Feature_MMX, &ProcessorAnswers::leaf1Edx, 1u << 23, false},
    {Feature_FXSAVE, &ProcessorAnswers::leaf1Edx, 1u << 24, false},
    {Feature_SSE, &ProcessorAnswers::leaf1Edx, 1u << 25, false},
    {Feature_SSE2, &ProcessorAnswers::leaf1Edx, 1u << 26, false},
    {Feature_SSE3, &ProcessorAnswers::leaf1Ecx, 1u << 0, false},
    {Feature_SSSE3, &ProcessorAnswers::leaf1Ecx, 1u << 9, false},
    {Feature_SSE4_1, &ProcessorAnswers::leaf1Ecx, 1u << 19, false},
    {Feature_SSE4_2, &ProcessorAnswers::leaf1Ecx, 1u << 20, false},
    {Feature_MOVBE, &ProcessorAnswers::leaf1Ecx, 1u << 22, false},
    {Feature_POPCNT, &ProcessorAnswers::leaf1Ecx, 1u << 23, false},
    {Feature_PCLMULQDQ, &ProcessorAnswers::leaf1Ecx, 1u << 1, false},
    {Feature_AES, &ProcessorAnswers::leaf1Ecx, 1u << 25, false},
    {Feature_F16C, &ProcessorAnswers::leaf1Ecx, 1u << 29, true},
    {Feature_AVX, &ProcessorAnswers::leaf1Ecx, 1u << 28, true},
    {Feature_RDRND, &ProcessorAnswers::leaf1Ecx, 1u << 30, false},
    {Feature_FMA, &ProcessorAnswers::leaf1Ecx, 1u << 12, true},
    {Feature_BMI, &ProcessorAnswers::leaf7Ebx, kBmi1AndBmi2, false},
    {Feature_LZCNT, &ProcessorAnswers::extended1Ecx, 1u << 5, false},
    {Feature_HLE, &ProcessorAnswers::leaf7Ebx, 1u << 4, false},
    {Feature_RTM, &ProcessorAnswers::leaf7Ebx, 1u << 11, false},
    {Feature_AVX2, &ProcessorAnswers::leaf7Ebx, 1u << 5, true},
};

} // namespace

uint64_t EnumerateFeatures(const ProcessorAnswers &answers)
{
    const bool wideSaved = (answers.xcr0 & kWideRegistersSaved) == kWideRegistersSaved;
    uint64_t word = Bit(Feature_Filled);
    for (const Source &source : kSources) {
        const bool present = (answers.*source.word & source.bits) == source.bits;
        if (present && (wideSaved || !source.wide))
            word |= Bit(source.feature);
    }
    return word;
}

uint64_t FeatureWord(const ProcessorAnswers &answers)
{
    // Processors of any other make run the baseline, whatever they support.
    if (std::strcmp(answers.vendor, "GenuineIntel") != 0)
        return Bit(Feature_Filled);
    return EnumerateFeatures(answers);
}

unsigned ChooseTier(uint64_t featureWord)
{
    unsigned tier = kTierCount - 1;
    while ((~featureWord & kTierMasks[tier]) != 0)
        --tier;
    return tier;
}

} // namespace tonekit
