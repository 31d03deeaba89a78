// bodies.cpp: finds bodies by their exported names.
#include "host/processing/bodies.h"

#include "frame/platform.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <atomic>
#include <map>
#include <mutex>

namespace tonekit::host {

namespace {

// The function NAME.LETTER of the library that `plain` comes from.
template <class Function>
Function *Body(Function *plain, const char *name, char letter)
{
    if (letter == 0)
        return plain;
    const std::string exported = std::string(name) + "." + letter;
    void *const body = LibraryFunction(reinterpret_cast<void *>(plain), exported);
    if (!body)
        throw Failure("the library of tonekit has no function " + exported);
    return reinterpret_cast<Function *>(body);
}

Bodies BodiesOf(char letter)
{
    return {
        Body(SRC4_Init, "SRC4_Init", letter),         Body(SRC4_Read, "SRC4_Read", letter),
        Body(hdcd_scan16, "hdcd_scan16", letter),     Body(sha256_init, "sha256_init", letter),
        Body(sha256_update, "sha256_update", letter), Body(sha256_final, "sha256_final", letter),
        Body(sha512_init, "sha512_init", letter),     Body(sha512_update, "sha512_update", letter),
        Body(sha512_final, "sha512_final", letter),
    };
}

// Tables stay: another thread may be calling through the one that was in use.
const Bodies *TableOf(char letter)
{
    static std::mutex mutex;
    static std::map<char, Bodies> tables;
    const std::lock_guard<std::mutex> lock(mutex);
    auto found = tables.find(letter);
    if (found == tables.end())
        found = tables.emplace(letter, BodiesOf(letter)).first;
    return &found->second;
}

std::atomic<const Bodies *> inUse{nullptr};

} // namespace

std::string LettersOfProcessor()
{
    return std::string(kTierLetters, ChooseTier(EnumerateFeatures(AskProcessor())) + 1);
}

char BodyLetter(const std::string &word, const std::string &letters)
{
    if (word == "auto")
        return letters.back();
    if (word == "plain")
        return 0;
    if (word.size() != 1 || std::string(kTierLetters).find(word) == std::string::npos)
        throw UsageError("must be auto, plain, or one of A, L, M, N, P, R, S and V");
    if (letters.find(word) == std::string::npos)
        throw UsageError(std::string("can be no more than ") + letters.back() + " on this processor");
    return word[0];
}

void UseBodies(char letter)
{
    inUse = TableOf(letter);
}

const Bodies &BodiesInUse()
{
    const Bodies *bodies = inUse;
    if (!bodies) {
        const Bodies *const highest = TableOf(LettersOfProcessor().back());
        // Unless another thread has chosen meanwhile.
        if (inUse.compare_exchange_strong(bodies, highest))
            bodies = highest;
    }
    return *bodies;
}

} // namespace tonekit::host
