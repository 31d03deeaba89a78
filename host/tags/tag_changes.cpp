// tag_changes.cpp: moves chapters with the audio that they are about.
#include "host/tags/tag_changes.h"

#include "host/report/report_parts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace tonekit::host {

namespace {

// The number with which a text begins.
std::optional<double> LeadingNumber(const std::string &text)
{
    const char *const start = text.data() + (text.starts_with("+") ? 1 : 0);
    double number = 0;
    const auto [stop, error] =
        std::from_chars(start, text.data() + text.size(), number, std::chars_format::fixed);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

// R128 counts steps of this many to a dB, to a reference that is this much lower than ReplayGain's.
constexpr double kStepsInR128 = 256;
constexpr double kToR128 = -23.0 + 18.0;

} // namespace

std::vector<Chapter> ChaptersOfPart(const std::vector<Chapter> &chapters, const FilePart &part)
{
    std::vector<Chapter> sorted = chapters;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Chapter &a, const Chapter &b) { return a.position < b.position; });
    std::vector<Chapter> moved;
    for (const Chapter &chapter : sorted) {
        if (part.end && chapter.position >= *part.end)
            break;
        // Of those that begin no later than the part, the last one goes on in it.
        if (chapter.position <= part.start)
            moved.clear();
        moved.push_back({chapter.position - std::min(chapter.position, part.start), chapter.name});
    }
    return moved;
}

std::optional<std::string> TagAfterGain(const std::string &key, const std::string &value, double gain)
{
    const bool r128 = key == "R128_TRACK_GAIN" || key == "R128_ALBUM_GAIN";
    const bool gainTag = r128 || key == "REPLAYGAIN_TRACK_GAIN" || key == "REPLAYGAIN_ALBUM_GAIN";
    const bool peakTag = key == "REPLAYGAIN_TRACK_PEAK" || key == "REPLAYGAIN_ALBUM_PEAK";
    if (gain == 0 || (!gainTag && !peakTag))
        return value;
    const std::optional<double> number = LeadingNumber(value);
    if (!number)
        return std::nullopt;
    if (r128)
        return std::to_string(std::lround(std::clamp(*number - gain * kStepsInR128, -32768.0, 32767.0)));
    return gainTag ? Decimal(*number - gain, 2) + " dB" : Decimal(*number * std::pow(10, gain / 20), 6);
}

std::string GainText(TagKind kind, double gain)
{
    if (kind != TagKind::Opus)
        return Decimal(gain, 2) + " dB";
    return std::to_string(std::lround(std::clamp((gain + kToR128) * kStepsInR128, -32768.0, 32767.0)));
}

std::optional<std::pair<std::string, std::string>> InFormOf(TagKind kind, const std::string &key,
                                                            const std::string &value)
{
    const bool opus = kind == TagKind::Opus;
    const std::string_view own = opus ? "R128_" : "REPLAYGAIN_";
    const std::string_view other = opus ? "REPLAYGAIN_" : "R128_";
    if (!key.starts_with(other))
        return std::pair(key, value);
    const std::string what = key.substr(other.size());
    const std::optional<double> number = LeadingNumber(value);
    if ((what != "TRACK_GAIN" && what != "ALBUM_GAIN") || !number)
        return std::nullopt;
    const double gain = opus ? *number : *number / kStepsInR128 - kToR128;
    return std::pair(std::string(own) + what, GainText(kind, gain));
}

} // namespace tonekit::host
