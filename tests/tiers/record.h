// record.h: what a case calls and observes, in order, and the first difference between two runs of it.
#pragma once

#include "tests/support/guarded_buffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace tonekit::tiers {

// An argument as a report shows it: numbers in full, anything else as a star.
template <class Argument>
std::string DescribeArgument(const Argument &argument)
{
    using Plain = std::decay_t<Argument>;
    if constexpr (std::is_same_v<Plain, bool>)
        return argument ? "true" : "false";
    else if constexpr (std::is_arithmetic_v<Plain>)
        return std::to_string(argument);
    else
        return "*";
}

template <class... Arguments>
std::string DescribeArguments(const Arguments &...arguments)
{
    std::string text;
    ((text += (text.empty() ? "" : ", ") + DescribeArgument(arguments)), ...);
    return text;
}

// What a case has observed, and the calls that came before each observation.
class Record {
public:
    // The arguments are kept of this call alone, counted from 1; 0 is none.
    explicit Record(size_t described = 0) : described_(described) {}

    void Add(const void *bytes, size_t count)
    {
        const auto *begin = static_cast<const uint8_t *>(bytes);
        bytes_.insert(bytes_.end(), begin, begin + count);
    }
    template <class Value>
    void AddValue(const Value &value)
    {
        Add(&value, sizeof value);
    }
    // Adds a number of a type whose size differs between systems.
    void AddNumber(int64_t number) { AddValue(number); }
    // Adds the buffer's bytes and fails the case if a guard zone around them has changed.
    void Guards(const GuardedBuffer &buffer)
    {
        Add(buffer.data(), buffer.size());
        if (intact_ && !buffer.Intact())
            tearing_ = calls_.size();
        intact_ = intact_ && buffer.Intact();
    }

    // Notes a call of a body.
    template <class... Arguments>
    void AddCall(const std::string &name, const Arguments &...arguments)
    {
        calls_.push_back({name, bytes_.size()});
        if (calls_.size() == described_)
            arguments_ = DescribeArguments(arguments...);
    }
    // The same where the arguments can't be seen.
    void AddLookup(const std::string &name)
    {
        calls_.push_back({name, bytes_.size()});
        if (calls_.size() == described_)
            arguments_ = "...";
    }

    const std::vector<uint8_t> &Bytes() const { return bytes_; }
    bool Intact() const { return intact_; }
    // The last call before a guard zone was first seen changed, counted from 1; 0 if there was none.
    size_t TearingCall() const { return tearing_; }

    // The last call before a byte was recorded, counted from 1; 0 if there was none.
    size_t CallBefore(size_t byte) const;
    // That call in words, as far as this record knows it: its number, name and arguments, and the names of
    // other functions called after the last observation before it.
    std::string DescribeCall(size_t call) const;

private:
    struct Call {
        std::string name;
        size_t place; // bytes recorded before it
    };

    std::vector<uint8_t> bytes_;
    std::vector<Call> calls_;
    bool intact_ = true;
    size_t tearing_ = 0;
    size_t described_;
    std::string arguments_;
};

// The first byte in which two records differ; the length of the shorter one if that is how the other begins.
size_t FirstDifference(const Record &expected, const Record &actual);

} // namespace tonekit::tiers
