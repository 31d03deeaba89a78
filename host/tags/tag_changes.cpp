// tag_changes.cpp: moves chapters with the audio that they are about.
#include "host/tags/tag_changes.h"

#include "host/report/report_parts.h"

#include <algorithm>
#include <charconv>
#include <cmath>

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
    constexpr double kStepsInR128 = 256;
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

} // namespace tonekit::host
