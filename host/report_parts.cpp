// report_parts.cpp: streams, loudness, digests and HDCD as text and JSON.
#include "host/report_parts.h"

#include <charconv>
#include <limits>

namespace tonekit::host {

std::string Decimal(double value, int decimals)
{
    char digits[400]; // the longest double in fixed form has 309 in front of the point
    const auto result =
        std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, decimals);
    return std::string(digits, result.ptr);
}

void AddStreamMembers(JsonWriter &json, const StreamReport &stream)
{
    json.Text("path", stream.path);
    json.Text("type", stream.type);
    if (!stream.encoding.empty())
        json.Text("encoding", stream.encoding);
    json.Truth("lossy", stream.lossy);
    json.Whole("rate", stream.format.rate);
    json.Whole("channels", stream.format.channels);
    json.Text("format", NameOf(stream.format.sample));
    json.Whole("bits", BitsOf(stream.format.sample));
    json.Truth("float", IsFloat(stream.format.sample));
    if (stream.frames == 0) { // not said, and not counted
        json.Null("frames");
        json.Null("seconds");
        return;
    }
    json.Whole("frames", stream.frames);
    json.Real("seconds", stream.Seconds(), 6);
}

void AddStream(JsonWriter &json, const char *name, const StreamReport &stream)
{
    json.BeginObject(name);
    AddStreamMembers(json, stream);
    json.EndObject();
}

void AddWarnings(JsonWriter &json, const std::vector<std::string> &warnings)
{
    json.BeginArray("warnings");
    for (const std::string &warning : warnings)
        json.Text(nullptr, warning);
    json.EndArray();
}

void AddEncoder(JsonWriter &json, const EncoderSettings &settings)
{
    if (!settings.Any())
        return;
    json.BeginObject("encoder");
    if (settings.bitRate)
        json.Whole("bitrate", *settings.bitRate);
    if (settings.vbrQuality)
        json.Real("vbr", *settings.vbrQuality, 1);
    if (settings.compression)
        json.Whole("compression", *settings.compression);
    json.EndObject();
}

void AddLoudness(JsonWriter &json, const Loudness &loudness)
{
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    json.BeginObject("replaygain");
    json.Real("gain", loudness.gain.value_or(kNone), 2);
    json.Real("peak", loudness.peak.value_or(kNone), 6);
    json.Truth("truePeak", loudness.truePeak);
    json.EndObject();
}

void AddDigest(JsonWriter &json, const Digest &digest)
{
    json.BeginObject("hash");
    json.Text("algorithm", NameOf(digest.kind));
    json.Text("digest", digest.hex);
    json.EndObject();
}

void AddHdcd(JsonWriter &json, HdcdFinding finding)
{
    json.BeginObject("hdcd");
    json.Truth("detected", finding != HdcdFinding::None);
    json.Truth("effective", finding == HdcdFinding::Effective);
    json.EndObject();
}

std::string FormatText(const StreamReport &stream)
{
    if (!stream.lossy)
        return NameOf(stream.format);
    return std::to_string(stream.format.rate) + " Hz, " + NameOfChannels(stream.format.channels);
}

std::string LoudnessText(const Loudness &loudness)
{
    const std::string gain =
        loudness.gain ? Decimal(*loudness.gain, 2) + " dB" : "unknown (too quiet or too short)";
    const std::string peak = loudness.peak ? Decimal(*loudness.peak, 6) : "unknown";
    return gain + (loudness.truePeak ? ", true peak " : ", peak ") + peak;
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
