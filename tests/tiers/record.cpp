// record.cpp: finds the call that a recorded byte comes from.
#include "tests/tiers/record.h"

#include <algorithm>

namespace tonekit::tiers {

size_t Record::CallBefore(size_t byte) const
{
    const auto after = std::partition_point(calls_.begin(), calls_.end(),
                                            [byte](const Call &call) { return call.place <= byte; });
    return static_cast<size_t>(after - calls_.begin());
}

std::string Record::DescribeCall(size_t call) const
{
    if (call == 0)
        return "before any call";
    const Call &last = calls_[call - 1];
    std::string text = "after call " + std::to_string(call) + ", " + last.name;
    text += "(" + (call == described_ ? arguments_ : "...") + ")";
    std::vector<std::string> others;
    for (size_t other = call - 1; other > 0 && calls_[other - 1].place == last.place; --other) {
        const std::string &name = calls_[other - 1].name;
        if (name != last.name && std::find(others.begin(), others.end(), name) == others.end())
            others.push_back(name);
    }
    for (size_t i = 0; i < others.size(); ++i)
        text += (i == 0 ? ", or earlier of " : ", ") + others[i];
    return text;
}

size_t FirstDifference(const Record &expected, const Record &actual)
{
    const auto &first = expected.Bytes();
    const auto &second = actual.Bytes();
    const auto place = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
    return static_cast<size_t>(place.first - first.begin());
}

} // namespace tonekit::tiers
