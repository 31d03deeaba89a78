// spelling.h: what a misspelt word may have meant.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tonekit::host {

// The number of letters that are missing, too many, wrong or swapped with their neighbour, each part of the
// word changed once at most.
size_t Misspellings(std::string_view a, std::string_view b);

// The one of the names that is closest to the word, the first of several; empty if all are far from it.
std::string ClosestName(std::string_view word, const std::vector<std::string> &names);

} // namespace tonekit::host
