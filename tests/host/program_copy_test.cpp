// program_copy_test.cpp: audio that stays as it was coded, in copies and in place.
#include "tests/host/failures.h"

#include <attachedpictureframe.h>
#include <filesystem>
#include <flacfile.h>
#include <id3v1tag.h>
#include <id3v2header.h>
#include <id3v2tag.h>
#include <mpegfile.h>
#include <popularimeterframe.h>
#include <tpropertymap.h>

namespace tonekit::host::test {
namespace {

class Copies : public Failures {
protected:
    // Makes good.EXTENSION out of noise.
    std::string Make(const std::string &extension)
    {
        const std::string name = folder / ("good." + extension);
        EXPECT_EQ(RunHost({folder / "good.wav", name}).status, 0);
        return name;
    }

    std::string Run(std::vector<std::string> arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }
};

// What follows the ID3v2 tag of an MP3 file.
std::string Frames(const std::string &name)
{
    const std::string file = ReadText(name);
    if (!file.starts_with("ID3"))
        return file;
    size_t size = 10;
    for (size_t i = 0; i < 4; ++i)
        size += static_cast<size_t>(file[6 + i]) << (21 - 7 * i);
    return file.substr(size);
}

std::string TitleOf(const std::string &name)
{
    const std::string info = RunHost({"--info", name}).out;
    const size_t start = info.find("TITLE       ");
    return start == std::string::npos ? "" : info.substr(start + 12, info.find('\n', start) - start - 12);
}

// A FLAC file with a seek table of one point: frame 0 at place 0, with 4096 samples.
std::string AddSeekTable(const std::string &name)
{
    const std::string table =
        std::string("\x03\x00\x00\x12", 4) + std::string(16, '\0') + std::string("\x10\x00", 2);
    const std::string file = ReadText(name);
    WriteText(name, file.substr(0, 42) + table + file.substr(42));
    return table;
}

TEST_F(Copies, OfMp3KeepEveryFrame)
{
    const std::string mp3 = folder / "a.mp3";
    Run({"--bitrate", "320k", folder / "good.wav", mp3});
    const std::string out = Run({"--set", "TITLE=New", mp3, folder / "b.mp3"});
    EXPECT_NE(out.find("audio unchanged"), std::string::npos) << out;
    EXPECT_EQ(Frames(folder / "b.mp3"), Frames(mp3));
    EXPECT_EQ(TitleOf(folder / "b.mp3"), "New");
    Run({"--set", "TITLE=Newer", "-r", "44.1k", folder / "b.mp3", folder / "c.mp3"});
    EXPECT_EQ(Frames(folder / "c.mp3"), Frames(mp3));
    EXPECT_EQ(TitleOf(folder / "c.mp3"), "Newer");
}

TEST_F(Copies, OfAllTypesAreBytesOfTheInputIfNothingIsAsked)
{
    for (const char *type : {"flac", "mp3", "ogg", "opus", "w64", "rf64", "caf", "aiff", "au"}) {
        const std::string in = Make(type);
        const std::string out = folder / (std::string("copy.") + type);
        EXPECT_NE(Run({"--json", in, out}).find("\"copied\": true"), std::string::npos) << type;
        EXPECT_EQ(ReadText(out), ReadText(in)) << type;
    }
}

TEST_F(Copies, AreNotMadeWhereTheCoderIsToldOtherwise)
{
    const std::string mp3 = folder / "good.mp3";
    Run({"--gain", "-12", folder / "good.wav", mp3});
    EXPECT_NE(Run({"--json", "--bitrate", "64k", mp3, folder / "b.mp3"}).find("\"copied\": false"),
              std::string::npos);
    EXPECT_LT(ReadText(folder / "b.mp3").size(), ReadText(mp3).size());
    EXPECT_NE(Run({"--json", "-c", "1", mp3, folder / "b.mp3"}).find("\"copied\": false"), std::string::npos);
    EXPECT_NE(Run({"--json", "-t", "wav", mp3, folder / "b.wav"}).find("\"copied\": false"),
              std::string::npos);
}

TEST_F(Copies, OfFlacKeepTheSeekTable)
{
    const std::string flac = Make("flac");
    const std::string table = AddSeekTable(flac);
    Run({"--set", "TITLE=New", flac, folder / "b.flac"});
    EXPECT_NE(ReadText(folder / "b.flac").find(table), std::string::npos);
    Run({"--in-place", "--set", "TITLE=Newest", folder / "b.flac"});
    EXPECT_NE(ReadText(folder / "b.flac").find(table), std::string::npos);
    EXPECT_EQ(ReadSound(folder / "b.flac").samples, ReadSound(folder / "good.wav").samples);
    EXPECT_EQ(TitleOf(folder / "b.flac"), "Newest");
}

TEST_F(Copies, MeasureAndDigestWithoutCodingAnew)
{
    const std::string mp3 = Make("mp3");
    const std::string out = Run({"--replaygain", "--hash", "sha256", mp3, folder / "b.mp3"});
    EXPECT_NE(out.find("ReplayGain "), std::string::npos) << out;
    EXPECT_NE(out.find("sha256 "), std::string::npos) << out;
    EXPECT_EQ(Frames(folder / "b.mp3"), Frames(mp3));
    EXPECT_NE(RunHost({"--info", folder / "b.mp3"}).out.find("REPLAYGAIN_TRACK_GAIN"), std::string::npos);
}

TEST_F(Copies, LeaveAllTagsBehindIfAsked)
{
    WriteText(folder / "c.txt", "0 First\n0:00.5 Second\n");
    WriteText(folder / "p.png", std::string("\x89PNG\r\n\x1A\n", 8) + "picture");
    for (const char *type : {"flac", "mp3", "ogg", "opus", "aiff"}) {
        const std::string in = folder / (std::string("tagged.") + type);
        Run({"--set", "TITLE=Old", "--chapters", folder / "c.txt", "--cover", folder / "p.png",
             folder / "good.wav", in});
        const std::string out = folder / (std::string("bare.") + type);
        Run({"--no-tags", in, out});
        const std::string info = RunHost({"--info", out}).out;
        EXPECT_EQ(info.find("Old"), std::string::npos) << info;
        EXPECT_EQ(info.find("Chapter"), std::string::npos) << info;
        EXPECT_EQ(info.find("Picture"), std::string::npos) << info;
    }
}

TEST_F(Copies, TakeNewChaptersAndCoversInThePlaceOfTheOld)
{
    WriteText(folder / "old.txt", "0 First\n0:00.5 Second\n0:00.7 Third\n");
    WriteText(folder / "new.txt", "0 Only\n");
    const std::string png = std::string("\x89PNG\r\n\x1A\n", 8);
    WriteText(folder / "old.png", png + "old");
    WriteText(folder / "new.png", png + "new picture");
    for (const char *type : {"flac", "mp3", "ogg", "opus", "aiff"}) {
        const std::string in = folder / (std::string("tagged.") + type);
        Run({"--set", "ARTIST=Kept", "--chapters", folder / "old.txt", "--cover", folder / "old.png",
             folder / "good.wav", in});
        Run({"--in-place", "--chapters", folder / "new.txt", "--cover", folder / "new.png", in});
        const std::string info = RunHost({"--info", in}).out;
        EXPECT_NE(info.find("ARTIST      Kept"), std::string::npos) << info;
        EXPECT_NE(info.find("Chapter     00:00:00.000 Only"), std::string::npos) << info;
        EXPECT_EQ(info.find("Second"), std::string::npos) << info;
        EXPECT_EQ(info.find("11 bytes"), std::string::npos) << info;
        EXPECT_NE(info.find("front cover, image/png, 19 bytes"), std::string::npos) << info;
    }
}

TEST_F(Copies, AloneKeepWhatTheCoderSaysOfItself)
{
    const std::string mp3 = folder / "a.mp3";
    Run({"--gain", "-12", "--set", "LENGTH=1134", "--set", "ENCODING=coder 1.0", "--set", "ENCODEDBY=Someone",
         folder / "good.wav", mp3});
    Run({"--set", "TITLE=New", mp3, folder / "b.mp3"});
    Run({mp3, folder / "b.flac"});
    const std::string copied = RunHost({"--info", folder / "b.mp3"}).out;
    const std::string coded = RunHost({"--info", folder / "b.flac"}).out;
    EXPECT_NE(copied.find("LENGTH      1134\n"), std::string::npos) << copied;
    EXPECT_NE(copied.find("ENCODING    coder 1.0\n"), std::string::npos) << copied;
    EXPECT_EQ(coded.find("LENGTH      "), std::string::npos) << coded;
    EXPECT_EQ(coded.find("ENCODING"), std::string::npos) << coded;
    EXPECT_NE(coded.find("ENCODEDBY   Someone\n"), std::string::npos) << coded;
}

TEST_F(Copies, KeepDetailsOfTagsThatNoOptionNames)
{
    const std::string mp3 = Make("mp3");
    {
        TagLib::MPEG::File file(mp3.c_str());
        auto *rating = new TagLib::ID3v2::PopularimeterFrame;
        rating->setRating(196);
        file.ID3v2Tag(true)->addFrame(rating);
        auto *picture = new TagLib::ID3v2::AttachedPictureFrame;
        picture->setDescription("the sleeve");
        picture->setMimeType("image/png");
        picture->setPicture("data");
        file.ID3v2Tag()->addFrame(picture);
        file.ID3v1Tag(true)->setTitle("Old");
        file.save(TagLib::MPEG::File::ID3v1 | TagLib::MPEG::File::ID3v2, TagLib::File::StripNone,
                  TagLib::ID3v2::v3);
    }
    Run({"--in-place", "--set", "TITLE=New", mp3});
    TagLib::MPEG::File file(mp3.c_str());
    ASSERT_TRUE(file.hasID3v2Tag());
    EXPECT_EQ(file.ID3v2Tag()->header()->majorVersion(), 3u);
    EXPECT_EQ(file.ID3v2Tag()->title(), "New");
    ASSERT_TRUE(file.hasID3v1Tag());
    EXPECT_EQ(file.ID3v1Tag()->title(), "New");
    EXPECT_EQ(file.ID3v2Tag()->frameList("POPM").size(), 1u);
    const TagLib::ID3v2::FrameList pictures = file.ID3v2Tag()->frameList("APIC");
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(static_cast<TagLib::ID3v2::AttachedPictureFrame *>(pictures.front())->description(),
              "the sleeve");
}

TEST_F(Copies, InPlaceKeepAllBytesOfTheAudio)
{
    Sound sound = Noise(SF_FORMAT_WAV | SF_FORMAT_ALAW, 8000, 1, 4000);
    WriteSound(folder / "phone.wav", sound);
    const std::string before = ReadText(folder / "phone.wav");
    Run({"--in-place", "--set", "TITLE=Call", folder / "phone.wav"});
    EXPECT_EQ(TitleOf(folder / "phone.wav"), "Call");
    EXPECT_NE(ReadText(folder / "phone.wav").find(before.substr(before.find("data"), 4000)),
              std::string::npos);

    const std::string mp3 = Make("mp3");
    const std::string frames = Frames(mp3);
    Run({"--in-place", "--set", "TITLE=" + std::string(5000, 'x'), mp3});
    EXPECT_EQ(Frames(mp3), frames);
    Run({"--in-place", "--replaygain", "-j", "2", mp3, folder / "phone.wav"});
    EXPECT_EQ(Frames(mp3), frames);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"good.mp3", "good.wav", "old.wav", "phone.wav"}));
}

