// report.cpp: what was done, for people and for programs.
#include "host/report/report.h"

#include "host/report/console.h"
#include "host/report/report_parts.h"
#include "host/system/terminal_text.h"

#include <utility>

namespace tonekit::host {

namespace {

Json ConversionJson(const ConversionReport &report)
{
    const bool done = report.error.empty();
    const auto ifDone = [&](const Json &value) { return done ? value : Json(); };
    return {{"ok", done},
            {"error", ErrorJson(report.error)},
            {"input", StreamJson(report.input)},
            {"output", report.IsPictureAlone() ? Json() : StreamJson(report.output)},
            {"part", PartJson(report.part)},
            {"joined", report.joined.empty() ? Json() : Json(report.joined)},
            {"quality", report.resampled ? Json(NameOf(report.quality)) : Json()},
            {"dryRun", report.dryRun},
            {"skipped", report.skipped.empty() ? Json() : Json(report.skipped)},
            {"copied", ifDone(report.copied || report.plainCopy)},
            {"encoder", EncoderJson(report.encoder)},
            {"dither", ifDone(report.dithered)},
            {"level", LevelJson(report.level)},
            {"limiter", LimiterJson(report.limiter)},
            {"hdcd", HdcdJson(report.hdcd)},
            {"hdcdDecoded", ifDone(report.hdcdDecoded)},
            {"replaygain", LoudnessJson(report.loudness)},
            {"albumReplaygain", LoudnessJson(report.albumLoudness)},
            {"hash", DigestJson(report.digest)},
            {"spectrogram", report.spectrogram.empty() ? Json() : Json(report.spectrogram)},
            {"seconds", ifDone(report.seconds)},
            {"speed", ifDone(report.Speed())},
            {"warnings", report.warnings}};
}

std::string StreamText(const StreamReport &stream)
{
    return TerminalText(stream.path) + " (" + stream.type + ", " + FormatText(stream) + ")";
}

std::string SpeedText(const ConversionReport &report)
{
    const double speed = report.Speed();
    const StreamReport &stream = report.IsPictureAlone() ? report.input : report.output;
    return ClockTime(stream.Seconds()) + " of audio in " + Decimal(report.seconds, 2) + " s, " +
           Decimal(speed, speed < 10 ? 1 : 0) + " times real time";
}

} // namespace

std::string ReportText(const ConversionReport &report)
{
    if (report.HasNamesOnly())
        return TerminalText(report.input.path) + " -> " + TerminalText(report.output.path) + ": " +
               (report.skipped.empty() ? "copied" : "skipped, " + report.skipped) +
               (report.dryRun ? " (dry run)" : "");
    std::string text = StreamText(report.input) + " -> ";
    text += report.IsPictureAlone() ? TerminalText(report.spectrogram) : StreamText(report.output);
    if (report.part)
        text += ", " + PartText(*report.part);
    if (report.copied)
        text += ", audio unchanged";
    if (report.encoder.Any())
        text += ", " + NameOf(report.encoder);
    if (report.level)
        text += ", " + LevelText(*report.level);
    if (report.limiter)
        text += ", " + LimiterText(*report.limiter);
    if (report.dithered)
        text += ", dithered";
    if (report.hdcdDecoded)
        text += ", HDCD decoded";
    if (!report.spectrogram.empty() && !report.IsPictureAlone())
        text += ", spectrogram in " + TerminalText(report.spectrogram);
    if (report.dryRun)
        return text + " (dry run)";
    return text + "\n  " + SpeedText(report);
}

std::string FinishedText(const ConversionReport &report)
{
    if (!report.skipped.empty())
        return report.output.path + ": skipped, " + report.skipped;
    if (report.HasNamesOnly())
        return report.output.path + ": copied";
    return (report.IsPictureAlone() ? report.spectrogram : report.output.path) + ": " + SpeedText(report);
}

std::string ReportJson(const std::vector<ConversionReport> &reports, double seconds)
{
    uint64_t frames = 0;
    double audioSeconds = 0;
    bool ok = true;
    Json files = Json::Array();
    for (const ConversionReport &report : reports) {
        frames += report.output.frames;
        audioSeconds += report.error.empty() ? report.input.Seconds() : 0;
        ok = ok && report.error.empty();
        files.Add(ConversionJson(report));
    }
    return JsonText({{"ok", ok},
                     {"error", Json()},
                     {"files", std::move(files)},
                     {"frames", frames},
                     {"seconds", seconds},
                     {"speed", seconds > 0 ? audioSeconds / seconds : 0}});
}

std::string FailureJson(const std::string &error)
{
    return JsonText({{"ok", false},
                     {"error", error},
                     {"files", Json::Array()},
                     {"frames", 0},
                     {"seconds", 0.0},
                     {"speed", 0.0}});
}

} // namespace tonekit::host
