// option_values.cpp: numbers, names and pairs on the command line.
#include "host/command_line/option_values.h"

#include "host/audio/time_text.h"
#include "host/name_template.h"
#include "host/processing/level.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tonekit::host {

namespace {

constexpr uint32_t kLowestRate = 1000;
constexpr uint32_t kHighestRate = 1'536'000;
// From the lowest of all coders to the highest: eight channels of Opus.
constexpr uint32_t kLowestBitRate = 1000;
constexpr uint32_t kHighestBitRate = 2'048'000;

bool EqualKeys(const std::string &a, const std::string &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// A number that isn't negative, or thousands with a k after it; nothing if the text is something else.
std::optional<double> NumberWithKilo(const std::string &text)
{
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const std::string_view rest(stop, static_cast<size_t>(end - stop));
    if (error != std::errc() || (!rest.empty() && rest != "k" && rest != "K"))
        return std::nullopt;
    return rest.empty() ? number : std::round(number * 1e6) / 1e3;
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
    const std::optional<double> hertz = NumberWithKilo(text);
    if (!hertz || *hertz != std::floor(*hertz) || *hertz < kLowestRate || *hertz > kHighestRate)
        throw UsageError("must be a rate from " + std::to_string(kLowestRate) + " to " +
                         std::to_string(kHighestRate) + " Hz, such as 48000 or 44.1k");
    return static_cast<uint32_t>(*hertz);
}

uint32_t BitRate(const std::string &text)
{
    const std::optional<double> bits = NumberWithKilo(text);
    if (!bits || *bits != std::floor(*bits) || *bits < kLowestBitRate || *bits > kHighestBitRate)
        throw UsageError("must be a bit rate from 1k to 2048k, such as 192k or 192000");
    return static_cast<uint32_t>(*bits);
}

double VbrQuality(const std::string &text)
{
    double quality = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, quality, std::chars_format::fixed);
    const double tenths = quality * 10;
    if (error != std::errc() || stop != end || !(tenths >= 0 && tenths <= 100) ||
        std::abs(tenths - std::round(tenths)) > 1e-9)
        throw UsageError("must be a quality from 0 to 10, such as 8 or 7.5");
    return std::round(tenths) / 10;
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
    if (const Container *container = ContainerByType(extension))
        return container->kind;
    std::string names;
    for (const Container &container : Containers())
        names += (names.empty() ? std::string() : ", ") + TypeNameOf(container);
    throw UsageError("must be one of: " + names);
}

void SetTag(Options &options, const std::string &text)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw UsageError("must have the form KEY=VALUE");
    if (!IsUtf8(text))
        throw UsageError("must be well-formed UTF-8");
    const std::string key = text.substr(0, equals);
    std::erase_if(options.set, [&](const auto &earlier) { return EqualKeys(earlier.first, key); });
    options.set.emplace_back(key, text.substr(equals + 1));
}

std::string Template(const std::string &text)
{
    NameTemplate checked(text);
    return text;
}

bool ReplayGainOfAlbums(const std::string &text)
{
    constexpr Choice<bool> choices[] = {{"track", false}, {"album", true}};
    return !text.empty() && Choose(text, choices);
}

double Decibels(const std::string &text)
{
    constexpr double kMost = 100;
    double decibels = 0;
    const char *const start = text.data() + (text.starts_with("+") ? 1 : 0);
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(start, end, decibels, std::chars_format::fixed);
    const std::string_view rest(stop, static_cast<size_t>(end - stop));
    if (error != std::errc() || text.starts_with("+-") || (!rest.empty() && rest != "dB" && rest != " dB") ||
        !(std::abs(decibels) <= kMost))
        throw UsageError("must be decibels from -100 to 100, such as -3.5");
    return decibels;
}

double LoudnessTarget(const std::string &text)
{
    constexpr double kSoftest = -70; // the gate of the measurement
    if (text == "replaygain")
        return kReplayGainReference;
    double loudness = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, loudness, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !(loudness >= kSoftest && loudness <= 0))
        throw UsageError("must be a loudness from -70 to 0 LUFS, such as -16, or replaygain (-18)");
    return loudness;
}

uint64_t Position(const std::string &text)
{
    constexpr uint64_t kLatest = 1000ull * 3600 * 10'000'000; // beyond it products with rates would wrap
    uint64_t position = 0;
    if (!ParseTime(text, position) || position > kLatest)
        throw UsageError("must be a time such as 83.5, 1:23.5 or 0:01:23.500");
    return position;
}

void SetRawOutput(Options &options, const std::string &text)
{
    const RawFormat raw = RawFormatInPart(text);
    options.type = raw.bigEndian || raw.signedBytes ? ContainerKind::RawBig : ContainerKind::Raw;
    options.format = raw.audio.sample;
    if (raw.audio.rate != 0)
        options.rate = raw.audio.rate;
    if (raw.audio.channels != 0)
        options.channels = Channels(std::to_string(raw.audio.channels));
}

std::string FileName(const std::string &text)
{
    if (text.empty())
        throw UsageError("must name a file");
    return text;
}

std::string PictureName(const std::string &text)
{
    constexpr std::string_view kEnd = ".png";
    const auto isSame = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
    if (text.size() <= kEnd.size() ||
        !std::equal(text.end() - static_cast<ptrdiff_t>(kEnd.size()), text.end(), kEnd.begin(), isSame))
        throw UsageError("must name a file that ends in .png");
    return text;
}

} // namespace tonekit::host
