// file_tracks.cpp: finds where tracks begin, and what they are called.
#include "host/tags/file_tracks.h"

#include "host/audio/time_text.h"
#include "host/open_source.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/tags/cue_sheet.h"
#include "host/tags/extras.h"
#include "host/tags/flac_cue_sheet.h"
#include "host/tags/tag_reader.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

using Tags = std::map<std::string, std::string>;

// Where tracks begin, and what is said of all of them.
struct Plan {
    std::string origin; // that messages name
    std::vector<CueTrack> tracks;
    CueSheet album; // without files
};

Plan FromChapters(const std::vector<Chapter> &chapters, const std::string &origin)
{
    Plan plan{origin, {}, {}};
    for (const Chapter &chapter : chapters)
        plan.tracks.push_back(
            {static_cast<unsigned>(plan.tracks.size() + 1), chapter.position, chapter.name, ""});
    return plan;
}

Plan FromCueSheet(const std::string &text, const fs::path &audio, const std::string &origin)
{
    Plan plan{origin, {}, ParseCueSheet(text, origin)};
    plan.tracks = TracksOf(plan.album, Utf8Name(audio.filename()), origin);
    return plan;
}

std::vector<Chapter> ChaptersIn(const SampleSource &reader, const fs::path &path)
{
    const TagBlockPointer block = NewTagBlock();
    std::vector<std::string> ignored;
    TagChoice choice;
    choice.text = [](const std::string &) { return false; };
    choice.frontCover = false;
    ReadTags(path, reader.tagKind(), choice, block.get(), ignored);
    return ChaptersOf(block.get());
}

// album.cue or album.flac.cue for album.flac
std::optional<fs::path> CueSheetBeside(const fs::path &path)
{
    for (const char *extension : {".cue", ".CUE"}) {
        fs::path alone = path;
        fs::path added = path;
        added += extension;
        for (const fs::path &name : {alone.replace_extension(extension), added}) {
            std::error_code error;
            if (fs::is_regular_file(name, error))
                return name;
        }
    }
    return std::nullopt;
}

Plan PlanOf(const Options &options, const SampleSource &reader, const fs::path &path, const Tags &tags)
{
    const std::string name = Utf8Name(path);
    if (options.cue)
        return FromCueSheet(ReadSmallFile(*options.cue), path, *options.cue);
    if (options.chapters)
        return FromChapters(ParseChapters(ReadSmallFile(*options.chapters), *options.chapters),
                            *options.chapters);
    if (const std::vector<Chapter> chapters = ChaptersIn(reader, path); !chapters.empty())
        return FromChapters(chapters, name);
    if (const auto sheet = tags.find("CUESHEET"); sheet != tags.end() && !sheet->second.empty())
        return FromCueSheet(sheet->second, path, name + ": its cue sheet");
    if (std::vector<CueTrack> tracks = FlacCueTracks(path, reader.format().rate); !tracks.empty())
        return {name, std::move(tracks), {}};
    if (const std::optional<fs::path> beside = CueSheetBeside(path))
        return FromCueSheet(ReadSmallFile(Utf8Name(*beside)), path, Utf8Name(*beside));
    throw Failure(name + ": has no chapters and no cue sheet");
}

void CheckFits(const Plan &plan, const SampleSource &reader)
{
    const uint64_t end =
        reader.frames() > 0 ? SamplesToN100nS(reader.frames(), reader.format().rate) : UINT64_MAX;
    for (size_t i = 0; i < plan.tracks.size(); ++i) {
        const CueTrack &track = plan.tracks[i];
        const std::string what = plan.origin + ": track " + std::to_string(track.number) + " begins at " +
                                 TimeText(track.position);
        if (track.position >= end)
            throw Failure(what + ", beyond the end of the audio at " + TimeText(end));
        if (i > 0 && track.position <= plan.tracks[i - 1].position)
            throw Failure(what + ", not after the one before it");
    }
}

std::string ValueOf(const Tags &tags, const std::string &key)
{
    const auto place = tags.find(key);
    return place != tags.end() ? place->second : "";
}

// What a track's file says of it. The file's title is that of all tracks together.
FileTrack TrackOf(const Plan &plan, size_t index, const Tags &tags)
{
    const CueTrack &track = plan.tracks[index];
    FileTrack result;
    result.part.start = index > 0 ? track.position : 0;
    if (index + 1 < plan.tracks.size())
        result.part.end = plan.tracks[index + 1].position;
    result.tags = {{"TITLE", track.title},
                   {"TRACKNUMBER", std::to_string(track.number)},
                   {"TRACKTOTAL", std::to_string(plan.tracks.size())}};
    const auto ifMissing = [&](const std::string &key, const std::string &value) {
        if (!value.empty() && ValueOf(tags, key).empty())
            result.tags.emplace_back(key, value);
    };
    ifMissing("ALBUM", plan.album.title.empty() ? ValueOf(tags, "TITLE") : plan.album.title);
    if (!track.performer.empty())
        result.tags.emplace_back("ARTIST", track.performer);
    else
        ifMissing("ARTIST", plan.album.performer);
    // All tracks of an album say whose it is, or none does.
    const bool hasGuests = std::any_of(plan.tracks.begin(), plan.tracks.end(), [&](const CueTrack &other) {
        return !other.performer.empty() && other.performer != plan.album.performer;
    });
    if (hasGuests)
        ifMissing("ALBUMARTIST", plan.album.performer);
    if (!track.isrc.empty())
        result.tags.emplace_back("ISRC", track.isrc);
    for (const auto &[key, value] : plan.album.remarks)
        ifMissing(key, value);
    return result;
}

} // namespace

std::vector<FileTrack> TracksOfFile(const Options &options, const fs::path &path, const Tags &tags)
{
    const std::unique_ptr<SampleSource> reader = OpenAudioFile(path, Utf8Name(path));
    const Plan plan = PlanOf(options, *reader, path, tags);
    CheckFits(plan, *reader);
    std::vector<FileTrack> tracks;
    for (size_t i = 0; i < plan.tracks.size(); ++i)
        tracks.push_back(TrackOf(plan, i, tags));
    return tracks;
}

std::vector<Chapter> ChaptersOfCueSheet(const Options &options)
{
    const fs::path path = PathFromUtf8(options.inputs[0]);
    const Plan plan = FromCueSheet(ReadSmallFile(*options.cue), path, *options.cue);
    CheckFits(plan, *OpenSource(options, path));
    std::vector<Chapter> chapters;
    for (const CueTrack &track : plan.tracks)
        chapters.push_back({track.position, track.title});
    return chapters;
}

} // namespace tonekit::host
