// program_loudness_test.cpp: ReplayGain of tracks and albums in whole files.
#include "tests/host/failures.h"

#include <cstdlib>
#include <filesystem>
#include <set>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

// Stereo sines of 997 Hz, whose loudness in LUFS is their level in dB: a sine of amplitude a on both channels
// has 20 log10(a). ReplayGain is -18 minus that.
class LoudnessOfTheProgram : public Failures {
protected:
    void MakeTone(const std::string &name, double amplitude, size_t seconds = 4)
    {
        fs::create_directories(fs::path(folder / name).parent_path());
        WriteSound(folder / name, Tone(kWav16, 48000, 2, 48000 * seconds, 997, amplitude));
    }

    void Run(std::vector<std::string> arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }

    // The number in a tag; -999 without the tag.
    double Tag(const std::string &name, const std::string &key)
    {
        const std::string info = RunHost({"--info", folder / name}).out;
        const size_t place = info.find(key);
        return place == std::string::npos ? -999 : std::atof(info.c_str() + place + key.size());
    }
};

TEST_F(LoudnessOfTheProgram, AlbumsAreThoseOfFolders)
{
    MakeTone("in/one/a.wav", 0.5);
    MakeTone("in/one/b.wav", 0.5);
    MakeTone("in/two/c.wav", 0.05);
    Run({"--replaygain", "album", "-t", "flac", folder / "in", folder / "out"});
    for (const char *name : {"out/one/a.flac", "out/one/b.flac"}) {
        EXPECT_NEAR(Tag(name, "REPLAYGAIN_TRACK_GAIN"), -18 + 6.02, 0.1) << name;
        EXPECT_NEAR(Tag(name, "REPLAYGAIN_ALBUM_GAIN"), -18 + 6.02, 0.1) << name;
        EXPECT_NEAR(Tag(name, "REPLAYGAIN_ALBUM_PEAK"), 0.5, 0.001) << name;
    }
    EXPECT_NEAR(Tag("out/two/c.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 26.02, 0.1);
    EXPECT_NEAR(Tag("out/two/c.flac", "REPLAYGAIN_ALBUM_PEAK"), 0.05, 0.001);
}

// Of two tones of equal length, 20 dB apart, the softer is below the gate of 10 dB under the mean of all.
TEST_F(LoudnessOfTheProgram, OfAnAlbumIsGatedOverAllItsTracks)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.05);
    Run({"--replaygain", "album", "-t", "flac", folder / "in", folder / "out"});
    for (const char *name : {"out/a.flac", "out/b.flac"}) {
        EXPECT_NEAR(Tag(name, "REPLAYGAIN_ALBUM_GAIN"), -18 + 6.02, 0.1) << name;
        EXPECT_NEAR(Tag(name, "REPLAYGAIN_ALBUM_PEAK"), 0.5, 0.001) << name;
    }
    EXPECT_NEAR(Tag("out/b.flac", "REPLAYGAIN_TRACK_GAIN"), -18 + 26.02, 0.1);
}

