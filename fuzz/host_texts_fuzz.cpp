// host_texts_fuzz.cpp: arbitrary text as a list of chapters, as the values of reports and descriptions of any
// kind, and on its way to the terminal. What is written as JSON has balanced brackets and quotes, and no byte
// below a blank but line ends.
#include "fuzz/input_bytes.h"
#include "host/file_info.h"
#include "host/report/json.h"
#include "host/report/report.h"
#include "host/system/failure.h"
#include "host/system/terminal_text.h"
#include "host/tags/extras.h"

#include <limits>
#include <optional>
#include <string>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

// Walks over a JSON text by its quotes and brackets.
void CheckJson(const std::string &text)
{
    int depth = 0;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        Require(c >= 0x20 || (c == '\n' && !quoted));
        if (quoted && c == '\\')
            ++i;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '{' || c == '['))
            ++depth;
        else if (!quoted && (c == '}' || c == ']'))
            Require(--depth >= 0);
    }
    Require(depth == 0 && !quoted);
}

// What a terminal gets has nothing that it obeys, and no more columns than asked for.
void CheckTerminalText(const std::string &text, size_t columns)
{
    const std::string shown = TerminalText(text);
    for (const char c : shown)
        Require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
    Require(ColumnsOf(CutToColumns(shown, columns)) <= columns);
}

// Numbers that JSON has and those that it lacks.
double TakeNumber(InputBytes &input)
{
    return input.OneOf({0.0, -1.5, 1e300, std::numeric_limits<double>::infinity(),
                        std::numeric_limits<double>::quiet_NaN(), 0.1, -70.0}) *
           input.Byte();
}

StreamReport TakeStream(InputBytes &input, const std::string &text)
{
    StreamReport stream;
    stream.path = text;
    stream.type = text.substr(0, text.size() / 2);
    stream.encoding = input.Flag() ? text : "";
    stream.lossy = input.Flag();
    stream.format = {input.OneOf({SampleFormat::Int8, SampleFormat::Int16, SampleFormat::Int24,
                                  SampleFormat::Int32, SampleFormat::Float32, SampleFormat::Float64}),
                     input.Below(10), 100u * input.Byte()};
    stream.frames = input.Word();
    return stream;
}

std::optional<Loudness> TakeLoudness(InputBytes &input)
{
    if (input.Flag())
        return {};
    Loudness loudness;
    if (input.Flag())
        loudness.gain = TakeNumber(input);
    if (input.Flag())
        loudness.peak = TakeNumber(input);
    loudness.truePeak = input.Flag();
    return loudness;
}

std::optional<HdcdFinding> TakeFinding(InputBytes &input)
{
    if (input.Flag())
        return {};
    return input.OneOf({HdcdFinding::None, HdcdFinding::NoEffect, HdcdFinding::Effective});
}

std::optional<Digest> TakeDigest(InputBytes &input, const std::string &text)
{
    if (input.Flag())
        return {};
    return Digest{input.Flag() ? HashKind::Sha512 : HashKind::Sha256, text};
}

ConversionReport TakeReport(InputBytes &input, const std::string &text)
{
    ConversionReport report;
    report.input = TakeStream(input, text);
    report.output = TakeStream(input, text);
    report.seconds = TakeNumber(input);
    report.quality = input.OneOf({Quality::Normal, Quality::High, Quality::VeryHigh, Quality::Best});
    if (input.Flag())
        report.encoder.bitRate = input.Word();
    if (input.Flag())
        report.encoder.vbrQuality = TakeNumber(input);
    if (input.Flag())
        report.encoder.compression = input.Byte();
    if (input.Flag())
        report.skipped = text;
    if (input.Flag())
        report.part =
            FilePart{input.Word(), input.Flag() ? std::optional<uint64_t>(input.Word()) : std::nullopt};
    if (input.Flag())
        report.joined = {text, ""};
    report.dryRun = input.Flag();
    report.plainCopy = input.Flag();
    report.copied = input.Flag();
    report.resampled = input.Flag();
    report.dithered = input.Flag();
    report.hdcdDecoded = input.Flag();
    if (input.Flag()) {
        const double gain = TakeNumber(input);
        report.level = LevelReport{gain, TakeNumber(input), input.Flag(), TakeNumber(input), input.Word()};
    }
    if (input.Flag())
        report.limiter = LimiterReport{TakeNumber(input), TakeNumber(input), TakeNumber(input)};
    report.hdcd = TakeFinding(input);
    report.loudness = TakeLoudness(input);
    report.albumLoudness = TakeLoudness(input);
    report.digest = TakeDigest(input, text);
    report.warnings = {text, ""};
    report.error = input.Flag() ? text : "";
    return report;
}

FileInfo TakeInfo(InputBytes &input, const std::string &text)
{
    FileInfo info;
    info.stream = TakeStream(input, text);
    info.hdcd = TakeFinding(input);
    for (uint32_t left = input.Below(4); left != 0; --left)
        info.text.emplace_back(text, text + kValueSeparator + text);
    for (uint32_t left = input.Below(4); left != 0; --left)
        info.pictures.push_back({static_cast<int>(input.Byte()) - 2, input.Flag() ? text : "", {1, 2, 3}});
    for (uint32_t left = input.Below(4); left != 0; --left)
        info.chapters.push_back({input.Word(), text});
    info.loudness = TakeLoudness(input);
    info.digest = TakeDigest(input, text);
    info.warnings = {text};
    info.error = input.Flag() ? text : "";
    return info;
}

// What is printed for people has no more lines than it has parts, and nothing that a terminal obeys.
void CheckLines(const std::string &text)
{
    const std::string shown = TerminalText(text, true);
    for (const char c : shown)
        Require((static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) || c == '\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The first half is text, the rest says what is reported.
    const std::string text(reinterpret_cast<const char *>(data), size - size / 2);
    InputBytes input(data + text.size(), size / 2);
    try {
        const auto chapters = ParseChapters(text, "list");
        Require(chapters.size() <= text.size());
    } catch (const Failure &) {
        // A list that is refused.
    }
    const ConversionReport report = TakeReport(input, text);
    CheckJson(ReportJson({report}, report.seconds));
    CheckJson(ReportJson({report, report}, 1));
    CheckLines(ReportText(report));
    CheckLines(FinishedText(report));
    const FileInfo info = TakeInfo(input, text);
    CheckJson(InfoJson({info}));
    CheckJson(JsonLine(Json({{text, Json(text)}, {text, Json(std::vector<std::string>{text})}})));
    CheckLines(InfoText(info));
    CheckTerminalText(text, size == 0 ? 0 : data[size - 1]);
    return 0;
}
