// tiers.h: cases that put one dispatched function, or a few that belong together, through random and nasty
// inputs.
//
// The tool runs a case once with the bodies of the baseline and once with those of every other tier, from the
// same seed, and compares all that the case recorded, byte for byte.
#pragma once

#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"
#include "tests/tiers/record.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::tiers {

// A body whose calls are noted in the record of the run, if there is one.
template <class Function>
class Traced;

template <class Result, class... Arguments>
class Traced<Result(Arguments...)> {
public:
    Traced(std::string name, Result (*body)(Arguments...), Record *record)
        : name_(std::move(name)), body_(body), record_(record)
    {}
    Result operator()(Arguments... arguments) const
    {
        if (record_)
            record_->AddCall(name_, arguments...);
        return body_(arguments...);
    }

private:
    std::string name_;
    Result (*body_)(Arguments...);
    Record *record_;
};

// The bodies of the tier under test.
class Bodies {
public:
    Bodies(char letter, bool ofLibrary, Record *record)
        : letter_(letter), ofLibrary_(ofLibrary), record_(record)
    {}
    char Letter() const { return letter_; }
    // Whether the run is compared with that of a finished library, whose inner state can't be set.
    bool OfLibrary() const { return ofLibrary_; }
    template <class Function>
    Traced<Function> Get(const std::string &name) const
    {
        return Named(name, Body<Function>(name.c_str(), letter_));
    }
    // A body that has been found already.
    template <class Function>
    Traced<Function> Named(const std::string &name, Function *body) const
    {
        return {name, body, record_};
    }
    // The address of a body, which is about to be called.
    void *Address(const char *name) const
    {
        if (record_)
            record_->AddLookup(name);
        return BodyAddress(name, letter_);
    }
    // How many of a case's rounds to make: an eighth with --short, for an emulated processor.
    int Rounds(int whole) const { return isShort ? (whole + 7) / 8 : whole; }
    static inline bool isShort = false;

private:
    char letter_;
    bool ofLibrary_;
    Record *record_;
};

using ExerciseFunction = void (*)(const Bodies &, Random &, Record &);
using BenchFunction = void (*)(const Bodies &);

bool RegisterCase(const char *label, const char *file, ExerciseFunction exercise,
                  std::initializer_list<const char *> names);
bool RegisterBench(const char *label, BenchFunction bench, std::initializer_list<const char *> names);

} // namespace tonekit::tiers

// Registers a case; the names are the dispatched functions that it covers. The file's name begins with the
// family's.
#define TONEKIT_TIER_CASE(exercise, ...)                                                                     \
    static const bool exercise##Registered =                                                                 \
        ::tonekit::tiers::RegisterCase(#exercise, __FILE__, exercise, {__VA_ARGS__})

// Registers one unit of work of a function for --bench.
#define TONEKIT_TIER_BENCH(bench, ...)                                                                       \
    static const bool bench##Registered = ::tonekit::tiers::RegisterBench(#bench, bench, {__VA_ARGS__})
