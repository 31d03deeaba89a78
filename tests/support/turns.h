// turns.h: how often a measured call runs for one turn, and the middle of what the turns gave.
#pragma once

#include <algorithm>
#include <iterator>
#include <vector>

namespace tonekit {

// How often a call must run for a turn to be long compared with the clock and the scheduler, and with how
// long a processor keeps a state in which the same call takes twice its time. secondsOf(times) measures that
// many calls. A measurement now and then has some milliseconds that aren't its own, so the shortest of three
// counts.
template <class SecondsOf>
unsigned TimesPerTurn(const SecondsOf &secondsOf)
{
    constexpr double kTurn = 0.003;
    constexpr double kSure = 0.1;
    constexpr unsigned kMost = 1u << 24;
    for (unsigned times = 1;; times *= 2) {
        double seconds = secondsOf(times);
        for (int again = 0; again < 2 && seconds > kTurn / 16 && seconds < kSure; ++again)
            seconds = std::min(seconds, secondsOf(times));
        if (seconds >= kTurn || times >= kMost)
            return times;
        if (seconds > kTurn / 16)
            return static_cast<unsigned>(times * kTurn / seconds) + 1;
    }
}

// The upper median of some values.
inline double Median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace tonekit
