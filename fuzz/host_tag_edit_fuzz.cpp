// host_tag_edit_fuzz.cpp: the tags of arbitrary files changed in place and replaced, as each kind of file.
// Refusals are Failure or warnings. A text that was set is there afterwards, all sound that could be read is
// read again, and coded sound is at the places that the file says, byte for byte.
#include "fuzz/coded_sound.h"
#include "fuzz/memory_file.h"
#include "fuzz/sound_sum.h"
#include "host/open_source.h"
#include "host/system/failure.h"
#include "host/tags/tag_editor.h"
#include "host/tags/tag_reader.h"
#include "host/tags/tag_writer.h"

#include <algorithm>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::MemoryFile;
using tonekit::fuzz::Require;
using tonekit::fuzz::SoundBytes;
using tonekit::fuzz::SoundSum;
using tonekit::fuzz::SumOf;
using Texts = std::vector<std::pair<std::string, std::string>>;

constexpr uint64_t kEnd = 600'000'000; // a minute

// A JPEG file of 8 by 8 pixels begins like this; no more of it is looked at unless it is to be scaled.
const std::vector<uint8_t> kPicture = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F',  0,
                                       1,    1,    0,    0,    1, 0,  1,   0,   0,   0xFF, 0xD9};

// Whether a file of this kind has any tags that TagLib understands.
bool Read(const MemoryFile &file, TagKind kind, Texts &texts)
{
    const TagBlockPointer block = NewTagBlock();
    std::vector<std::string> warnings;
    try {
        ReadTags(file.Path(), kind, {}, block.get(), warnings);
    } catch (const Failure &) {
        return false;
    }
    ForEachText(block.get(),
                [&](const std::string &key, const std::string &value) { texts.emplace_back(key, value); });
    PicturesOf(block.get());
    ChaptersOf(block.get());
    return warnings.empty();
}

// The sound of a file of this kind, up to a quarter of a minute; nothing if it is none.
std::optional<SoundSum> SoundOf(const MemoryFile &file, TagKind kind)
{
    try {
        const std::unique_ptr<SampleSource> source = OpenAudioFile(file.Path(), "file");
        if (source->tagKind() == kind)
            return SumOf(*source, uint64_t{160} * 4096);
    } catch (const Failure &) {        // no file that can be read
    } catch (const std::bad_alloc &) { // nor one whose blocks are too large
    }
    return {};
}

// Whether an AIFF file's chunk of samples is shorter than its own header: libsndfile takes what follows for
// samples, and a tag may be there.
bool HasNoRoomForSamples(const uint8_t *bytes, size_t size)
{
    const std::string file(reinterpret_cast<const char *>(bytes), size);
    for (size_t at = file.find("SSND"); at != std::string::npos; at = file.find("SSND", at + 1))
        if (at + 8 <= size && file.compare(at + 4, 3, std::string(3, '\0')) == 0 && bytes[at + 7] < 8)
            return true;
    return false;
}

// Whether bytes follow an AIFF file's form, as a broken chunk does once a tag is before it: libsndfile
// refuses some files of this kind. The program keeps no file that can't be read any longer.
bool HasMoreThanItsForm(const std::string &file)
{
    uint64_t form = 8;
    for (size_t i = 4; i < 8 && i < file.size(); ++i)
        form += uint64_t{static_cast<uint8_t>(file[i])} << (56 - 8 * i);
    return form < file.size();
}

bool Holds(const Texts &texts, const std::string &key, const std::string &value)
{
    return std::find(texts.begin(), texts.end(), std::pair(key, value)) != texts.end();
}

std::vector<Chapter> TakeChapters(InputBytes &input)
{
    std::vector<Chapter> chapters;
    uint64_t position = 0;
    for (uint32_t left = input.Below(8); left != 0; --left) {
        position += 10'000ull * input.Byte();
        chapters.push_back({position, input.Flag() ? "Chapter" : ""});
    }
    return chapters;
}

