// bodies.h: finds the bodies of dispatched functions by name and letter.
#pragma once

#include "frame/processor.h"

#include <set>
#include <string>
#include <vector>

namespace tonekit {

class SharedLibrary;

// The address of NAME.LETTER, exported or internal; null if no such row or letter exists.
void *BodyAddress(const char *name, char letter);

template <class Function>
Function *Body(const char *name, char letter)
{
    return reinterpret_cast<Function *>(BodyAddress(name, letter));
}

// From now on, exported functions are those of a finished library: Body and BodyAddress look for NAME.LETTER
// among its exports, then for NAME where that alone is exported. What it doesn't export stays the program's
// own. Null ends that.
void TakeExportsOf(const SharedLibrary *library);

// Each NAME.LETTER that has been found there so far.
const std::set<std::string> &SuffixedNamesTaken();

// The function of that name that has one build: the finished library's while it is taken, else the program's
// own, which is given.
void *SingleAddress(const char *name, void *own);

template <class Function>
Function *Single(const char *name, Function *own)
{
    return reinterpret_cast<Function *>(SingleAddress(name, reinterpret_cast<void *>(own)));
}

// The names of all dispatched functions, in the order of the dispatch list.
std::vector<const char *> DispatchedNames();

// Whether this processor, of whatever make, has the features of a tier.
bool ProcessorRuns(char letter);

// The letters of all tiers that it runs, in ascending demand.
std::vector<char> RunnableLetters();

} // namespace tonekit
