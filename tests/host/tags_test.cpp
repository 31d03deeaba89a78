// tags_test.cpp: tags go through every kind of file and come back.
#include "host/system/failure.h"
#include "host/tags/tag_editor.h"
#include "host/tags/tag_file.h"
#include "host/tags/tag_reader.h"
#include "host/tags/tag_transfer.h"
#include "host/tags/tag_writer.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <chapterframe.h>
#include <gtest/gtest.h>
#include <map>

namespace tonekit::host {
namespace {

using test::TemporaryFolder;
using Texts = std::map<std::string, std::string>;
using Lines = std::vector<std::string>;

struct FileForm {
    const char *extension;
    int format;
    TagKind kind;

    friend void PrintTo(const FileForm &form, std::ostream *out) { *out << form.extension; }
};

const FileForm kForms[] = {
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, TagKind::Wav},
    {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, TagKind::Aiff},
    {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, TagKind::Flac},
    {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, TagKind::Vorbis},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, TagKind::Opus},
    {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, TagKind::Mpeg},
};

const FileForm &FormOf(TagKind kind)
{
    return *std::find_if(std::begin(kForms), std::end(kForms),
                         [&](const FileForm &form) { return form.kind == kind; });
}

std::string MakeFile(const TemporaryFolder &folder, const FileForm &form, const std::string &stem = "file")
{
    const std::string name = folder / (stem + "." + form.extension);
    test::WriteSound(name, test::Tone(form.format, 48000, 2, 4800, 440));
    return name;
}

Texts TextsOf(const TagBlock *block)
{
    Texts texts;
    ForEachText(block, [&](const std::string &key, const std::string &value) { texts[key] = value; });
    return texts;
}

TagBlockPointer ReadBlock(const std::string &name, TagKind kind, Lines &warnings,
                          const TagChoice &choice = {})
{
    TagBlockPointer block = NewTagBlock();
    ReadTags(name, kind, choice, block.get(), warnings);
    return block;
}

constexpr uint64_t kMillisecond = 10'000;

// One of everything.
TagBlockPointer FullBlock()
{
    TagBlockPointer block = NewTagBlock();
    ID3Helper_AddStr(block.get(), "TITLE", "\u00dcber \u65e5\u672c \U0001F3B5");
    ID3Helper_AddStr(block.get(), "ARTIST", ("One" + std::string(1, kValueSeparator) + "Two").c_str());
    ID3Helper_AddStr(block.get(), "TRACKNUMBER", "3/12");
    ID3Helper_AddStr(block.get(), "REPLAYGAIN_TRACK_GAIN", "-6.50 dB");
    ID3Helper_AddStr(block.get(), "MY OWN KEY", "a=b");
    TagBlockFiller(block.get())
        .AddChapters({{0, "Start"}, {61'500 * kMillisecond, ""}, {123'250 * kMillisecond, "Ende \u2013 2"}});
    const uint8_t front[] = {0xFF, 0xD8, 0xFF, 0xE0, 0, 1, 2, 3, 4};
    const uint8_t back[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 9};
    ID3Helper_AddImage(block.get(), nullptr, kFrontCover, sizeof(front), front);
    ID3Helper_AddImage(block.get(), nullptr, 4, sizeof(back), back);
    return block;
}

class TagsOfEveryKind : public testing::TestWithParam<FileForm> {};

