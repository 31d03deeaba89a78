// every_body.h: the bodies of a dispatched function that run on this processor, each of them once.
#pragma once

#include "tests/support/bodies.h"

#include <algorithm>
#include <vector>

namespace tonekit::fuzz {

// A target keeps what it gets: each call walks over the dispatch list for each letter.
template <class Function>
std::vector<Function *> EveryBody(const char *name)
{
    std::vector<Function *> found;
    for (const char letter : RunnableLetters()) {
        auto *const body = Body<Function>(name, letter);
        if (std::find(found.begin(), found.end(), body) == found.end())
            found.push_back(body);
    }
    return found;
}

} // namespace tonekit::fuzz