TagEdit TakeEdit(InputBytes &input)
{
    TagEdit edit;
    const uint8_t what = input.Byte();
    edit.removeOthers = (what & 1) != 0;
    if ((what & 2) != 0)
        edit.texts.emplace_back("TITLE", "A title");
    if ((what & 4) != 0)
        edit.texts.emplace_back("ARTIST", "");
    if ((what & 8) != 0)
        edit.chapters = TakeChapters(input);
    if ((what & 16) != 0)
        edit.cover = Picture{kFrontCover, "image/jpeg", kPicture};
    if ((what & 32) != 0)
        edit.pictureSize = 1 + input.Below(16);
    if ((what & 64) != 0)
        edit.texts.emplace_back("NO SUCH\xC3\xA9 KEY=", std::string(300, 'x'));
    return edit;
}

// Replaces all tags of the file by those that it has, and some more.
void Replace(const MemoryFile &file, TagKind kind, InputBytes &input)
{
    const TagBlockPointer block = NewTagBlock();
    TagBlockFiller filler(block.get());
    filler.AddText("TITLE", "A title");
    filler.AddText("REPLAYGAIN_TRACK_GAIN", "-3.20 dB");
    filler.AddText("ARTIST", std::string("One") + kValueSeparator + "Two");
    filler.AddChapters(TakeChapters(input));
    filler.AddPicture(static_cast<int>(input.Below(24)), input.Flag() ? "image/jpeg" : "", kPicture.data(),
                      kPicture.size());
    std::vector<std::string> warnings;
    ReadTags(file.Path(), kind, {}, block.get(), warnings);
    WriteTags(file.Path(), kind, block.get(), kEnd, "file", warnings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static MemoryFile file;
    InputBytes input(data, size);
    const TagKind kind =
        input.OneOf({TagKind::Wav, TagKind::Aiff, TagKind::Flac, TagKind::Vorbis, TagKind::Opus,
                     TagKind::Mpeg, TagKind::None, TagKind::Mp4, TagKind::WavPack, TagKind::Ape});
    const bool replace = input.Flag();
    const TagEdit edit = TakeEdit(input);
    std::vector<uint8_t> settings = input.Take(8);
    InputBytes chapters(settings.data(), settings.size());
    file.Set(input.Rest(), input.Size());
    const std::optional<SoundSum> sound = SoundOf(file, kind);
    const std::string before(reinterpret_cast<const char *>(input.Rest()), input.Size());
    SoundBytes bytes(before);
    const std::optional<std::string> coded = bytes.Find(kind);
    std::vector<std::string> warnings;
    try {
        if (replace)
            Replace(file, kind, chapters);
        else
            EditTags(file.Path(), kind, edit, kEnd, "file", warnings);
    } catch (const Failure &) {
        return 0;
    }
    Texts texts;
    const bool known = Read(file, kind, texts);
    // A broken size can take the tags at the end for sound. Where damage ends the sound, readers look for
    // more in what follows; comments that are broken hide all frames from libFLAC, and which frames it finds
    // after damaged ones depends on their places.
    const bool damaged = !sound || !sound->whole;
    const bool placesMatter = damaged && (kind >= TagKind::WavPack || kind == TagKind::Flac);
    if (coded && (kind == TagKind::Mp4 || kind == TagKind::Flac || !damaged))
        Require(SoundBytes(file.Bytes()).Find(kind) == coded);
    if (!sound || kind == TagKind::None || bytes.IsOutside() || placesMatter ||
        (kind == TagKind::Aiff && HasNoRoomForSamples(input.Rest(), input.Size())))
        return 0;
    const std::optional<SoundSum> after = SoundOf(file, kind);
    if (!after && kind == TagKind::Aiff && HasMoreThanItsForm(file.Bytes()))
        return 0;
    Require(after == sound);
    if (known && !replace && !edit.texts.empty() && edit.texts[0].first == "TITLE" && warnings.empty())
        Require(Holds(texts, "TITLE", "A title"));
    return 0;
}
