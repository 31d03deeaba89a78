// tag_transfer.cpp: collects tags from all sources in one block and passes them on.
#include "host/tags/tag_transfer.h"

#include "host/audio/header_channels.h"
#include "host/open_source.h"
#include "host/report/report_parts.h"
#include "host/system/paths.h"
#include "host/tags/cover.h"
#include "host/tags/joined_tags.h"
#include "host/tags/tag_changes.h"
#include "host/tags/tag_editor.h"
#include "host/tags/tag_reader.h"
#include "host/tags/tag_writer.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <set>
#include <string_view>

namespace tonekit::host {

namespace {

std::string Capitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

using TextTag = std::pair<std::string, std::string>;

void AddLoudnessTags(const Loudness &loudness, TagKind kind, const std::string &of,
                     std::vector<TextTag> &tags)
{
    const bool opus = kind == TagKind::Opus;
    if (loudness.gain)
        tags.emplace_back(opus ? "R128_" + of + "_GAIN" : "REPLAYGAIN_" + of + "_GAIN",
                          GainText(kind, *loudness.gain));
    if (loudness.peak && !opus)
        tags.emplace_back("REPLAYGAIN_" + of + "_PEAK", Decimal(*loudness.peak, 6));
}

// What was measured, in the form of the kind of file.
std::vector<TextTag> LoudnessTags(const TagTransfer &transfer)
{
    std::vector<TextTag> tags;
    if (transfer.loudness)
        AddLoudnessTags(*transfer.loudness, transfer.writtenKind, "TRACK", tags);
    if (transfer.albumLoudness)
        AddLoudnessTags(*transfer.albumLoudness, transfer.writtenKind, "ALBUM", tags);
    return tags;
}

// The loudspeakers, where FLAC takes the channels for others.
std::vector<TextTag> MaskTags(const TagTransfer &transfer)
{
    if (transfer.writtenKind != TagKind::Flac || NeedNoNames(transfer.loudspeakers))
        return {};
    return {{kChannelMaskKey, ChannelMaskText(transfer.loudspeakers)}};
}

// A tag that an option sets, or removes by an empty value, doesn't come from the file; nor does a measurement
// that isn't true any longer.
bool IsWanted(const Options &options, const TagTransfer &transfer, const std::string &key)
{
    const std::string name = Capitals(key);
    const auto isNamed = [&](const TextTag &tag) { return Capitals(tag.first) == name; };
    if (std::any_of(options.set.begin(), options.set.end(), isNamed) ||
        std::any_of(transfer.track.begin(), transfer.track.end(), isNamed))
        return false;
    const auto startsWithAny = [&](std::initializer_list<const char *> starts) {
        return std::any_of(starts.begin(), starts.end(),
                           [&](const char *start) { return name.starts_with(start); });
    };
    if ((transfer.loudness || transfer.part) && startsWithAny({"REPLAYGAIN_TRACK_", "R128_TRACK_"}))
        return false;
    // What the coder of the input left of itself and of its length isn't true of another.
    const bool ofTheCoder = name == "ENCODER" || name == "ENCODING" || name == "LENGTH" ||
                            (transfer.inputKind == TagKind::Mp4 && name == "ENCODEDBY");
    // So are the loudspeakers of its channels, which each type says in its own way.
    if (ofTheCoder || name == kChannelMaskKey)
        return false;
    // Its places are those of the whole file.
    if (transfer.part && name == "CUESHEET")
        return false;
    if (transfer.albumLoudness && startsWithAny({"REPLAYGAIN_ALBUM_", "R128_ALBUM_"}))
        return false;
    return !transfer.loudnessChanged || !startsWithAny({"REPLAYGAIN_", "R128_"});
}

void AddTrackTags(const Options &options, const TagTransfer &transfer, TagBlockFiller &filler)
{
    for (const auto &[key, value] : transfer.track) {
        const bool set = std::any_of(options.set.begin(), options.set.end(),
                                     [&key = key](const TextTag &tag) { return Capitals(tag.first) == key; });
        if (!set && !value.empty())
            filler.AddText(key, value);
    }
}

// Texts of the input as they are true of the output, in the form of its kind.
void AddChangedTexts(const Options &options, const TagTransfer &transfer, const std::vector<TextTag> &texts,
                     TagBlockFiller &filler)
{
    std::set<std::string> keys;
    for (const TextTag &text : texts)
        keys.insert(Capitals(text.first));
    for (const auto &[key, value] : texts) {
        const std::string name = Capitals(key);
        const std::optional<std::string> changed = TagAfterGain(name, value, transfer.gain);
        const auto tag = changed ? InFormOf(transfer.writtenKind, name, *changed) : std::nullopt;
        if (!tag || !IsWanted(options, transfer, tag->first))
            continue;
        // What the input says in this form already isn't said twice.
        if (tag->first == name)
            filler.AddText(key, tag->second);
        else if (!keys.contains(tag->first))
            filler.AddText(tag->first, tag->second);
    }
}

void AddFileTags(const Options &options, const Extras &extras, const TagTransfer &transfer, TagBlock *block,
                 std::vector<std::string> &warnings)
{
    TagChoice choice;
    choice.text = [&](const std::string &key) { return IsWanted(options, transfer, key); };
    choice.chapters = !extras.chapters && transfer.track.empty();
    choice.frontCover = !extras.cover;
    const auto read = [&](TagBlock *into) {
        if (transfer.beginning)
            ReadTags(*transfer.beginning, kStandardInput, transfer.inputKind, choice, into, warnings);
        else
            ReadTags(transfer.input, transfer.inputKind, choice, into, warnings);
    };
    const bool changesForm = (transfer.inputKind == TagKind::Opus) != (transfer.writtenKind == TagKind::Opus);
    if (!transfer.part && transfer.gain == 0 && !changesForm)
        return read(block);
    const TagBlockPointer whole = NewTagBlock();
    read(whole.get());
    std::vector<TextTag> texts;
    ForEachText(whole.get(),
                [&](const std::string &key, const std::string &value) { texts.emplace_back(key, value); });
    TagBlockFiller filler(block);
    AddChangedTexts(options, transfer, texts, filler);
    filler.AddChapters(ChaptersOfPart(ChaptersOf(whole.get()), transfer.part.value_or(FilePart{})));
    for (const Picture &picture : PicturesOf(whole.get()))
        filler.AddPicture(picture);
}

void AddJoinedTags(const Options &options, const Extras &extras, const TagTransfer &transfer, TagBlock *block,
                   std::vector<std::string> &warnings)
{
    const JoinedTags tags = TagsOfJoined(transfer.files, transfer.inputRate, warnings);
    TagBlockFiller filler(block);
    AddChangedTexts(options, transfer, tags.texts, filler);
    if (!extras.chapters)
        filler.AddChapters(tags.chapters);
    for (const Picture &picture : tags.pictures) {
        if (picture.type != kFrontCover || !extras.cover)
            filler.AddPicture(picture);
    }
}

bool IsEmpty(const TagBlock *block)
{
    TagBlockItem item;
    TagBlockPicture picture;
    return !ID3Helper_GetFirst(block, &item) && !ID3Helper_GetFirstImage(block, &picture);
}

// Pictures of the block scaled to fit, in a block of their own with all the rest.
TagBlockPointer WithFittedPictures(const Options &options, const TagTransfer &transfer, TagBlockPointer block,
                                   std::vector<std::string> &warnings)
{
    if (options.coverSize == 0)
        return block;
    TagBlockPointer fitted = NewTagBlock();
    TagBlockFiller filler(fitted.get());
    ForEachText(block.get(),
                [&](const std::string &key, const std::string &value) { filler.AddText(key, value); });
    filler.AddChapters(ChaptersOf(block.get()));
    for (Picture &picture : PicturesOf(block.get())) {
        FitPicture(picture, Utf8Name(transfer.input), options.coverSize, options.coverQuality, warnings);
        filler.AddPicture(picture);
    }
    return fitted;
}

} // namespace

TagBlockPointer GatherTags(const Options &options, const Extras &extras, const TagTransfer &transfer,
                           std::vector<std::string> &warnings)
{
    TagBlockPointer block = NewTagBlock();
    TagBlockFiller filler(block.get());
    for (const auto &[key, value] : options.set)
        filler.AddText(key, value);
    for (const auto &[key, value] : LoudnessTags(transfer))
        filler.AddText(key, value);
    for (const auto &[key, value] : MaskTags(transfer))
        filler.AddText(key, value);
    if (options.tags)
        AddTrackTags(options, transfer, filler);
    if (extras.chapters && transfer.track.empty())
        filler.AddChapters(transfer.part ? ChaptersOfPart(*extras.chapters, *transfer.part)
                                         : *extras.chapters);
    if (extras.cover)
        filler.AddPicture(kFrontCover, extras.cover->mime, extras.cover->data.data(),
                          extras.cover->data.size());
    if (options.tags && !transfer.files.empty())
        AddJoinedTags(options, extras, transfer, block.get(), warnings);
    else if (options.tags)
        AddFileTags(options, extras, transfer, block.get(), warnings);
    return WithFittedPictures(options, transfer, std::move(block), warnings);
}

TagEdit EditOf(const Options &options, const Extras &extras, const TagTransfer &transfer)
{
    TagEdit edit;
    edit.removeOthers = !options.tags;
    // An empty text takes out what an earlier measurement left.
    const auto takeOut = [&](const std::string &of) {
        for (const std::string &key :
             {"REPLAYGAIN_" + of + "_GAIN", "REPLAYGAIN_" + of + "_PEAK", "R128_" + of + "_GAIN"})
            edit.texts.emplace_back(key, "");
    };
    if (transfer.loudness)
        takeOut("TRACK");
    if (transfer.albumLoudness)
        takeOut("ALBUM");
    for (const TextTag &tag : LoudnessTags(transfer))
        edit.texts.push_back(tag);
    for (const TextTag &tag : edit.removeOthers ? MaskTags(transfer) : std::vector<TextTag>())
        edit.texts.push_back(tag);
    edit.texts.insert(edit.texts.end(), options.set.begin(), options.set.end());
    edit.chapters = extras.chapters;
    edit.cover = extras.cover;
    edit.pictureSize = options.coverSize;
    edit.pictureQuality = options.coverQuality;
    return edit;
}

void TransferTags(const Options &options, const Extras &extras, const TagTransfer &transfer,
                  std::vector<std::string> &warnings)
{
    if (transfer.copied && transfer.writtenKind != TagKind::None) {
        const TagEdit edit = EditOf(options, extras, transfer);
        if (!edit.ChangesNothing())
            EditTags(transfer.written, transfer.writtenKind, edit, transfer.end, transfer.shownName,
                     warnings);
        return;
    }
    const TagBlockPointer block = GatherTags(options, extras, transfer, warnings);
    if (IsEmpty(block.get()))
        return;
    if (transfer.writtenKind == TagKind::None) {
        warnings.push_back(transfer.shownName + ": this type of file can't hold tags, so they are left out");
        return;
    }
    WriteTags(transfer.written, transfer.writtenKind, block.get(), transfer.end, transfer.shownName,
              warnings);
}

} // namespace tonekit::host
