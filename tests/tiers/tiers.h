// tiers.h: cases that put one dispatched function, or a few that belong together, through random and nasty
// inputs.
//
// The tool runs a case once with the bodies of the baseline and once with those of every other tier, from the
// same seed, and compares all that the case recorded, byte for byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

namespace tonekit::tiers {

// The bodies of the tier under test.
class Bodies {
public:
    Bodies(char letter, bool ofLibrary) : letter_(letter), ofLibrary_(ofLibrary) {}
    char Letter() const { return letter_; }
    // Whether the run is compared with that of a finished library, whose inner state can't be set.
    bool OfLibrary() const { return ofLibrary_; }
    template <class Function>
    Function *Get(const char *name) const
    {
        return Body<Function>(name, letter_);
    }
    // How many of a case's rounds to make: an eighth with --short, for an emulated processor.
    int Rounds(int whole) const { return isShort ? (whole + 7) / 8 : whole; }
    static inline bool isShort = false;

private:
    char letter_;
    bool ofLibrary_;
};

// What a case has observed.
class Record {
public:
    void Add(const void *bytes, std::size_t count)
    {
        const auto *begin = static_cast<const std::uint8_t *>(bytes);
        bytes_.insert(bytes_.end(), begin, begin + count);
    }
    template <class Value>
    void AddValue(const Value &value)
    {
        Add(&value, sizeof value);
    }
    // Adds a number of a type whose size differs between systems.
    void AddNumber(std::int64_t number) { AddValue(number); }
    // Adds the buffer's bytes and fails the case if a guard zone around them has changed.
    void Guards(const GuardedBuffer &buffer)
    {
        Add(buffer.data(), buffer.size());
        intact_ = intact_ && buffer.Intact();
    }
    const std::vector<std::uint8_t> &Bytes() const { return bytes_; }
    bool Intact() const { return intact_; }

private:
    std::vector<std::uint8_t> bytes_;
    bool intact_ = true;
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
