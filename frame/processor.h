// processor.h: the processor feature word and the choice of a tier by it, both as pure functions.
#pragma once

#include <cstdint>

namespace tonekit {

// What CPUID and XGETBV answer, as far as the feature word depends on it. Leaves that the processor lacks are
// zero.
struct ProcessorAnswers {
    char vendor[13] = {};      // leaf 0: EBX, EDX, ECX as text, terminated
    uint32_t leaf1Ecx = 0;     // basic features
    uint32_t leaf1Edx = 0;     //
    uint32_t leaf7Ebx = 0;     // leaf 7, subleaf 0: structured extended features
    uint32_t extended1Ecx = 0; // leaf 0x80000001
    uint64_t xcr0 = 0;         // register state that the operating system saves; 0 without OSXSAVE
};

// Bits of the feature word. Feature_Filled alone means a processor whose features are deliberately not used.
enum FeatureBit : unsigned {
    Feature_Filled = 0,
    Feature_X87 = 1,
    Feature_CMOV = 2,
    Feature_MMX = 3,
    Feature_FXSAVE = 4,
    Feature_SSE = 5,
    Feature_SSE2 = 6,
    Feature_SSE3 = 7,
    Feature_SSSE3 = 8,
    Feature_SSE4_1 = 9,
    Feature_SSE4_2 = 10,
    Feature_MOVBE = 11,
    Feature_POPCNT = 12,
    Feature_PCLMULQDQ = 13,
    Feature_AES = 14,
    Feature_F16C = 15,
    Feature_AVX = 16,
    Feature_RDRND = 17,
    Feature_FMA = 18,
    Feature_BMI = 19, // both halves, BMI1 and BMI2: the tier that demands it is compiled with both
    Feature_LZCNT = 20,
    Feature_HLE = 21,
    Feature_RTM = 22,
    Feature_AVX2 = 23,
};

// Every feature that the answers show, whoever made the processor.
uint64_t EnumerateFeatures(const ProcessorAnswers &answers);

// The word that selects bodies: that enumeration for "GenuineIntel", bit 0 alone for any other make.
uint64_t FeatureWord(const ProcessorAnswers &answers);

// The letters of the tiers in ascending demand, which is also the order of bodies in a dispatch row.
inline constexpr char kTierLetters[] = "ALMNPRSV";
inline constexpr unsigned kTierCount = sizeof kTierLetters - 1;

// The most demanding tier that fits the word, as an index into kTierLetters.
unsigned ChooseTier(uint64_t featureWord);

} // namespace tonekit