TEST_P(TagsOfEveryKind, ComeBackAsTheyWereWritten)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, GetParam());
    const TagBlockPointer block = FullBlock();
    Lines warnings;
    WriteTags(name, GetParam().kind, block.get(), 200'000 * kMillisecond, name, warnings);
    const TagBlockPointer read = ReadBlock(name, GetParam().kind, warnings);
    EXPECT_EQ(warnings, Lines{});
    EXPECT_EQ(TextsOf(read.get()), TextsOf(block.get()));

    const auto chapters = ChaptersOf(read.get());
    ASSERT_EQ(chapters.size(), 3u);
    EXPECT_EQ(chapters[0].position, 0u);
    EXPECT_EQ(chapters[0].name, "Start");
    EXPECT_EQ(chapters[1].position, 61'500 * kMillisecond);
    EXPECT_EQ(chapters[1].name, "");
    EXPECT_EQ(chapters[2].position, 123'250 * kMillisecond);
    EXPECT_EQ(chapters[2].name, "Ende \u2013 2");

    const auto pictures = PicturesOf(read.get());
    const auto expected = PicturesOf(block.get());
    ASSERT_EQ(pictures.size(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(pictures[i].type, expected[i].type);
        EXPECT_EQ(pictures[i].mime, expected[i].mime);
        EXPECT_EQ(pictures[i].data, expected[i].data);
    }
}

TEST_P(TagsOfEveryKind, LeaveTheAudioAlone)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, GetParam());
    const auto before = test::ReadSound(name).samples;
    Lines warnings;
    WriteTags(name, GetParam().kind, FullBlock().get(), 1, name, warnings);
    EXPECT_EQ(test::ReadSound(name).samples, before);
}

TEST_P(TagsOfEveryKind, AreReadByChoice)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, GetParam());
    Lines warnings;
    WriteTags(name, GetParam().kind, FullBlock().get(), 1, name, warnings);
    TagChoice choice;
    choice.text = [](const std::string &key) { return key == "TITLE"; };
    choice.chapters = false;
    choice.frontCover = false;
    const TagBlockPointer read = ReadBlock(name, GetParam().kind, warnings, choice);
    EXPECT_EQ(TextsOf(read.get()).size(), 1u);
    EXPECT_TRUE(ChaptersOf(read.get()).empty());
    ASSERT_EQ(PicturesOf(read.get()).size(), 1u);
    EXPECT_EQ(PicturesOf(read.get())[0].type, 4);
}

TEST_P(TagsOfEveryKind, ThatAreBrokenGiveAWarningOrNothing)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, GetParam());
    Lines warnings;
    WriteTags(name, GetParam().kind, FullBlock().get(), 1, name, warnings);
    const std::string whole = test::ReadText(name);
    for (size_t length = 0; length < whole.size(); length += whole.size() / 37 + 1) {
        std::string broken = whole;
        for (size_t i = length; i < std::min(length + 40, broken.size()); ++i)
            broken[i] = static_cast<char>(0xFF);
        test::WriteText(name, broken);
        const TagBlockPointer read = ReadBlock(name, GetParam().kind, warnings);
        ChaptersOf(read.get());
        PicturesOf(read.get());
    }
    EXPECT_EQ(test::ReadText(name).size(), whole.size());
}

INSTANTIATE_TEST_SUITE_P(Kinds, TagsOfEveryKind, testing::ValuesIn(kForms),
                         [](const auto &one) { return std::string(one.param.extension); });

TEST(Tags, ABrokenId3TagIsTold)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Mpeg));
    // A tag of 32 bytes that hold no frame.
    const std::string tag = std::string("ID3\x04\0\0\0\0\0\x20", 10) + std::string(32, '\xEE');
    test::WriteText(name, tag + test::ReadText(name));
    Lines warnings;
    ReadBlock(name, TagKind::Mpeg, warnings);
    EXPECT_EQ(warnings, Lines{name + ": the ID3 tag is broken and is left out"});
}

// An ID3 tag of frames.
std::string Id3(const std::string &frames)
{
    return std::string("ID3\x03\0\0\0\0\0", 9) + static_cast<char>(frames.size()) + frames;
}

// A frame of version 3; its flags may say that it is encrypted.
std::string Frame(const std::string &id, const std::string &content, bool encrypted)
{
    return id + std::string(3, '\0') + static_cast<char>(content.size()) + '\0' +
           (encrypted ? '\x40' : '\0') + content;
}

// TagLib writes such a frame without its flags: what nobody can read would become a text.
TEST(Tags, EncryptedFramesAreLeftOutWithAWarning)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Mpeg));
    test::WriteText(name,
                    Id3(Frame("TIT2", "\x01gggggg", true) + Frame("TPE1", std::string("\0One", 4), false) +
                        Frame("COMM", "\x01hhhhhh", true) + Frame("XYZ1", "abc", false)) +
                        test::ReadText(name));
    Lines warnings;
    const Lines expected = {name + ": encrypted frames of the ID3 tag are left out: TIT2 and 1 more"};
    EXPECT_EQ(TextsOf(ReadBlock(name, TagKind::Mpeg, warnings).get()), (Texts{{"ARTIST", "One"}}));
    EXPECT_EQ(warnings, expected);
    warnings.clear();
    TagEdit edit;
    edit.texts = {{"TITLE", "A title"}};
    EditTags(name, TagKind::Mpeg, edit, 1, name, warnings);
    EXPECT_EQ(warnings, expected);
    warnings.clear();
    EXPECT_EQ(TextsOf(ReadBlock(name, TagKind::Mpeg, warnings).get()),
              (Texts{{"ARTIST", "One"}, {"TITLE", "A title"}}));
    EXPECT_EQ(warnings, Lines{});
    const std::string after = test::ReadText(name);
    EXPECT_EQ(after.find("gggggg"), std::string::npos);
    EXPECT_NE(after.find("XYZ1"), std::string::npos); // what TagLib doesn't know stays
}

