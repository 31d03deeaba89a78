// program_ape_tags_test.cpp: tags of WavPack and Monkey's Audio, changed in place.
#include "tests/host/coded_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <apefile.h>
#include <apetag.h>
#include <gtest/gtest.h>
#include <id3v1tag.h>
#include <tpropertymap.h>
#include <wavpackfile.h>

namespace tonekit::host::test {
namespace {

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

TagLib::ByteVector PictureItem(const std::string &name, const std::string &bytes)
{
    const std::string all = name + '\0' + bytes;
    return TagLib::ByteVector(all.data(), static_cast<unsigned int>(all.size()));
}

std::string Png(char last)
{
    return std::string("\x89PNG\r\n\x1A\n") + last;
}

class ApeTags : public testing::Test {
protected:
    void SetUp() override
    {
        WriteCoded(wavpack, Noise(kWav16, 44100, 2, 9001), {"wv", "wavpack", 16});
        // libavformat's own tag goes: the audio alone is left.
        TagLib::WavPack::File file(wavpack.c_str(), false);
        file.strip();
        file.save();
    }

    void SetUpTags()
    {
        TagLib::WavPack::File file(wavpack.c_str(), false);
        TagLib::APE::Tag &tag = *file.APETag(true);
        tag.addValue("Title", "Old");
        tag.addValue("Artist", "One");
        tag.addValue("Artist", "Two", false);
        tag.addValue("Track", "3/9");
        tag.addValue("My Own Key", "a=b");
        tag.setData("Private", TagLib::ByteVector("\1\2\0\3", 4));
        tag.setData("Cover Art (Front)", PictureItem("front.png", Png('f')));
        tag.setData("Cover Art (Back)", PictureItem("back.png", Png('b')));
        ASSERT_TRUE(file.save());
    }

