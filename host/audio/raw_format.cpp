// raw_format.cpp: reads the description of headerless samples.
#include "host/audio/raw_format.h"

#include "host/command_line/option_values.h"
#include "host/system/failure.h"

#include <string_view>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint32_t kMostChannels = 8;

// The form of a sample: u8, s8, s16le, s16be, ... f64be; without le or be it is little-endian.
void SetSample(RawFormat &format, const std::string &text)
{
    constexpr Choice<SampleFormat> forms[] = {{"u8", SampleFormat::Int8},    {"s8", SampleFormat::Int8},
                                              {"s16", SampleFormat::Int16},  {"s24", SampleFormat::Int24},
                                              {"s32", SampleFormat::Int32},  {"f32", SampleFormat::Float32},
                                              {"f64", SampleFormat::Float64}};
    const bool single = text == "u8" || text == "s8";
    const bool named = !single && (text.ends_with("le") || text.ends_with("be"));
    const std::string form = named ? text.substr(0, text.size() - 2) : text;
    for (const Choice<SampleFormat> &choice : forms) {
        if (form != choice.name || (named && form.ends_with('8')))
            continue;
        format.audio.sample = choice.value;
        format.bigEndian = text.ends_with("be");
        format.signedBytes = text == "s8";
        return;
    }
    throw UsageError("must begin with u8, s8, s16, s24, s32, f32 or f64, with le or be after it");
}

std::vector<std::string> PartsOf(const std::string &text)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ',')
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

// Reads a value that is one of several.
template <class Read>
uint32_t Part(const std::string &name, const Read &read)
{
    constexpr std::string_view kOfAll = "must be ";
    try {
        return read();
    } catch (const UsageError &error) {
        const std::string_view what(error.what());
        throw UsageError("must have, as " + name + ", " +
                         std::string(what.starts_with(kOfAll) ? what.substr(kOfAll.size()) : what));
    }
}

} // namespace

RawFormat RawFormatInPart(const std::string &text)
{
    RawFormat format;
    const std::vector<std::string> parts = PartsOf(text);
    if (parts.size() > 3)
        throw UsageError("must have the form FORMAT,RATE,CHANNELS, such as s16le,44100,2");
    SetSample(format, parts[0]);
    format.audio.rate = parts.size() > 1 ? Part("RATE", [&] { return Rate(parts[1]); }) : 0;
    format.audio.channels =
        parts.size() > 2 ? Part("CHANNELS", [&] { return Number(parts[2], 1, kMostChannels); }) : 0;
    return format;
}

RawFormat RawFormatFrom(const std::string &text)
{
    const RawFormat format = RawFormatInPart(text);
    if (format.audio.channels == 0)
        throw UsageError("must have the form FORMAT,RATE,CHANNELS, such as s16le,44100,2");
    return format;
}

} // namespace tonekit::host
