// bodies.h: finds the bodies of dispatched functions by name and letter.
#pragma once

#include <vector>

namespace tonekit {

// The eight letters in ascending demand.
inline constexpr const char *kLetters = "ALMNPRSV";

// The address of NAME.LETTER, exported or internal; null if no such row or letter exists.
void *BodyAddress(const char *name, char letter);

template <class Function>
Function *Body(const char *name, char letter)
{
    return reinterpret_cast<Function *>(BodyAddress(name, letter));
}

// The names of all dispatched functions, in the order of the dispatch list.
std::vector<const char *> DispatchedNames();

// Whether this processor, of whatever make, has the features of a tier.
bool ProcessorRuns(char letter);

// The letters of all tiers that it runs, in ascending demand.
std::vector<char> RunnableLetters();

} // namespace tonekit
