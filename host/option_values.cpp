// option_values.cpp: numbers, names and pairs on the command line.
#include "host/option_values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr uint32_t kLowestRate = 1000;
constexpr uint32_t kHighestRate = 1'536'000;

bool EqualKeys(const std::string &a, const std::string &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

} // namespace

uint32_t Number(const std::string &text, uint32_t lowest, uint32_t highest)
{
    uint32_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < lowest || number > highest)
        throw UsageError("must be a whole number from " + std::to_string(lowest) + " to " +
                         std::to_string(highest));
    return number;
}

uint32_t Rate(const std::string &text)
{
    double hertz = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, hertz, std::chars_format::fixed);
    const std::string_view rest(stop, static_cast<size_t>(end - stop));
    if (rest == "k" || rest == "K")
        hertz = std::round(hertz * 1e6) / 1e3;
    else if (!rest.empty())
        hertz = 0;
    if (error != std::errc() || hertz != std::floor(hertz) || hertz < kLowestRate || hertz > kHighestRate)
        throw UsageError("must be a rate from " + std::to_string(kLowestRate) + " to " +
                         std::to_string(kHighestRate) + " Hz, such as 48000 or 44.1k");
    return static_cast<uint32_t>(hertz);
}

uint32_t Channels(const std::string &text)
{
    constexpr Choice<uint32_t> choices[] = {{"1", 1}, {"2", 2}, {"4", 4}, {"5", 5},
                                            {"6", 6}, {"7", 7}, {"8", 8}};
    return Choose(text, choices);
}

SampleFormat Bits(const std::string &text)
{
    constexpr Choice<SampleFormat> choices[] = {
        {"8", SampleFormat::Int8},   {"16", SampleFormat::Int16},    {"24", SampleFormat::Int24},
        {"32", SampleFormat::Int32}, {"32f", SampleFormat::Float32}, {"64f", SampleFormat::Float64}};
    return Choose(text, choices);
}

ContainerKind Type(const std::string &text)
{
    const std::string extension = !text.empty() && text[0] == '.' ? text.substr(1) : text;
    if (const Container *container = ContainerByExtension(extension))
        return container->kind;
    std::string names;
    for (const Container &container : Containers())
        names += (names.empty() ? "" : ", ") + std::string(container.extensions[0]);
    throw UsageError("must be one of: " + names);
}

void SetTag(Options &options, const std::string &text)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("must have the form KEY=VALUE");
    const std::string key = text.substr(0, equals);
    std::erase_if(options.set, [&](const auto &earlier) { return EqualKeys(earlier.first, key); });
    options.set.emplace_back(key, text.substr(equals + 1));
}

std::string FileName(const std::string &text)
{
    if (text.empty())
        throw UsageError("must name a file");
    return text;
}

} // namespace tonekit::host
