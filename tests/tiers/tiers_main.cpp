// tiers_main.cpp: holds every body of every dispatched function against the baseline, and times them.
#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/measured_rows.h"
#include "tests/support/shared_library.h"
#include "tests/support/turns.h"
#include "tests/tiers/tiers.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <string>

namespace tonekit::tiers {

namespace {

struct Case {
    const char *label;
    std::string family;
    ExerciseFunction exercise;
    BenchFunction bench;
    std::vector<const char *> names;
};

std::vector<Case> &Cases()
{
    static std::vector<Case> cases;
    return cases;
}

// Opens a library that is never closed.
const SharedLibrary &OpenForGood(const std::string &path)
{
    static const SharedLibrary *const library = new SharedLibrary(path);
    return *library;
}

struct Options {
    bool list = false;
    bool selected = false;
    bool bench = false;
    bool digests = false;
    std::string tiers = kTierLetters;
    const char *function = nullptr;
    const SharedLibrary *library = nullptr;
    uint64_t seed = 1;
    std::string json;
};

bool Covers(const Case &one, const char *name)
{
    return std::any_of(one.names.begin(), one.names.end(),
                       [name](const char *covered) { return std::strcmp(covered, name) == 0; });
}

// Runs a case with the bodies of a letter; the record keeps the arguments of the call of that number.
Record Run(const Case &one, char letter, const Options &options, size_t described = 0)
{
    Record record(described);
    Random random(options.seed);
    one.exercise(Bodies(letter, options.library != nullptr, &record), random, record);
    return record;
}

// The same with what the finished library exports, if one is given.
Record RunTested(const Case &one, char letter, const Options &options, size_t described = 0)
{
    TakeExportsOf(options.library);
    Record record = Run(one, letter, options, described);
    TakeExportsOf(nullptr);
    return record;
}

// The letters whose body of some function of the case differs from the bodies of all lower letters.
bool HasOwnBody(const Case &one, char letter)
{
    for (const char *name : one.names) {
        const char *lower = std::strchr(kTierLetters, letter) - 1;
        if (lower < kTierLetters || BodyAddress(name, letter) != BodyAddress(name, *lower))
            return true;
    }
    return false;
}

struct Counts {
    int passed = 0;
    int failed = 0;
    int skipped = 0;
};

// Prints what is wrong with a run, and the call that it comes from, which a second run describes.
void PrintFailure(const Case &one, char letter, const Options &options, const std::string &what, size_t call)
{
    const std::string where = RunTested(one, letter, options, call).DescribeCall(call);
    std::printf("FAILED %s.%c: %s, %s\n", one.label, letter, what.c_str(), where.c_str());
}

bool CompareLetter(const Case &one, char letter, const Options &options, const Record &baseline)
{
    if (baseline.Bytes().empty()) {
        std::printf("FAILED %s.%c: recorded nothing\n", one.label, letter);
        return false;
    }
    const Record record = letter == 'A' && !options.library ? baseline : RunTested(one, letter, options);
    const size_t byte = FirstDifference(baseline, record);
    const bool differs = byte != baseline.Bytes().size() || byte != record.Bytes().size();
    if (!record.Intact())
        PrintFailure(one, letter, options, "a write outside a buffer", record.TearingCall());
    if (differs)
        PrintFailure(one, letter, options,
                     "differs from .A at byte " + std::to_string(byte) + " of " +
                         std::to_string(baseline.Bytes().size()),
                     record.CallBefore(byte));
    return record.Intact() && !differs;
}

void Compare(const Case &one, const Options &options, Counts &counts)
{
    const Record baseline = Run(one, 'A', options);
    for (const char letter : options.tiers) {
        if (ProcessorRuns(letter)) {
            ++(CompareLetter(one, letter, options, baseline) ? counts.passed : counts.failed);
        } else {
            std::printf("skipped %s.%c: this processor lacks its features\n", one.label, letter);
            ++counts.skipped;
        }
    }
}

// FNV-1a of all that a case records with the bodies of each tier, after its family: the same from every build
// on every system.
void PrintDigests(const Case &one, const Options &options)
{
    for (const char letter : options.tiers) {
        if (!ProcessorRuns(letter))
            continue;
        const Record record = Run(one, letter, options);
        uint64_t digest = 0xCBF29CE484222325;
        for (const uint8_t byte : record.Bytes())
            digest = (digest ^ byte) * 0x100000001B3;
        std::printf("%s %c %s %016" PRIx64 "\n", one.family.c_str(), letter, one.label, digest);
    }
}

// Processor time: what other programs do meanwhile doesn't count.
double Seconds(const Case &one, char letter, unsigned times)
{
    const Bodies bodies(letter, false, nullptr);
    const std::clock_t begin = std::clock();
    for (unsigned i = 0; i < times; ++i)
        one.bench(bodies);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

// The median of the ratios of neighbouring turns: how much faster the second is.
double Gain(const std::vector<double> &first, const std::vector<double> &second)
{
    std::vector<double> ratios;
    for (size_t turn = 0; turn < first.size(); ++turn)
        ratios.push_back(first[turn] / second[turn]);
    return Median(ratios);
}

// Medians of repetitions that take turns between the bodies. Returns how many bodies are slower than the next
// lower one by more than 3 %: such a letter had better share that body.
int Bench(const Case &one, const Options &options)
{
    constexpr int kRepetitions = 21;
    constexpr double kLeastGain = 0.97;
    std::vector<char> letters;
    for (const char letter : options.tiers)
        if (ProcessorRuns(letter) && HasOwnBody(one, letter))
            letters.push_back(letter);
    std::vector<unsigned> timesPerTurn;
    for (const char letter : letters)
        timesPerTurn.push_back(
            TimesPerTurn([&one, letter](unsigned times) { return Seconds(one, letter, times); }));
    std::vector<std::vector<double>> times(letters.size());
    for (int repetition = 0; repetition < kRepetitions; ++repetition)
        for (size_t i = 0; i < letters.size(); ++i)
            times[i].push_back(Seconds(one, letters[i], timesPerTurn[i]) / timesPerTurn[i]);
    int slower = 0;
    for (size_t i = 0; i < letters.size(); ++i) {
        const double ratio = Gain(times[0], times[i]);
        std::printf("%-40s %c %10.3f us  %5.2f of %c", one.label, letters[i], Median(times[i]) * 1e6, ratio,
                    letters[0]);
        if (i > 0 && Gain(times[i - 1], times[i]) < kLeastGain) {
            std::printf("  slower than %c", letters[i - 1]);
            ++slower;
        }
        std::printf("\n");
        AppendRow(options.json, {"bodies", std::string(one.label) + " ." + letters[i], Median(times[i]),
                                 Median(times[0]), ratio, 0});
    }
    return slower;
}

int List()
{
    for (const char *name : DispatchedNames()) {
        std::printf("%-50s", name);
        char body = 'A';
        for (const char *letter = kTierLetters; *letter; ++letter) {
            if (letter == kTierLetters || BodyAddress(name, *letter) != BodyAddress(name, letter[-1]))
                body = *letter;
            std::printf(" %c:%c", *letter, body);
        }
        std::printf("\n");
    }
    return 0;
}

// Prints the letter of the tier that was selected at load, after a look at the slots: each must hold that
// tier's body.
int PrintSelected()
{
    const unsigned tier = ChooseTier(FeatureWord(AskProcessor()));
    for (size_t row = 0; row < DispatchedNames().size(); ++row) {
        if (*tonekit_dispatch_rows[row].slot != tonekit_dispatch_rows[row].bodies[tier]) {
            std::printf("FAILED: %s runs another tier's body than %c\n", DispatchedNames()[row],
                        kTierLetters[tier]);
            return 1;
        }
    }
    std::printf("%c\n", kTierLetters[tier]);
    return 0;
}

// Whether a function is exported with its letters.
bool HasSuffixedExports(const SharedLibrary &library, const char *name)
{
    return library.Address(std::string(name) + ".A") != nullptr;
}

// Of a finished library, only cases that call what it exports show anything.
bool CallsExports(const Case &one, const SharedLibrary &library)
{
    return std::any_of(one.names.begin(), one.names.end(),
                       [&library](const char *name) { return HasSuffixedExports(library, name); });
}

// A row that no case covers is a failure: nobody would notice a wrong body of it.
int CountUncovered()
{
    int uncovered = 0;
    for (const char *name : DispatchedNames()) {
        const bool covered = std::any_of(Cases().begin(), Cases().end(), [name](const Case &one) {
            return one.exercise && Covers(one, name);
        });
        if (!covered) {
            std::printf("FAILED %s: no case covers it\n", name);
            ++uncovered;
        }
    }
    return uncovered;
}

// Each suffixed name that this processor can run has to have been looked up, and so called, by some case.
int CountUncalled(const SharedLibrary &library)
{
    int uncalled = 0;
    for (const char *name : DispatchedNames())
        for (const char letter : RunnableLetters()) {
            const std::string suffixed = std::string(name) + "." + letter;
            if (library.Address(suffixed) && !SuffixedNamesTaken().count(suffixed)) {
                std::printf("FAILED %s: no case calls it\n", suffixed.c_str());
                ++uncalled;
            }
        }
    return uncalled;
}

int Usage()
{
    std::fprintf(stderr,
                 "usage: tiers [--list] [--selected] [--bench] [--digests] [--short] [--tier LETTERS] "
                 "[--function NAME] [--seed N] [--library FILE] [--json FILE]\n");
    return 2;
}

bool Parse(int argc, char **argv, Options &options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == "--list")
            options.list = true;
        else if (word == "--selected")
            options.selected = true;
        else if (word == "--bench")
            options.bench = true;
        else if (word == "--short")
            Bodies::isShort = true;
        else if (word == "--digests")
            options.digests = true;
        else if (word == "--tier" && hasValue)
            options.tiers = argv[++i];
        else if (word == "--function" && hasValue)
            options.function = argv[++i];
        else if (word == "--library" && hasValue)
            options.library = &OpenForGood(argv[++i]);
        else if (word == "--json" && hasValue)
            options.json = argv[++i];
        else if (word == "--seed" && hasValue)
            options.seed = std::strtoull(argv[++i], nullptr, 0);
        else
            return false;
    }
    return options.tiers.find_first_not_of(kTierLetters) == std::string::npos;
}

int Digests(const Options &options)
{
    for (const Case &one : Cases())
        if (one.exercise && (!options.function || Covers(one, options.function)))
            PrintDigests(one, options);
    return 0;
}

int BenchAll(const Options &options)
{
    std::printf("%s\n", ProcessorName().c_str());
    int slower = 0;
    for (const Case &one : Cases())
        if (one.bench && (!options.function || Covers(one, options.function)))
            slower += Bench(one, options);
    std::printf("%d bodies are slower than the next lower one\n", slower);
    return slower == 0 ? 0 : 1;
}

int Main(int argc, char **argv)
{
    Options options;
    if (!Parse(argc, argv, options))
        return Usage();
    if (options.list)
        return List();
    if (options.selected)
        return PrintSelected();
    if (options.digests)
        return Digests(options);
    if (options.bench) {
        try {
            return BenchAll(options);
        } catch (const std::exception &error) {
            std::fprintf(stderr, "tiers: %s\n", error.what());
            return 2;
        }
    }
    std::printf("seed %llu\n", static_cast<unsigned long long>(options.seed));
    Counts counts;
    if (!options.function)
        counts.failed += CountUncovered();
    for (const Case &one : Cases()) {
        if (options.function && !Covers(one, options.function))
            continue;
        if (options.library && !CallsExports(one, *options.library))
            continue;
        if (one.exercise)
            Compare(one, options, counts);
    }
    if (options.library && !options.function && options.tiers == kTierLetters)
        counts.failed += CountUncalled(*options.library);
    std::printf("%d passed, %d failed, %d skipped\n", counts.passed, counts.failed, counts.skipped);
    return counts.failed == 0 ? 0 : 1;
}

} // namespace

bool RegisterCase(const char *label, const char *file, ExerciseFunction exercise,
                  std::initializer_list<const char *> names)
{
    const std::string name = std::filesystem::path(file).filename().string();
    Cases().push_back({label, name.substr(0, name.find('_')), exercise, nullptr, names});
    return true;
}

bool RegisterBench(const char *label, BenchFunction bench, std::initializer_list<const char *> names)
{
    Cases().push_back({label, {}, nullptr, bench, names});
    return true;
}

} // namespace tonekit::tiers

int main(int argc, char **argv)
{
    return tonekit::tiers::Main(argc, argv);
}
