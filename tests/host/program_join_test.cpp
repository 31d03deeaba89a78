// program_join_test.cpp: several files become one, and cue sheets its chapters.
#include "tests/host/folders.h"

#include <array>
#include <chrono>

namespace tonekit::host::test {
namespace {

constexpr int kFlac16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16;

class Joining : public Folders {
protected:
    void SetUp() override { Failures::SetUp(); }

    Sound Write(const std::string &name, size_t frames, uint32_t seed, int format = kWav16)
    {
        const Sound sound = Noise(format, 44100, 2, frames, seed);
        WriteSound(folder / name, sound);
        return sound;
    }

    static Sound Concatenation(const std::vector<Sound> &sounds)
    {
        Sound all = sounds[0];
        for (size_t i = 1; i < sounds.size(); ++i)
            all.samples.insert(all.samples.end(), sounds[i].samples.begin(), sounds[i].samples.end());
        return all;
    }

    std::string Info(const std::string &name) { return RunHost({"--info", folder / name}).out; }

    void ExpectLines(const std::string &info, const std::vector<std::string> &lines)
    {
        for (const std::string &line : lines)
            EXPECT_NE(info.find(line + "\n"), std::string::npos) << line << "\n" << info;
    }
};

TEST_F(Joining, GivesTheSamplesOfAllAndAChapterAtTheFirstOfEach)
{
    // The last two are longer than the program reads at once, and than it converts without threads.
    const std::vector<Sound> sounds = {Write("c one.wav", 1000, 1), Write("b.flac", 12345, 2, kFlac16),
                                       Write("a.wav", 70000, 3), Write("last.x.wav", 100001, 4)};
    Run({"--join", folder / "c one.wav", folder / "b.flac", folder / "a.wav", folder / "last.x.wav",
         folder / "all.flac"});
    EXPECT_EQ(ReadSound(folder / "all.flac").samples, Concatenation(sounds).samples);
    // 1000, 13345 and 83345 frames
    ExpectLines(Info("all.flac"),
                {"  Chapter     00:00:00.000 c one", "  Chapter     00:00:00.0226757 b",
                 "  Chapter     00:00:00.3026077 a", "  Chapter     00:00:01.8899093 last.x"});
    Run({"--join", folder / "a.wav", folder / "a.wav", folder / "twice.wav"});
    EXPECT_EQ(ReadSound(folder / "twice.wav").samples, Concatenation({sounds[2], sounds[2]}).samples);
}

TEST_F(Joining, ConvertsTheWholeAsOneFile)
{
    const std::vector<Sound> sounds = {Write("a.wav", 40000, 1), Write("b.wav", 50001, 2)};
    WriteSound(folder / "whole.wav", Concatenation(sounds));
    const std::vector<std::vector<std::string>> ways = {
        {"-r", "48k", "-b", "24", "--gain", "-6"},
        {"-r", "32000", "-c", "1", "-b", "32f", "--replaygain", "album"},
        {"--normalize", "-20", "-b", "24"}};
    for (std::vector<std::string> way : ways) {
        way.insert(way.end(), {"-q", "--dither", "off", "--hash", "sha256"});
        std::vector<std::string> joined = {"--join", folder / "a.wav", folder / "b.wav", folder / "out.wav"};
        std::vector<std::string> whole = {folder / "whole.wav", folder / "out.wav"};
        joined.insert(joined.end(), way.begin(), way.end());
        whole.insert(whole.end(), way.begin(), way.end());
        const std::string digest = Run(joined).out;
        const Sound result = ReadSound(folder / "out.wav");
        EXPECT_EQ(digest.substr(0, 7), "sha256 ");
        EXPECT_EQ(digest, Run(whole).out);
        EXPECT_EQ(result.samples, ReadSound(folder / "out.wav").samples);
    }
    // The place of the second one is that in the music, at any rate: 40000 frames at 44100 Hz.
    Run({"--join", "-r", "96000", folder / "a.wav", folder / "b.wav", folder / "out.flac"});
    ExpectLines(Info("out.flac"), {"  Chapter     00:00:00.9070295 b"});
    // After a first pass, too.
    Run({"--join", "--normalize", "-20", folder / "a.wav", folder / "b.wav", folder / "out.flac"});
    ExpectLines(Info("out.flac"), {"  Chapter     00:00:00.000 a", "  Chapter     00:00:00.9070295 b"});
}

TEST_F(Joining, KeepsTheTagsThatAllHaveAlike)
{
    Write("a.wav", 1000, 1);
    Write("b.wav", 2000, 2);
    const std::vector<std::string> alike = {"ALBUM=Live",           "ARTIST=Trio",
                                            "TRACKTOTAL=2",         "ISRC=DEX010000001",
                                            "CUESHEET=same",        "REPLAYGAIN_ALBUM_GAIN=-3.00 dB",
                                            "R128_TRACK_GAIN=-512", "REPLAYGAIN_TRACK_GAIN=-2.00 dB"};
    const std::vector<std::string> ofATrack = {"TITLESORT",
                                               "SUBTITLE",
                                               "TOTALTRACKS",
                                               "LYRICS",
                                               "UNSYNCEDLYRICS",
                                               "MUSICBRAINZ_TRACKID",
                                               "MUSICBRAINZ_RELEASETRACKID",
                                               "ACOUSTID_ID",
                                               "ACOUSTID_FINGERPRINT"};
    const std::string picture = std::string("\x89PNG\r\n\x1A\n", 8) + "picture";
    WriteText(folder / "first.png", picture + " one");
    WriteText(folder / "second.png", picture + " two");
    for (const auto &[name, title, number, cover] :
         {std::array{"a", "One", "1", "first.png"}, std::array{"b", "Two", "2", "second.png"}}) {
        std::vector<std::string> arguments = {folder / (name + std::string(".wav")),
                                              folder / (name + std::string(".flac")),
                                              "--cover",
                                              folder / cover,
                                              "--set",
                                              std::string("TITLE=") + title,
                                              "--set",
                                              std::string("TRACKNUMBER=") + number,
                                              "--set",
                                              std::string("COMMENT=") + title,
                                              "--set",
                                              std::string(*name == 'a' ? "ONLYINA" : "ONLYINB") + "=this"};
        for (const std::string &tag : alike)
            arguments.insert(arguments.end(), {"--set", tag});
        for (const std::string &key : ofATrack)
            arguments.insert(arguments.end(), {"--set", key + "=same"});
        Run(arguments);
    }
    const std::string a = folder / "a.flac";
    const std::string b = folder / "b.flac";
    Run({"--join", a, b, folder / "all.flac"});
    const std::string info = Info("all.flac");
    ExpectLines(info, {"  TITLE       Live", "  ALBUM       Live", "  ARTIST      Trio",
                       "  Chapter     00:00:00.000 One", "  Chapter     00:00:00.0226757 Two"});
    EXPECT_NE(info.find("REPLAYGAIN_ALBUM_GAIN -3.00 dB"), std::string::npos) << info;
    for (const char *tag : {"TRACKTOTAL", "TRACKNUMBER", "ISRC", "CUESHEET", "REPLAYGAIN_TRACK", "R128_TRACK",
                            "COMMENT", "ONLYINA", "ONLYINB"})
        EXPECT_EQ(info.find(tag), std::string::npos) << tag << "\n" << info;
    for (const std::string &key : ofATrack)
        EXPECT_EQ(info.find("  " + key + " "), std::string::npos) << key << "\n" << info;
    EXPECT_NE(Info("a.flac").find("  ACOUSTID_ID same"), std::string::npos);
    Run({"--extract-cover", folder / "cover.png", folder / "all.flac"});
    EXPECT_EQ(ReadText(folder / "cover.png"), picture + " one");

    // What options say goes before it, and what is louder has other gains.
    WriteText(folder / "c.txt", "0 Mine\n");
    Run({"--join", a, b, "--set", "TITLE=Set", "--chapters", folder / "c.txt", "--cover",
         folder / "second.png", "--gain", "-1", "--replaygain", folder / "all.flac"});
    const std::string other = Info("all.flac");
    ExpectLines(other, {"  TITLE       Set", "  ALBUM       Live", "  Chapter     00:00:00.000 Mine"});
    EXPECT_NE(other.find("REPLAYGAIN_ALBUM_GAIN -2.00 dB"), std::string::npos) << other;
    EXPECT_EQ(other.find("Two"), std::string::npos) << other;
    Run({"--extract-cover", folder / "cover.png", folder / "all.flac"});
    EXPECT_EQ(ReadText(folder / "cover.png"), picture + " two");
    Run({"--join", "--no-tags", a, b, folder / "bare.flac"});
    EXPECT_EQ(Info("bare.flac").find("ALBUM"), std::string::npos) << Info("bare.flac");
    EXPECT_EQ(Info("bare.flac").find("Chapter"), std::string::npos) << Info("bare.flac");
}

TEST_F(Joining, DecodesAndCodesLossyFilesAsOne)
{
    Write("a.wav", 30000, 1);
    Write("b.wav", 20000, 2);
    Run({"--gain", "-12", folder / "a.wav", folder / "a.mp3"});
    Run({"--gain", "-12", folder / "b.wav", folder / "b.mp3"});
    Run({"-b", "32f", folder / "a.mp3", folder / "a.decoded.wav"});
    Run({"-b", "32f", folder / "b.mp3", folder / "b.decoded.wav"});
    Run({"--join", "-b", "32f", folder / "a.mp3", folder / "b.mp3", folder / "all.wav"});
    const Sound all = ReadSound(folder / "all.wav");
    EXPECT_EQ(all.Frames(), 50000u);
    EXPECT_EQ(
        all.samples,
        Concatenation({ReadSound(folder / "a.decoded.wav"), ReadSound(folder / "b.decoded.wav")}).samples);
    Run({"--join", folder / "a.mp3", folder / "b.mp3", folder / "all.mp3"});
    EXPECT_EQ(ReadSound(folder / "all.mp3").Frames(), 50000u);
    Run({"--join", folder / "a.mp3", folder / "b.mp3", folder / "all.16.wav"});
    EXPECT_EQ(ReadSound(folder / "all.16.wav").format, kWav16);
    Run({"--join", folder / "a.mp3", folder / "b.decoded.wav", folder / "all.float.wav"});
    EXPECT_EQ(ReadSound(folder / "all.float.wav").format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    Run({"--join", "--raw", "s16le,44100,2", folder / "a.wav", folder / "b.wav", folder / "all.raw.wav"});
    EXPECT_EQ(ReadSound(folder / "all.raw.wav").Frames(),
              (fs::file_size(folder / "a.wav") + fs::file_size(folder / "b.wav")) / 4);
}

TEST_F(Joining, TakesTheFilesOfAFolderAndReportsThem)
{
    fs::create_directories(folder / "in/sub");
    const std::vector<Sound> sounds = {Write("in/1.wav", 1000, 1), Write("in/2.wav", 2000, 2),
                                       Write("in/sub/3.wav", 3000, 3)};
    WriteText(folder / "in/notes.txt", "notes");
    const std::vector<std::string> arguments = {"--join", "--update", folder / "in", folder / "all.wav"};
    EXPECT_NE(Run(arguments).out.find("1.wav and 2 more (WAV, 44100 Hz, 16 bit, stereo) -> "),
              std::string::npos);
    EXPECT_EQ(ReadSound(folder / "all.wav").samples, Concatenation(sounds).samples);
    EXPECT_NE(Run(arguments).out.find("skipped, up to date"), std::string::npos);
    // One of them is newer.
    fs::last_write_time(folder / "in/2.wav", fs::file_time_type::clock::now() + std::chrono::hours(1));
    const std::string json =
        Run({"--join", "--update", "--dry-run", "--json", folder / "in", folder / "all.wav"}).out;
    EXPECT_NE(json.find("\"dryRun\": true"), std::string::npos) << json;
    EXPECT_NE(json.find("\"joined\": ["), std::string::npos) << json;
    EXPECT_NE(json.find("3.wav\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"frames\": 6000"), std::string::npos) << json;
}

TEST_F(Joining, WhereItCannotBeDoneIsRefused)
{
    const std::string in = folder / "good.wav";
    const std::string old = folder / "old.wav";
    const std::string out = folder / "out.wav";
    fs::create_directories(folder / "dir");
    fs::create_directories(folder / "one");
    Write("one/a.wav", 100, 1);
    WriteSound(folder / "48.wav", Noise(kWav16, 48000, 2, 100));
    WriteSound(folder / "mono.wav", Noise(kWav16, 44100, 1, 100));
    WriteSound(folder / "24.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_24, 44100, 2, 100));
    for (const auto &[name, what] :
         {std::pair{"48.wav", "48.wav: is 48000 Hz, 16 bit, stereo, and can't be joined to "},
          std::pair{"mono.wav", "mono.wav: is 44100 Hz, 16 bit, mono, and can't be joined to "},
          std::pair{"24.wav", "good.wav, which is 44100 Hz, 16 bit, stereo"}})
        ExpectFailure(1, what, {"--join", in, in, folder / name, old});
    ExpectFailure(1, "no such file", {"--join", in, folder / "nothing.wav", old});
    ExpectFailure(1, "old.wav", {"--join", in, old, out});
    ExpectFailure(1, "old.wav", {"--join", in, old, old});
    ExpectFailure(1, "good.wav: input and output are the same file", {"--join", folder / "one", in, in});
    ExpectFailure(2, "--join makes one file, and ", {"--join", in, in, folder / "dir"});
    ExpectFailure(2, "is a folder: name the file", {"--join", in, in, folder / "new/"});
    ExpectFailure(2, "--join needs at least two INPUTs and an OUTPUT", {"--join", in, old});
    ExpectFailure(2, "--join needs at least two INPUTs and an OUTPUT", {"--join", folder / "one", out});
    ExpectFailure(2, "an OUTPUT is needed after", {"--join", in});
    ExpectFailure(2, "--join and --split exclude each other", {"--join", "--split", "chapters", in, in, out});
    ExpectFailure(2, "leave --join out", {"--join", "--in-place", "--set", "A=b", in, in});
    ExpectFailure(2, "--join goes from files to a file", {"--join", "-", in, out});
    ExpectFailure(2, "--join goes from files to a file", {"--join", "-t", "wav", in, in, "-"});
    ExpectFailure(2, "leave --start and --end out", {"--join", "--end", "1", in, in, out});
    ExpectFailure(2, "--join makes one file", {"--join", "--name", "{title}", in, in, out});
    ExpectFailure(2, "leave --cue out", {"--join", "--cue", "x.cue", in, in, out});
}

constexpr const char *kSheet = "FILE \"x.wav\" WAVE\nTRACK 01 AUDIO\nTITLE \"One\"\nINDEX 01 00:00:00\n"
                               "TRACK 02 AUDIO\nTITLE \"Two\"\nINDEX 01 00:00:37\n"
                               "TRACK 03 AUDIO\nINDEX 01 00:01:01\n";

TEST_F(Joining, CueSheetsBecomeChapters)
{
    WriteText(folder / "x.cue", kSheet);
    const std::vector<std::string> chapters = {"  Chapter     00:00:00.000 One",
                                               "  Chapter     00:00:00.4933333 Two"};
    Run({"--cue", folder / "x.cue", folder / "good.wav", folder / "a.flac"});
    EXPECT_EQ(ReadSound(folder / "a.flac").samples, ReadSound(folder / "good.wav").samples);
    ExpectLines(Info("a.flac"), chapters);
    EXPECT_NE(Info("a.flac").find("  Chapter     00:00:01.0133333"), std::string::npos);
    // Of a part, they count from its start.
    Run({"--cue", folder / "x.cue", "--start", "0.1", folder / "good.wav", folder / "part.flac"});
    ExpectLines(Info("part.flac"), {"  Chapter     00:00:00.000 One", "  Chapter     00:00:00.3933333 Two"});
    // The coded audio is copied; in place, too.
    Run({folder / "good.wav", folder / "b.flac"});
    EXPECT_NE(
        Run({"--cue", folder / "x.cue", folder / "b.flac", folder / "c.flac"}).out.find("audio unchanged"),
        std::string::npos);
    ExpectLines(Info("c.flac"), chapters);
    Run({"--in-place", "--cue", folder / "x.cue", folder / "b.flac"});
    ExpectLines(Info("b.flac"), chapters);
}

TEST_F(Joining, CueSheetsThatDoNotFitAreRefused)
{
    const std::string in = folder / "good.wav"; // 50000 frames
    const std::string old = folder / "old.wav";
    const std::string sheet = folder / "x.cue";
    fs::create_directories(folder / "dir");
    WriteText(sheet, kSheet);
    WriteText(folder / "late.cue",
              "FILE a WAVE\nTRACK 1 AUDIO\nINDEX 01 00:00:00\nTRACK 2 AUDIO\nINDEX 01 00:09:00\n");
    ExpectFailure(1, "late.cue: track 2 begins at 0:00:09.000, beyond the end of the audio at 0:00:01.134",
                  {"--cue", folder / "late.cue", in, old});
    ExpectFailure(1, "late.cue: track 2 begins at 0:00:09.000, beyond",
                  {"--in-place", "--cue", folder / "late.cue", in});
    ExpectFailure(1, "nothing.cue: no such file", {"--cue", folder / "nothing.cue", in, old});
    ExpectFailure(2, "--cue is about one INPUT", {"--cue", sheet, in, in, folder / "dir"});
    ExpectFailure(2, "--cue is about one INPUT", {"--in-place", "--cue", sheet, in, in});
    ExpectFailure(2, "--cue is about one file, and ", {"--cue", sheet, folder / "dir", folder / "new"});
    ExpectFailure(2, "--cue is about a file: - isn't one", {"--cue", sheet, "-", old});
    ExpectFailure(2, "exclude each other", {"--cue", sheet, "--chapters", sheet, in, old});
}

} // namespace
} // namespace tonekit::host::test
