// file_info_report.cpp: what a file is, for people and for programs.
#include "host/console.h"
#include "host/file_info.h"
#include "host/json.h"
#include "host/report_parts.h"

#include <algorithm>

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
        else if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F)
            text += c;
    }
    return text;
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
    const std::string mime = picture.mime.empty() ? "unknown kind" : picture.mime;
    return NameOfPictureType(picture.type) + ", " + mime + ", " + std::to_string(picture.data.size()) +
           " bytes";
}

void AddInfo(JsonWriter &json, const FileInfo &info)
{
    json.BeginObject();
    json.Truth("ok", info.error.empty());
    if (!info.error.empty())
        json.Text("error", info.error);
    AddStreamMembers(json, info.stream);
    if (info.hdcd)
        AddHdcd(json, *info.hdcd);
    json.BeginObject("tags");
    for (const auto &[key, value] : info.text)
        json.Text(key.c_str(), Shown(value));
    json.EndObject();
    json.BeginArray("pictures");
    for (const Picture &picture : info.pictures) {
        json.BeginObject();
        json.Text("type", NameOfPictureType(picture.type));
        json.Text("mime", picture.mime);
        json.Whole("bytes", picture.data.size());
        json.EndObject();
    }
    json.EndArray();
    json.BeginArray("chapters");
    for (const Chapter &chapter : info.chapters) {
        json.BeginObject();
        json.Text("start", ChapterTime(chapter.position));
        json.Text("name", chapter.name);
        json.EndObject();
    }
    json.EndArray();
    if (info.loudness)
        AddLoudness(json, *info.loudness);
    if (info.digest)
        AddDigest(json, *info.digest);
    AddWarnings(json, info.warnings);
    json.EndObject();
}

} // namespace

std::string InfoText(const FileInfo &info)
{
    const StreamReport &stream = info.stream;
    std::string text = stream.path + "\n";
    text += Line("Type", stream.lossy ? stream.type : stream.type + ", " + stream.encoding);
    text += Line("Format", FormatText(stream));
    const std::string length =
        ClockTime(stream.Seconds()) + " (" + std::to_string(stream.frames) + " frames)";
    text += Line("Length", stream.frames ? length : "not said by the file");
    if (info.hdcd)
        text += Line("HDCD", HdcdText(*info.hdcd));
    for (const auto &[key, value] : info.text)
        text += Line(Shown(key), Shown(value));
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
    JsonWriter json;
    if (infos.size() == 1) {
        AddInfo(json, infos[0]);
        return json.text();
    }
    json.BeginObject();
    json.Truth("ok", std::all_of(infos.begin(), infos.end(),
                                 [](const FileInfo &info) { return info.error.empty(); }));
    json.BeginArray("files");
    for (const FileInfo &info : infos)
        AddInfo(json, info);
    json.EndArray();
    json.EndObject();
    return json.text();
}

} // namespace tonekit::host