    void Run(std::vector<std::string> arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    std::string Info(const std::string &name) { return RunHost({"--info", name}).out; }

    TemporaryFolder folder;
    std::string wavpack = folder / "a.wv";
};

TEST_F(ApeTags, ChangeInPlaceAndKeepAllElse)
{
    const std::string audio = ReadText(wavpack);
    SetUpTags();
    Run({"--in-place", "--set", "TITLE=N\u00e9w", "--set", "TRACKNUMBER=4", "--set", "COMPOSER=Third",
         wavpack});

    EXPECT_TRUE(ReadText(wavpack).starts_with(audio));
    TagLib::WavPack::File file(wavpack.c_str(), false);
    const TagLib::APE::ItemListMap &items = file.APETag()->itemListMap();
    EXPECT_EQ(items["TITLE"].toString().to8Bit(true), "N\u00e9w");
    EXPECT_EQ(items["TRACK"].toString(), "4");
    EXPECT_EQ(items["COMPOSER"].toString(), "Third");
    EXPECT_EQ(items["ARTIST"].values().toString("|"), "One|Two");
    EXPECT_EQ(items["MY OWN KEY"].toString(), "a=b");
    EXPECT_EQ(items["PRIVATE"].binaryData(), TagLib::ByteVector("\1\2\0\3", 4));
    EXPECT_EQ(items["COVER ART (FRONT)"].binaryData(), PictureItem("front.png", Png('f')));
    EXPECT_EQ(items["COVER ART (BACK)"].binaryData(), PictureItem("back.png", Png('b')));
    EXPECT_EQ(items.size(), 8U);
    EXPECT_FALSE(file.hasID3v1Tag());
}

TEST_F(ApeTags, AreMadeWhereThereAreNone)
{
    const std::string audio = ReadText(wavpack);
    Run({"--in-place", "--set", "ALBUMARTIST=Band", wavpack});
    EXPECT_TRUE(ReadText(wavpack).starts_with(audio));
    EXPECT_NE(Info(wavpack).find("ALBUMARTIST Band\n"), std::string::npos);
}

TEST_F(ApeTags, OfTheOlderFormChangeToo)
{
    {
        TagLib::WavPack::File file(wavpack.c_str(), false);
        file.ID3v1Tag(true)->setTitle("Old");
        file.APETag(true)->setTitle("Old");
        file.save();
    }
    Run({"--in-place", "--set", "TITLE=New", wavpack});
    TagLib::WavPack::File file(wavpack.c_str(), false);
    ASSERT_TRUE(file.hasID3v1Tag());
    EXPECT_EQ(file.ID3v1Tag()->title(), "New");
    EXPECT_EQ(file.APETag()->title(), "New");
}

TEST_F(ApeTags, TakeAFrontCoverInThePlaceOfTheOldOne)
{
    SetUpTags();
    WriteText(folder / "new.png", Png('n'));
    Run({"--in-place", "--cover", folder / "new.png", wavpack});
    {
        TagLib::WavPack::File file(wavpack.c_str(), false);
        const TagLib::APE::ItemListMap &items = file.APETag()->itemListMap();
        EXPECT_EQ(items["COVER ART (FRONT)"].binaryData(), PictureItem("Cover Art (Front).png", Png('n')));
        EXPECT_EQ(items["COVER ART (BACK)"].binaryData(), PictureItem("back.png", Png('b')));
        EXPECT_EQ(items["TITLE"].toString(), "Old");
    }
    Run({"--extract-cover", folder / "out.png", wavpack});
    EXPECT_EQ(ReadText(folder / "out.png"), Png('n'));
}

TEST_F(ApeTags, BringTheirPicturesWithTheirTypesIntoOtherFiles)
{
    SetUpTags();
    Run({"-q", wavpack, folder / "a.flac"});
    const std::string info = RunHost({"--info", "--json", folder / "a.flac"}).out;
    EXPECT_NE(info.find("\"type\": \"front cover\""), std::string::npos) << info;
    EXPECT_NE(info.find("\"type\": \"back cover\""), std::string::npos) << info;
    EXPECT_NE(Info(folder / "a.flac").find("MY OWN KEY"), std::string::npos);
}

TEST_F(ApeTags, KeepChaptersAsTexts)
{
    WriteText(folder / "chapters.txt", "0:00 First\n0:00.125 Second\n");
    Run({"--in-place", "--chapters", folder / "chapters.txt", wavpack});
    TagLib::WavPack::File file(wavpack.c_str(), false);
    EXPECT_EQ(file.APETag()->itemListMap()["CHAPTER002"].toString(), "00:00:00.125");
    EXPECT_EQ(file.APETag()->itemListMap()["CHAPTER002NAME"].toString(), "Second");
    EXPECT_NE(Info(wavpack).find("00:00:00.125 Second"), std::string::npos) << Info(wavpack);
}

TEST_F(ApeTags, GoWhereNoneAreWanted)
{
    const std::string audio = ReadText(wavpack);
    SetUpTags();
    Run({"--in-place", "--no-tags", wavpack});
    EXPECT_EQ(ReadText(wavpack), audio);
}

TEST_F(ApeTags, SayWhichKeyTheyCanNotHold)
{
    SetUpTags();
    const Outcome outcome = RunHost({"--in-place", "--set", "OGGS=No", "--set", "TITLE=Yes", wavpack});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("the tag OGGS can't be stored in this type of file"), std::string::npos)
        << outcome.err;
    EXPECT_NE(Info(wavpack).find("TITLE       Yes\n"), std::string::npos);
}

TEST_F(ApeTags, TakeReplayGain)
{
    Run({"--in-place", "--replaygain", "album", wavpack});
    const std::string info = Info(wavpack);
    for (const char *key : {"REPLAYGAIN_TRACK_PEAK", "REPLAYGAIN_ALBUM_PEAK"})
        EXPECT_NE(info.find(key), std::string::npos) << info;
}

TEST_F(ApeTags, OfMonkeysAudioChangeInPlace)
{
    const std::string name = folder / "a.ape";
    WriteText(name, SilentApe());
    Run({"--in-place", "--set", "TITLE=New", "--set", "DATE=1999", name});
    EXPECT_TRUE(ReadText(name).starts_with(SilentApe()));
    {
        TagLib::APE::File file(name.c_str(), false);
        EXPECT_EQ(file.APETag()->itemListMap()["TITLE"].toString(), "New");
        EXPECT_EQ(file.APETag()->itemListMap()["YEAR"].toString(), "1999");
    }
    Run({"--in-place", "--set", "TITLE=", "--set", "DATE=", name});
    EXPECT_EQ(ReadText(name), SilentApe());
}

} // namespace
} // namespace tonekit::host::test
