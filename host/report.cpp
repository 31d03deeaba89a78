// report.cpp: what was done, for people and for programs.
#include "host/report.h"

#include "host/console.h"
#include "host/report_parts.h"

namespace tonekit::host {

namespace {

void AddConversion(JsonWriter &json, const char *name, const ConversionReport &report)
{
    json.BeginObject(name);
    json.Truth("ok", report.error.empty());
    if (!report.error.empty())
        json.Text("error", report.error);
    if (report.error.empty()) {
        AddStream(json, "input", report.input);
        AddStream(json, "output", report.output);
        if (report.resampled)
            json.Text("quality", NameOf(report.quality));
        json.Truth("copied", report.copied);
        AddEncoder(json, report.encoder);
        json.Truth("dither", report.dithered);
        if (report.hdcd)
            AddHdcd(json, *report.hdcd);
        json.Truth("hdcdDecoded", report.hdcdDecoded);
        if (report.loudness)
            AddLoudness(json, *report.loudness);
        if (report.digest)
            AddDigest(json, *report.digest);
        json.Whole("frames", report.output.frames);
        json.Real("seconds", report.seconds, 6);
        json.Real("speed", report.Speed(), 2);
    } else {
        json.BeginObject("input");
        json.Text("path", report.input.path);
        json.EndObject();
    }
    AddWarnings(json, report.warnings);
    json.EndObject();
}

std::string StreamText(const StreamReport &stream)
{
    return stream.path + " (" + stream.type + ", " + FormatText(stream) + ")";
}

} // namespace

std::string ReportText(const ConversionReport &report)
{
    std::string text = StreamText(report.input) + " -> " + StreamText(report.output);
    if (report.copied)
        text += ", audio unchanged";
    if (report.encoder.Any())
        text += ", " + NameOf(report.encoder);
    if (report.dithered)
        text += ", dithered";
    if (report.hdcdDecoded)
        text += ", HDCD decoded";
    const double speed = report.Speed();
    return text + "\n  " + ClockTime(report.output.Seconds()) + " of audio in " + Decimal(report.seconds, 2) +
           " s, " + Decimal(speed, speed < 10 ? 1 : 0) + " times real time";
}

std::string ReportJson(const ConversionReport &report)
{
    JsonWriter json;
    AddConversion(json, nullptr, report);
    return json.text();
}

std::string ReportJson(const std::vector<ConversionReport> &reports, double seconds)
{
    uint64_t frames = 0;
    double audioSeconds = 0;
    bool ok = true;
    for (const ConversionReport &report : reports) {
        frames += report.output.frames;
        audioSeconds += report.error.empty() ? report.input.Seconds() : 0;
        ok = ok && report.error.empty();
    }
    JsonWriter json;
    json.BeginObject();
    json.Truth("ok", ok);
    json.BeginArray("files");
    for (const ConversionReport &report : reports)
        AddConversion(json, nullptr, report);
    json.EndArray();
    json.Whole("frames", frames);
    json.Real("seconds", seconds, 6);
    json.Real("speed", seconds > 0 ? audioSeconds / seconds : 0, 2);
    json.EndObject();
    return json.text();
}

} // namespace tonekit::host