// Of tones 6 dB apart both count: the mean of the powers 0.25 and 0.0625 is 0.15625, -8.06 dB.
TEST_F(LoudnessOfTheProgram, OfAnAlbumIsTheMeanOfPowers)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.25);
    Run({"--replaygain=album", "-j", "2", "-t", "flac", folder / "in", folder / "out"});
    EXPECT_NEAR(Tag("out/a.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
    EXPECT_NEAR(Tag("out/b.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
}

TEST_F(LoudnessOfTheProgram, AlbumsOfOneTagAndArtistAreOneInAllFolders)
{
    MakeTone("in/one/a.wav", 0.5);
    MakeTone("in/two/b.wav", 0.25);
    MakeTone("in/two/c.wav", 0.5);
    Run({"--in-place", "--set", "ALBUM=Hits", "--set", "ALBUMARTIST=Trio", folder / "in/one/a.wav",
         folder / "in/two/b.wav"});
    Run({"--in-place", "--set", "ALBUM=Hits", folder / "in/two/c.wav"});
    Run({"--replaygain", "album", "-t", "flac", folder / "in", folder / "out"});
    EXPECT_NEAR(Tag("out/one/a.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
    EXPECT_NEAR(Tag("out/two/b.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
    EXPECT_NEAR(Tag("out/two/c.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 6.02, 0.1);
}

TEST_F(LoudnessOfTheProgram, IsAWholeNumberOf256thsToAnotherReferenceInOpus)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.25);
    Run({"--replaygain", "album", "-t", "opus", folder / "in", folder / "out"});
    EXPECT_NEAR(Tag("out/a.opus", "R128_TRACK_GAIN"), (-23 + 6.02) * 256, 30);
    EXPECT_NEAR(Tag("out/a.opus", "R128_ALBUM_GAIN"), (-23 + 8.06) * 256, 30);
    EXPECT_EQ(RunHost({"--info", folder / "out/a.opus"}).out.find("REPLAYGAIN"), std::string::npos);
    // A second measurement takes the place of the first.
    Run({"--in-place", "--replaygain", folder / "out/b.opus"});
    EXPECT_NEAR(Tag("out/b.opus", "R128_TRACK_GAIN"), (-23 + 12.04) * 256, 30);
    EXPECT_NEAR(Tag("out/b.opus", "R128_ALBUM_GAIN"), (-23 + 8.06) * 256, 30);
}

TEST_F(LoudnessOfTheProgram, IsKeptInTheFormOfTheOtherType)
{
    MakeTone("a.wav", 0.5);
    Run({"--set", "REPLAYGAIN_TRACK_GAIN=-1.50 dB", "--set", "REPLAYGAIN_TRACK_PEAK=0.5", "--set",
         "replaygain_album_gain=+2 dB", "--set", "REPLAYGAIN_REFERENCE_LOUDNESS=89.0 dB", folder / "a.wav",
         folder / "a.flac"});
    Run({folder / "a.flac", folder / "a.opus"});
    const std::string opus = RunHost({"--info", folder / "a.opus"}).out;
    EXPECT_EQ(Tag("a.opus", "R128_TRACK_GAIN"), (-1.5 - 5) * 256);
    EXPECT_EQ(Tag("a.opus", "R128_ALBUM_GAIN"), (2 - 5) * 256);
    EXPECT_EQ(opus.find("REPLAYGAIN"), std::string::npos) << opus;

    Run({folder / "a.opus", folder / "b.flac"});
    const std::string flac = RunHost({"--info", folder / "b.flac"}).out;
    EXPECT_NE(flac.find("REPLAYGAIN_TRACK_GAIN -1.50 dB\n"), std::string::npos) << flac;
    EXPECT_NE(flac.find("REPLAYGAIN_ALBUM_GAIN 2.00 dB\n"), std::string::npos) << flac;
    EXPECT_EQ(flac.find("R128"), std::string::npos) << flac;

    // Louder by 3 dB, and what an option sets goes before.
    Run({"--gain", "3", folder / "a.opus", folder / "c.mp3"});
    EXPECT_EQ(Tag("c.mp3", "REPLAYGAIN_TRACK_GAIN"), -4.5);
    Run({"--set", "R128_TRACK_GAIN=7", folder / "a.flac", folder / "c.opus"});
    EXPECT_EQ(Tag("c.opus", "R128_TRACK_GAIN"), 7);
    Run({"--set", "REPLAYGAIN_TRACK_GAIN=", folder / "a.opus", folder / "d.flac"});
    EXPECT_EQ(Tag("d.flac", "REPLAYGAIN_TRACK_GAIN"), -999);
    EXPECT_EQ(Tag("d.flac", "REPLAYGAIN_ALBUM_GAIN"), 2);
}

TEST_F(LoudnessOfTheProgram, OfAlbumsIsWrittenInPlaceToo)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.25);
    Run({"-t", "mp3", folder / "in", folder / "out"});
    const Outcome outcome = RunHost({"--in-place", "--json", "--replaygain", "album", folder / "out"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("\"albumReplaygain\": {"), std::string::npos);
    EXPECT_NEAR(Tag("out/a.mp3", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.2);
}

TEST_F(LoudnessOfTheProgram, OfAnAlbumDoesWithoutFilesThatFail)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.25);
    WriteText(folder / "in/c.wav", "not audio");
    const Outcome outcome = RunHost({"--replaygain", "album", "-t", "flac", folder / "in", folder / "out"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NEAR(Tag("out/b.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "out"), fs::directory_iterator()), 2);
}

TEST_F(LoudnessOfTheProgram, OfAnAlbumIsMeasuredOverFilesThatAreUpToDateToo)
{
    MakeTone("in/a.wav", 0.5);
    MakeTone("in/b.wav", 0.25);
    Run({"-t", "flac", folder / "in", folder / "out"});
    fs::remove(folder / "out/b.flac");
    Run({"--update", "--replaygain", "album", "-t", "flac", folder / "in", folder / "out"});
    EXPECT_NEAR(Tag("out/a.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
    EXPECT_NEAR(Tag("out/b.flac", "REPLAYGAIN_ALBUM_GAIN"), -18 + 8.06, 0.1);
}

TEST_F(LoudnessOfTheProgram, WordsOtherThanAlbumAndTrackAreInputs)
{
    MakeTone("a.wav", 0.5);
    Run({"--replaygain", folder / "a.wav", folder / "b.flac"});
    EXPECT_EQ(Tag("b.flac", "REPLAYGAIN_ALBUM_GAIN"), -999);
    ExpectFailure(2, "--replaygain must be one of: track, album",
                  {"--replaygain=disc", folder / "a.wav", folder / "x"});
}

} // namespace
} // namespace tonekit::host::test
