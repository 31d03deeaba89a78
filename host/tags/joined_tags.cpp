// joined_tags.cpp: finds what the tags of several files have in common.
#include "host/tags/joined_tags.h"

#include "host/system/paths.h"
#include "host/tags/tag_reader.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>

namespace tonekit::host {

namespace {

using Texts = std::map<std::string, std::string>;

// Texts about one track, which aren't true of several even where they are alike.
constexpr const char *kOfATrack[] = {"TITLE",
                                     "TITLESORT",
                                     "SUBTITLE",
                                     "TRACKNUMBER",
                                     "TRACKTOTAL",
                                     "TOTALTRACKS",
                                     "ISRC",
                                     "LENGTH",
                                     "LYRICS",
                                     "UNSYNCEDLYRICS",
                                     "CUESHEET",
                                     "MUSICBRAINZ_TRACKID",
                                     "MUSICBRAINZ_RELEASETRACKID",
                                     "ACOUSTID_ID",
                                     "ACOUSTID_FINGERPRINT"};
constexpr const char *kOfATrackBegin[] = {"REPLAYGAIN_TRACK_", "R128_TRACK_"};

bool IsOfATrack(const std::string &key)
{
    return std::find(std::begin(kOfATrack), std::end(kOfATrack), key) != std::end(kOfATrack) ||
           std::any_of(std::begin(kOfATrackBegin), std::end(kOfATrackBegin),
                       [&](const char *start) { return key.starts_with(start); });
}

std::string Capitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

Texts TextsOf(const TagBlock *block)
{
    Texts texts;
    ForEachText(block, [&](const std::string &key, const std::string &value) {
        texts.emplace(Capitals(key), value);
    });
    return texts;
}

// Several values become one.
std::string NameOfChapter(const Texts &texts, const SourceFile &file)
{
    const auto title = texts.find("TITLE");
    if (title == texts.end() || title->second.empty())
        return Utf8Name(file.path.stem());
    std::string name;
    for (const char c : title->second)
        name += c == kValueSeparator ? std::string(", ") : std::string(1, c);
    return name;
}

} // namespace

JoinedTags TagsOfJoined(const std::vector<SourceFile> &files, uint32_t rate,
                        std::vector<std::string> &warnings)
{
    JoinedTags tags;
    Texts common;
    for (size_t i = 0; i < files.size(); ++i) {
        const TagBlockPointer block = NewTagBlock();
        TagChoice choice;
        choice.chapters = false;
        ReadTags(files[i].path, files[i].tagKind, choice, block.get(), warnings);
        const Texts texts = TextsOf(block.get());
        if (i == 0) {
            common = texts;
            tags.pictures = PicturesOf(block.get());
        }
        std::erase_if(common, [&](const auto &text) {
            const auto same = texts.find(text.first);
            return same == texts.end() || same->second != text.second;
        });
        tags.chapters.push_back({SamplesToN100nS(files[i].start, rate), NameOfChapter(texts, files[i])});
    }
    std::erase_if(common, [](const auto &text) { return IsOfATrack(text.first); });
    if (const auto album = common.find("ALBUM"); album != common.end())
        tags.texts.emplace_back("TITLE", album->second);
    tags.texts.insert(tags.texts.end(), common.begin(), common.end());
    return tags;
}

} // namespace tonekit::host