TEST(Tags, AnEncryptedFrameThatIsAloneIsNamed)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Mpeg));
    test::WriteText(name, Id3(Frame("APIC", "gggggg", true)) + test::ReadText(name));
    Lines warnings;
    ReadBlock(name, TagKind::Mpeg, warnings);
    EXPECT_EQ(warnings, Lines{name + ": encrypted frames of the ID3 tag are left out: APIC"});
}

// TagLib would look at the lengths of chunks where there are none, and say that all is done.
TEST(Tags, OfFilesThatBeginOtherwiseAreNeitherReadNorChanged)
{
    TemporaryFolder folder;
    const std::string plain = test::ReadText(MakeFile(folder, FormOf(TagKind::Wav), "plain"));
    const std::string aiff = test::ReadText(MakeFile(folder, FormOf(TagKind::Aiff)));
    const std::string tag = std::string("ID3\x03\0\0\0\0\0\x10TIT2\0\0\0\x06\0\0\0Title", 26);
    const std::string name = folder / "file";
    TagEdit edit;
    edit.texts = {{"TITLE", "New"}};
    for (const auto &[content, kind, start] : {std::tuple(tag + plain, TagKind::Wav, "RIFF"),
                                               std::tuple("RIFX" + plain.substr(4), TagKind::Wav, "RIFF"),
                                               std::tuple(tag + aiff, TagKind::Aiff, "FORM"),
                                               std::tuple(std::string("RI"), TagKind::Wav, "RIFF")}) {
        test::WriteText(name, content);
        const std::string begin = name + ": the file doesn't begin with " + start;
        Lines warnings;
        EXPECT_TRUE(TextsOf(ReadBlock(name, kind, warnings).get()).empty());
        EXPECT_EQ(warnings, Lines{begin + ": tags in it are not read"});
        try {
            EditTags(name, kind, edit, 1, name, warnings);
            ADD_FAILURE() << begin;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.what(), begin + ": its tags can't be changed");
        }
        EXPECT_EQ(test::ReadText(name), content);
    }
}

// TagLib looks for these letters up to what it takes for audio, and would replace as much as they say.
TEST(Tags, OfMp3FilesThatDontBeginWithThemAreReadButNotChanged)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Mpeg));
    const std::string content =
        "junk" + Id3(Frame("TPE1", std::string("\0One", 4), false)) + test::ReadText(name);
    test::WriteText(name, content);
    Lines warnings;
    EXPECT_EQ(TextsOf(ReadBlock(name, TagKind::Mpeg, warnings).get()), (Texts{{"ARTIST", "One"}}));
    EXPECT_EQ(warnings, Lines{});
    TagEdit edit;
    edit.texts = {{"TITLE", "New"}};
    try {
        EditTags(name, TagKind::Mpeg, edit, 1, name, warnings);
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.what(),
                  name + ": the file doesn't begin with its ID3 tag: its tags can't be changed");
    }
    EXPECT_EQ(test::ReadText(name), content);
}

TEST(Tags, WavFilesHaveTheOlderFormToo)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Wav));
    Lines warnings;
    WriteTags(name, TagKind::Wav, FullBlock().get(), 1, name, warnings);
    EXPECT_NE(test::ReadText(name).find("INAM"), std::string::npos);
}

TEST(Tags, ChapterTimesOfId3AreRoundedToMilliseconds)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Mpeg));
    const TagBlockPointer block = NewTagBlock();
    TagBlockFiller(block.get())
        .AddChapters({{4999, "A"}, {5000, "B"}, {2 * kMillisecond - 5001, "C"}, {19'995'000, "D"}});
    Lines warnings;
    WriteTags(name, TagKind::Mpeg, block.get(), 25'004'999, name, warnings);
    std::vector<uint64_t> positions;
    for (const Chapter &chapter : ChaptersOf(ReadBlock(name, TagKind::Mpeg, warnings).get()))
        positions.push_back(chapter.position);
    EXPECT_EQ(positions, (std::vector<uint64_t>{0, kMillisecond, kMillisecond, 2000 * kMillisecond}));
    // Each ends where the next begins, the last one with the audio.
    const TagFile file(name, TagKind::Mpeg, TagStream::Access::Read);
    std::vector<unsigned> ends;
    for (const TagLib::ID3v2::Frame *frame : file.id3()->frameList("CHAP"))
        ends.push_back(dynamic_cast<const TagLib::ID3v2::ChapterFrame *>(frame)->endTime());
    EXPECT_EQ(ends, (std::vector<unsigned>{1, 1, 2000, 2500}));
    EXPECT_EQ(warnings, Lines{});
}

