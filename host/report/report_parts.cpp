// report_parts.cpp: streams, loudness, digests and HDCD as text and JSON.
#include "host/report/report_parts.h"

#include "host/audio/time_text.h"
#include "host/report/console.h"

#include <charconv>
#include <cmath>

namespace tonekit::host {

std::string Decimal(double value, int decimals)
{
    char digits[400]; // the longest double in fixed form has 309 before the point
    const auto result =
        std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, decimals);
    return std::string(digits, result.ptr);
}

Json StreamJson(const StreamReport &stream)
{
    const AudioFormat &format = stream.format;
    const bool known = format.rate != 0;
    const bool hasDepth = known && !stream.lossy;
    const bool counted = known && stream.frames != 0;
    return {{"path", stream.path},
            {"type", known ? Json(stream.type) : Json()},
            {"encoding", stream.encoding.empty() ? Json() : Json(stream.encoding)},
            {"lossy", known ? Json(stream.lossy) : Json()},
            {"rate", known ? Json(format.rate) : Json()},
            {"channels", known ? Json(format.channels) : Json()},
            {"format", hasDepth ? Json(NameOf(format.sample)) : Json()},
            {"bits", hasDepth ? Json(BitsOf(format.sample)) : Json()},
            {"float", hasDepth ? Json(IsFloat(format.sample)) : Json()},
            {"frames", counted ? Json(stream.frames) : Json()},
            {"seconds", counted ? Json(stream.Seconds()) : Json()}};
}

Json PartJson(const std::optional<FilePart> &part)
{
    if (!part)
        return nullptr;
    const auto seconds = [](uint64_t position) { return static_cast<double>(position) / 1e7; };
    return {{"start", seconds(part->start)}, {"end", part->end ? Json(seconds(*part->end)) : Json()}};
}

Json LevelJson(const std::optional<LevelReport> &level)
{
    if (!level)
        return nullptr;
    return {{"gain", level->gain},
            {"wanted", level->wanted},
            {"peakLimited", level->peakLimited},
            {"loudness", level->loudness ? Json(*level->loudness) : Json()},
            {"tooLoud", level->tooLoud}};
}

Json LimiterJson(const std::optional<LimiterReport> &limiter)
{
    if (!limiter)
        return nullptr;
    // A millionth of a decibel: the last bits of a logarithm are those of the system's C library.
    const double gain = std::round(limiter->gain * 1e6) / 1e6;
    return {{"gain", gain}, {"start", limiter->start}, {"seconds", limiter->seconds}};
}

Json EncoderJson(const EncoderSettings &settings)
{
    if (!settings.Any())
        return nullptr;
    return {{"bitrate", settings.bitRate ? Json(*settings.bitRate) : Json()},
            {"vbr", settings.vbrQuality ? Json(*settings.vbrQuality) : Json()},
            {"compression", settings.compression ? Json(*settings.compression) : Json()}};
}

Json LoudnessJson(const std::optional<Loudness> &loudness)
{
    if (!loudness)
        return nullptr;
    return {{"gain", loudness->gain ? Json(*loudness->gain) : Json()},
            {"peak", loudness->peak ? Json(*loudness->peak) : Json()},
            {"truePeak", loudness->truePeak}};
}

Json DigestJson(const std::optional<Digest> &digest)
{
    if (!digest)
        return nullptr;
    return {{"algorithm", NameOf(digest->kind)}, {"digest", digest->hex}};
}

Json HdcdJson(const std::optional<HdcdFinding> &finding)
{
    if (!finding)
        return nullptr;
    return {{"detected", *finding != HdcdFinding::None}, {"effective", *finding == HdcdFinding::Effective}};
}

Json ErrorJson(const std::string &error)
{
    return error.empty() ? Json() : Json(error);
}

std::string FormatText(const StreamReport &stream)
{
    if (!stream.lossy)
        return NameOf(stream.format);
    return std::to_string(stream.format.rate) + " Hz, " + NameOfChannels(stream.format.channels);
}

std::string LoudnessText(const Loudness &loudness)
{
    const std::string unknown =
        loudness.peak ? "unknown (too quiet or too short)" : "unknown (louder than 600 dB)";
    const std::string gain = loudness.gain ? Decimal(*loudness.gain, 2) + " dB" : unknown;
    const std::string peak = loudness.peak ? Decimal(*loudness.peak, 6) : "unknown";
    return gain + (loudness.truePeak ? ", true peak " : ", peak ") + peak;
}

std::string PartText(const FilePart &part)
{
    return "from " + TimeText(part.start) + (part.end ? " to " + TimeText(*part.end) : " on");
}

std::string LevelText(const LevelReport &level)
{
    const std::string sign = level.gain > 0 ? "+" : "";
    const std::string text = "gain " + sign + Decimal(level.gain, 2) + " dB";
    if (!level.peakLimited)
        return text;
    const std::string less =
        level.wanted == 0 ? "" : Decimal(level.wanted - level.gain, 2) + " dB less than wanted ";
    return text + " (" + less + "to keep the peak below full scale)";
}

std::string LimiterText(const LimiterReport &limiter)
{
    return "turned down by up to " + Decimal(-limiter.gain, 2) + " dB by the limiter from " +
           ClockTime(limiter.start) + " on";
}

std::string HdcdText(HdcdFinding finding)
{
    switch (finding) {
    case HdcdFinding::None:
        return "no";
    case HdcdFinding::NoEffect:
        return "yes (no effect)";
    case HdcdFinding::Effective:
        return "yes";
    }
    return "";
}

} // namespace tonekit::host