TEST_F(Copies, PicturesOfFlacHaveTheirSizesAndDepths)
{
    // The header of a PNG of 3 by 2 pixels of 8 bits with transparency, and that of a GIF of 5 by 4 pixels in
    // 16 colours.
    WriteText(folder / "p.png",
              std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x02\x08\x06\0\0\0", 29));
    WriteText(folder / "p.gif", std::string("GIF89a\x05\0\x04\0\xF3\0\0", 13));
    const auto picture = [&](const char *cover) {
        Run({"--cover", folder / cover, folder / "good.wav", folder / "a.flac"});
        TagLib::FLAC::File file((folder / "a.flac").c_str());
        const TagLib::FLAC::Picture *made = file.pictureList().front();
        return std::vector<int>{made->width(), made->height(), made->colorDepth(), made->numColors()};
    };
    EXPECT_EQ(picture("p.png"), (std::vector<int>{3, 2, 32, 0}));
    EXPECT_EQ(picture("p.gif"), (std::vector<int>{5, 4, 4, 16}));
}

TEST_F(Copies, InPlaceThatMakeNoSenseAreWrongUsage)
{
    const std::string wav = folder / "good.wav";
    ExpectFailure(2, "leave --rate out", {"--in-place", "--set", "A=b", "--rate", "48000", wav});
    ExpectFailure(2, "leave --bitrate out", {"--bitrate", "64k", "--in-place", "--set", "A=b", wav});
    ExpectFailure(2, "--in-place needs something to change", {"--in-place", wav});
    ExpectFailure(2, "--in-place needs a file", {"--in-place", "--set", "A=b"});
    ExpectFailure(2, "is named twice", {"--in-place", "--set", "A=b", wav, wav});
}

TEST_F(Copies, InPlaceThatFailLeaveTheFileAsItWas)
{
    ExpectFailure(1, "not an audio file", {"--in-place", "--set", "A=b", folder / "old.wav"});
    ExpectFailure(1, "no such file", {"--in-place", "--set", "A=b", folder / "none.wav"});
    const std::string w64 = Make("w64");
    const std::string before = ReadText(w64);
    ExpectFailure(1, "can't hold tags", {"--in-place", "--set", "A=b", w64});
    EXPECT_EQ(ReadText(w64), before);
}

} // namespace
} // namespace tonekit::host::test
