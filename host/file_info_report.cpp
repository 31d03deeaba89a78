// file_info_report.cpp: what a file is, for people and for programs.
#include "host/file_info.h"
#include "host/report/console.h"
#include "host/report/json.h"
#include "host/report/report_parts.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <utility>

namespace tonekit::host {

namespace {

constexpr size_t kLabelWidth = 12;

std::string Line(const std::string &label, const std::string &value)
{
    const size_t width = std::max(label.size() + 1, kLabelWidth);
    std::string line = "  " + label + std::string(width - label.size(), ' ') + value + "\n";
    return line;
}

// The values of a tag on one line of their own, free of what would disturb a terminal.
std::string Shown(const std::string &value)
{
    std::string text;
    for (const char c : value) {
        if (c == kValueSeparator)
            text += "; ";
        else if (c == '\n')
            text += "\n" + std::string(kLabelWidth + 2, ' ');
        else
            text += c;
    }
    return TerminalText(text, true);
}

std::string NameOfPictureType(int type)
{
    static const char *const names[] = {"other",          "icon",
                                        "other icon",     "front cover",
                                        "back cover",     "leaflet",
                                        "medium",         "lead artist",
                                        "artist",         "conductor",
                                        "band",           "composer",
                                        "lyricist",       "recording location",
                                        "recording",      "performance",
                                        "screen capture", "bright fish",
                                        "illustration",   "band logo",
                                        "publisher logo"};
    return type >= 0 && static_cast<size_t>(type) < std::size(names) ? names[type]
                                                                     : "type " + std::to_string(type);
}

std::string PictureText(const Picture &picture)
{
    const std::string mime = picture.mime.empty() ? "unknown kind" : TerminalText(picture.mime);
    return NameOfPictureType(picture.type) + ", " + mime + ", " + std::to_string(picture.data.size()) +
           " bytes";
}

// A tag may have several values, so that each has a list of them.
Json ValuesJson(const std::string &text)
{
    Json values = Json::Array();
    size_t start = 0;
    for (size_t end = 0; end != std::string::npos; start = end + 1) {
        end = text.find(kValueSeparator, start);
        values.Add(text.substr(start, end == std::string::npos ? end : end - start));
    }
    return values;
}

Json TagsJson(const FileInfo &info)
{
    Json tags = Json::Object();
    for (const auto &[key, value] : info.text)
        tags.Set(key, ValuesJson(value));
    return tags;
}

Json PicturesJson(const FileInfo &info)
{
    Json pictures = Json::Array();
    for (const Picture &picture : info.pictures)
        pictures.Add({{"type", NameOfPictureType(picture.type)},
                      {"mime", picture.mime.empty() ? Json() : Json(picture.mime)},
                      {"bytes", picture.data.size()}});
    return pictures;
}

Json ChaptersJson(const FileInfo &info)
{
    Json chapters = Json::Array();
    for (const Chapter &chapter : info.chapters)
        chapters.Add({{"start", ChapterTime(chapter.position)}, {"name", chapter.name}});
    return chapters;
}

Json InfoOfFileJson(const FileInfo &info)
{
    const bool known = info.error.empty();
    Json json = {{"ok", known}, {"error", ErrorJson(info.error)}};
    json.SetAll(StreamJson(info.stream));
    json.SetAll({{"hdcd", HdcdJson(info.hdcd)},
                 {"tags", known ? TagsJson(info) : Json()},
                 {"pictures", known ? PicturesJson(info) : Json()},
                 {"chapters", known ? ChaptersJson(info) : Json()},
                 {"replaygain", LoudnessJson(info.loudness)},
                 {"hash", DigestJson(info.digest)},
                 {"warnings", info.warnings}});
    return json;
}

} // namespace

std::string InfoText(const FileInfo &info)
{
    const StreamReport &stream = info.stream;
    std::string text = TerminalText(stream.path) + "\n";
    text += Line("Type", stream.lossy || stream.encoding.empty() ? stream.type
                                                                 : stream.type + ", " + stream.encoding);
    text += Line("Format", FormatText(stream));
    const std::string length =
        ClockTime(stream.Seconds()) + " (" + std::to_string(stream.frames) + " frames)";
    text += Line("Length", stream.frames ? length : "not said by the file");
    if (info.hdcd)
        text += Line("HDCD", HdcdText(*info.hdcd));
    for (const auto &[key, value] : info.text)
        text += Line(TerminalText(key), Shown(value));
    for (const Picture &picture : info.pictures)
        text += Line("Picture", PictureText(picture));
    for (const Chapter &chapter : info.chapters)
        text += Line("Chapter", ChapterTime(chapter.position) + " " + Shown(chapter.name));
    if (info.loudness)
        text += Line("ReplayGain", LoudnessText(*info.loudness));
    if (info.digest)
        text += Line(NameOf(info.digest->kind), info.digest->hex);
    text.pop_back();
    return text;
}

std::string InfoJson(const std::vector<FileInfo> &infos)
{
    Json files = Json::Array();
    bool ok = true;
    for (const FileInfo &info : infos) {
        files.Add(InfoOfFileJson(info));
        ok = ok && info.error.empty();
    }
    return JsonText({{"ok", ok}, {"error", Json()}, {"files", std::move(files)}});
}

} // namespace tonekit::host
