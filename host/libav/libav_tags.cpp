// libav_tags.cpp: texts, pictures and chapters as libavformat finds them.
#include "host/libav/libav_files.h"
#include "host/libav/libav_input.h"
#include "host/pictures/picture_facts.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>

namespace tonekit::host {

namespace {

struct Renamed {
    const char *libav;
    const char *ours;
};

constexpr Renamed kRenamed[] = {{"ALBUM_ARTIST", "ALBUMARTIST"}, {"TRACK", "TRACKNUMBER"},
                                {"DISC", "DISCNUMBER"},          {"YEAR", "DATE"},
                                {"PUBLISHER", "LABEL"},          {"ENCODED_BY", "ENCODEDBY"},
                                {"ALBUM-SORT", "ALBUMSORT"},     {"ARTIST-SORT", "ARTISTSORT"},
                                {"TITLE-SORT", "TITLESORT"}};

// Facts about the file's form, which aren't about the music.
constexpr const char *kTechnical[] = {"MAJOR_BRAND",  "MINOR_VERSION", "COMPATIBLE_BRANDS", "CREATION_TIME",
                                      "HANDLER_NAME", "VENDOR_ID",     "ENCODER",           "ITUNSMPB",
                                      "DURATION",     "LANGUAGE"};

std::string OurKey(std::string key)
{
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::toupper(c); });
    const auto row = std::find_if(std::begin(kRenamed), std::end(kRenamed),
                                  [&](const Renamed &renamed) { return key == renamed.libav; });
    return row != std::end(kRenamed) ? row->ours : key;
}

bool IsTechnical(const std::string &key)
{
    return std::find(std::begin(kTechnical), std::end(kTechnical), key) != std::end(kTechnical);
}

void AddTexts(const AVDictionary *from, LibavTags &tags)
{
    const AVDictionaryEntry *entry = nullptr;
    while ((entry = Libav().av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX))) {
        const std::string key = OurKey(entry->key);
        const bool known = std::any_of(tags.texts.begin(), tags.texts.end(),
                                       [&](const auto &text) { return text.first == key; });
        if (!known && !IsTechnical(key) && *entry->value)
            tags.texts.emplace_back(key, entry->value);
    }
}

void AddPictures(const AVFormatContext &context, LibavTags &tags)
{
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        const AVStream &stream = *context.streams[i];
        const AVPacket &packet = stream.attached_pic;
        if (!(stream.disposition & AV_DISPOSITION_ATTACHED_PIC) || packet.size <= 0)
            continue;
        Picture picture;
        picture.type = kFrontCover;
        picture.data.assign(packet.data, packet.data + packet.size);
        picture.mime = MimeTypeOf(FactsOf(picture.data).kind);
        tags.pictures.push_back(std::move(picture));
    }
}

void AddChapters(const AVFormatContext &context, LibavTags &tags)
{
    constexpr double kSecond = 1e7; // in 100 ns
    for (unsigned i = 0; i < context.nb_chapters; ++i) {
        const AVChapter &chapter = *context.chapters[i];
        const double seconds =
            static_cast<double>(chapter.start) * chapter.time_base.num / chapter.time_base.den;
        if (!(seconds >= 0 && seconds < 1e9))
            continue;
        const AVDictionaryEntry *const title = Libav().av_dict_get(chapter.metadata, "title", nullptr, 0);
        tags.chapters.push_back(
            {static_cast<uint64_t>(std::llround(seconds * kSecond)), title ? title->value : ""});
    }
    std::stable_sort(tags.chapters.begin(), tags.chapters.end(),
                     [](const Chapter &a, const Chapter &b) { return a.position < b.position; });
}

} // namespace

LibavTags TagsThroughLibav(ByteStream &stream)
{
    if (const std::error_code error = stream.SeekTo(0))
        throw std::system_error(error);
    LibavInput input(stream);
    LibavTags tags;
    AddTexts(input.context().metadata, tags);
    AddTexts(input.audio().metadata, tags);
    AddPictures(input.context(), tags);
    AddChapters(input.context(), tags);
    return tags;
}

} // namespace tonekit::host