TEST(Tags, AChapterWithoutATimeIsLeftOutWithAWarning)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Flac));
    {
        TagFile file(name, TagKind::Flac, TagStream::Access::Change);
        TagLib::PropertyMap properties;
        properties.insert("CHAPTER001", TagLib::String("sometime"));
        properties.insert("CHAPTER001NAME", TagLib::String("A"));
        file.SetProperties(properties);
        ASSERT_FALSE(file.Save());
    }
    Lines warnings;
    const TagBlockPointer read = ReadBlock(name, TagKind::Flac, warnings);
    EXPECT_EQ(warnings,
              Lines{name + ": the time of CHAPTER001 can't be understood; the chapter is left out"});
    EXPECT_TRUE(ChaptersOf(read.get()).empty());
}

// What the options ask for comes before what the input has.
TEST(TagTransferOrder, OptionsComeBeforeTheFile)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Flac));
    Lines warnings;
    WriteTags(name, TagKind::Flac, FullBlock().get(), 1, name, warnings);

    const Options options = ParseOptions({"--set", "title=New", "--set", "Artist=", "a", "b"});
    Extras extras;
    extras.cover = Picture{kFrontCover, "image/gif", {'G', 'I', 'F', '8'}};
    extras.chapters = std::vector<Chapter>{{5, "Only"}};
    TagTransfer transfer;
    transfer.input = name;
    transfer.inputKind = TagKind::Flac;
    transfer.loudness = Loudness{-7.126, 0.98765432, false};
    const TagBlockPointer block = GatherTags(options, extras, transfer, warnings);
    EXPECT_EQ(TextsOf(block.get()), (Texts{{"title", "New"},
                                           {"REPLAYGAIN_TRACK_GAIN", "-7.13 dB"},
                                           {"REPLAYGAIN_TRACK_PEAK", "0.987654"},
                                           {"TRACKNUMBER", "3/12"},
                                           {"MY OWN KEY", "a=b"}}));
    ASSERT_EQ(ChaptersOf(block.get()).size(), 1u);
    EXPECT_EQ(ChaptersOf(block.get())[0].name, "Only");
    const auto pictures = PicturesOf(block.get());
    ASSERT_EQ(pictures.size(), 2u);
    EXPECT_EQ(pictures[0].mime, "image/gif");
    EXPECT_EQ(pictures[1].type, 4);
}

TEST(TagTransferOrder, MeasurementsOfOtherSamplesStayBehind)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Flac));
    Lines warnings;
    WriteTags(name, TagKind::Flac, FullBlock().get(), 1, name, warnings);
    TagTransfer transfer;
    transfer.input = name;
    transfer.inputKind = TagKind::Flac;
    const Options options = ParseOptions({"a", "b"});
    EXPECT_TRUE(TextsOf(GatherTags(options, {}, transfer, warnings).get()).count("REPLAYGAIN_TRACK_GAIN"));
    transfer.loudnessChanged = true;
    EXPECT_FALSE(TextsOf(GatherTags(options, {}, transfer, warnings).get()).count("REPLAYGAIN_TRACK_GAIN"));
}

TEST(TagTransferOrder, NoTagsLeavesTheFilesTagsBehindOnly)
{
    TemporaryFolder folder;
    const std::string name = MakeFile(folder, FormOf(TagKind::Flac));
    Lines warnings;
    WriteTags(name, TagKind::Flac, FullBlock().get(), 1, name, warnings);
    TagTransfer transfer;
    transfer.input = name;
    transfer.inputKind = TagKind::Flac;
    const Options options = ParseOptions({"--no-tags", "--set", "A=b", "a", "b"});
    const TagBlockPointer block = GatherTags(options, {}, transfer, warnings);
    EXPECT_EQ(TextsOf(block.get()), (Texts{{"A", "b"}}));
    EXPECT_TRUE(PicturesOf(block.get()).empty());
}

} // namespace
} // namespace tonekit::host
