// bodies.cpp: reads the dispatch table and its names.
#include "tests/support/bodies.h"

#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/shared_library.h"

#include <cstring>
#include <string_view>
#include <unordered_map>

extern "C" const char *const tonekit_dispatch_names[];

namespace tonekit {

namespace {

const SharedLibrary *exporter = nullptr;
std::set<std::string> suffixedNames;

using Rows = std::unordered_map<std::string_view, const DispatchRow *>;

Rows RowsByName()
{
    Rows rows;
    for (size_t row = 0; tonekit_dispatch_names[row]; ++row)
        rows.emplace(tonekit_dispatch_names[row], &tonekit_dispatch_rows[row]);
    return rows;
}

} // namespace

void TakeExportsOf(const SharedLibrary *library)
{
    exporter = library;
}

const std::set<std::string> &SuffixedNamesTaken()
{
    return suffixedNames;
}

void *SingleAddress(const char *name, void *own)
{
    void *const address = exporter ? exporter->Address(name) : nullptr;
    return address ? address : own;
}

void *BodyAddress(const char *name, char letter)
{
    const char *position = letter ? std::strchr(kTierLetters, letter) : nullptr;
    if (!position)
        return nullptr;
    const std::string suffixed = std::string(name) + "." + letter;
    if (void *address = exporter ? exporter->Address(suffixed) : nullptr) {
        suffixedNames.insert(suffixed);
        return address;
    }
    if (void *address = SingleAddress(name, nullptr))
        return address;
    static const Rows rows = RowsByName();
    const auto row = rows.find(name);
    return row == rows.end() ? nullptr : row->second->bodies[position - kTierLetters];
}

std::vector<const char *> DispatchedNames()
{
    std::vector<const char *> names;
    for (const char *const *name = tonekit_dispatch_names; *name; ++name)
        names.push_back(*name);
    return names;
}

bool ProcessorRuns(char letter)
{
    const char *position = std::strchr(kTierLetters, letter);
    return position &&
           ChooseTier(EnumerateFeatures(AskProcessor())) >= static_cast<unsigned>(position - kTierLetters);
}

std::vector<char> RunnableLetters()
{
    std::vector<char> letters;
    for (const char *letter = kTierLetters; *letter; ++letter)
        if (ProcessorRuns(*letter))
            letters.push_back(*letter);
    return letters;
}

} // namespace tonekit
