// program_split_test.cpp: files of several tracks become files of one.
#include "tests/host/folders.h"

namespace tonekit::host::test {
namespace {

constexpr const char *kSheet =
    "PERFORMER \"Trio\"\nTITLE \"All\"\nREM DATE 1999\nFILE \"x.wav\" WAVE\n"
    "TRACK 01 AUDIO\nTITLE \"One\"\nINDEX 01 00:00:10\n"
    "TRACK 02 AUDIO\nTITLE \"Two: b/c\"\nPERFORMER \"Guest\"\nISRC DEX010000002\nINDEX 00 00:00:70\n"
    "INDEX 01 00:01:01\n"
    "TRACK 03 AUDIO\nINDEX 01 00:02:37\n";
// Its places in frames of 1/75 s, of which the first file takes what is before the first.
const std::vector<size_t> kPlaces = {0, 76, 187};

class Splitting : public Folders {
protected:
    void SetUp() override
    {
        Failures::SetUp();
        fs::create_directories(folder / "in");
    }

    // The samples of all files of a folder, one after the other in the order of their names.
    std::vector<int32_t> All(const std::string &name)
    {
        std::vector<int32_t> samples;
        for (const std::string &file : Tree(name)) {
            const Sound sound = ReadSound(folder / (name + "/" + file));
            samples.insert(samples.end(), sound.samples.begin(), sound.samples.end());
        }
        return samples;
    }

    std::string Info(const std::string &name) { return RunHost({"--info", folder / name}).out; }
};

TEST_F(Splitting, ByACueSheetBesideTheFileIsExact)
{
    for (const int rate : {44100, 48000, 96000}) {
        fs::remove_all(folder / "out");
        const Sound whole = Noise(kWav16, rate, 2, static_cast<size_t>(rate) * 3 + 17);
        WriteSound(folder / "in/album.wav", whole);
        WriteText(folder / "in/album.cue", kSheet);
        Run({"--split", "chapters", "-t", "flac", folder / "in/album.wav", folder / "out"});
        EXPECT_EQ(Tree("out"), (Names{"01 One.flac", "02 Two_ b_c.flac", "03 album.flac"}));
        EXPECT_EQ(All("out"), whole.samples) << rate;
        const auto frames = [&](size_t sectors) { return sectors * static_cast<size_t>(rate) / 75; };
        EXPECT_EQ(ReadSound(folder / "out/01 One.flac").Frames(), frames(kPlaces[1])) << rate;
        EXPECT_EQ(ReadSound(folder / "out/02 Two_ b_c.flac").Frames(),
                  frames(kPlaces[2]) - frames(kPlaces[1]));
    }
    const std::string info = Info("out/02 Two_ b_c.flac");
    for (const char *line :
         {"TITLE       Two: b/c", "ARTIST      Guest", "ALBUM       All", "ALBUMARTIST Trio",
          "ISRC        DEX010000002", "DATE        1999", "TRACKNUMBER 2", "TRACKTOTAL  3"})
        EXPECT_NE(info.find(line), std::string::npos) << line << "\n" << info;
    const std::string first = Info("out/01 One.flac");
    EXPECT_NE(first.find("\n  ARTIST      Trio"), std::string::npos) << first;
    EXPECT_NE(first.find("ALBUMARTIST Trio"), std::string::npos) << first;
    EXPECT_EQ(first.find("ISRC"), std::string::npos) << first;
    EXPECT_EQ(Info("out/03 album.flac").find("TITLE"), std::string::npos);
}

TEST_F(Splitting, WithoutGuestsNamesNoArtistOfTheAlbum)
{
    WriteSound(folder / "in/album.wav", Noise(kWav16, 44100, 2, 44100 * 3));
    WriteText(folder / "in/album.cue",
              "PERFORMER \"Trio\"\nTITLE \"All\"\nFILE \"x.wav\" WAVE\nTRACK 01 AUDIO\nTITLE \"One\"\n"
              "INDEX 01 00:00:00\nTRACK 02 AUDIO\nTITLE \"One\"\nPERFORMER \"Trio\"\nINDEX 01 00:01:00\n");
    Run({"--split", "chapters", "-t", "flac", folder / "in/album.wav", folder / "out"});
    for (const char *name : {"out/01 One.flac", "out/02 One.flac"}) {
        const std::string info = Info(name);
        EXPECT_NE(info.find("  ARTIST      Trio"), std::string::npos) << info;
        EXPECT_EQ(info.find("ALBUMARTIST"), std::string::npos) << info;
    }
    const std::string one = fs::path(folder / "both/One.wav").make_preferred().string();
    ExpectFailure(2, "two tracks of " + (folder / "in/album.wav") + " would become " + one,
                  {"--split", "chapters", "--name", "{title}", folder / "in/album.wav", folder / "both"});
}

TEST_F(Splitting, ByChaptersOfTheTagsKeepsWhatIsSaidOfAll)
{
    const Sound whole = Noise(kWav16, 44100, 2, 44100 * 3);
    WriteSound(folder / "a.wav", whole);
    WriteText(folder / "c.txt", "0 First\n1.5 Second\n2.25 Third\n");
    Run({"--chapters", folder / "c.txt", "--set", "TITLE=Concert", "--set", "ARTIST=Trio", "--set",
         "REPLAYGAIN_ALBUM_GAIN=-3.00 dB", folder / "a.wav", folder / "in/a.flac"});
    // Chapters go before a cue sheet that is there too.
    WriteText(folder / "in/a.cue", kSheet);
    Run({"--split", "chapters", "--set", "GENRE=Jazz", folder / "in/a.flac", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"01 First.flac", "02 Second.flac", "03 Third.flac"}));
    EXPECT_EQ(All("out"), whole.samples);
    EXPECT_EQ(ReadSound(folder / "out/02 Second.flac").Frames(), 33075u);
    const std::string info = Info("out/02 Second.flac");
    for (const char *line : {"TITLE       Second", "ALBUM       Concert", "ARTIST      Trio",
                             "GENRE       Jazz", "REPLAYGAIN_ALBUM_GAIN -3.00 dB"})
        EXPECT_NE(info.find(line), std::string::npos) << line << "\n" << info;
    EXPECT_EQ(info.find("00:00:00"), std::string::npos) << info;
}

TEST_F(Splitting, ByACueSheetInsideTheFile)
{
    const Sound whole = Noise(kWav16, 44100, 2, 44100 * 3);
    WriteSound(folder / "a.wav", whole);
    Run({"--set", std::string("CUESHEET=") + kSheet, folder / "a.wav", folder / "in/a.flac"});
    Run({"--split", "chapters", folder / "in/a.flac", folder / "out"});
    EXPECT_EQ(Tree("out").size(), 3u);
    EXPECT_EQ(All("out"), whole.samples);
    EXPECT_EQ(Info("out/01 One.flac").find("CUESHEET"), std::string::npos);
}

// A block of FLAC with tracks at 0 and 1000 frames, the second one's index 01 30 frames later, and the
// lead-out.
TEST_F(Splitting, ByACueSheetBlockOfFlac)
{
    const Sound whole = Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, 5000);
    WriteSound(folder / "a.flac", whole);
    const auto number = [](uint64_t value, size_t bytes) {
        std::string text;
        while (bytes-- > 0)
            text += static_cast<char>(value >> (8 * bytes) & 0xFF);
        return text;
    };
    const auto track = [&](uint64_t offset, int id, const std::vector<std::pair<uint64_t, int>> &indexes) {
        std::string text = number(offset, 8) + number(static_cast<uint64_t>(id), 1) + std::string(26, '\0') +
                           number(indexes.size(), 1);
        for (const auto &[place, index] : indexes)
            text += number(place, 8) + number(static_cast<uint64_t>(index), 1) + std::string(3, '\0');
        return text;
    };
    const std::string block = std::string(395, '\0') + number(3, 1) + track(0, 1, {{0, 1}}) +
                              track(1000, 2, {{0, 0}, {30, 1}}) + track(5000, 170, {});
    std::string bytes = ReadText(folder / "a.flac");
    // After the first block, which has 34 bytes and isn't the last any more.
    bytes.insert(4 + 4 + 34, number(5, 1) + number(block.size(), 3) + block);
    WriteText(folder / "in/a.flac", bytes);
    Run({"--split", "chapters", folder / "in/a.flac", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"01 a.flac", "02 a.flac"}));
    EXPECT_EQ(All("out"), whole.samples);
    EXPECT_EQ(ReadSound(folder / "out/01 a.flac").Frames(), 1030u);
    // Another program's tag may be in front.
    WriteText(folder / "in/a.flac", std::string("ID3\4\0\0\0\0\1\2", 10) + std::string(130, 'x') + bytes);
    fs::remove_all(PathFromUtf8(folder / "out"));
    Run({"--split", "chapters", folder / "in/a.flac", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"01 a.flac", "02 a.flac"}));
    // Nobody looks further than at ten thousand blocks.
    std::string many;
    while (many.size() < 10000 * 4)
        many += std::string("\1\0\0\0", 4);
    bytes.insert(4 + 4 + 34, many);
    WriteText(folder / "good.flac", bytes);
    ExpectFailure(1, "good.flac: has no chapters and no cue sheet",
                  {"--split", "chapters", folder / "good.flac", folder / "out"});
}

TEST_F(Splitting, NamesFilesByATemplateAndKeepsFolders)
{
    WriteText(folder / "c.txt", "0 First\n0.5 Second\n");
    fs::create_directories(folder / "in/sub");
    WriteSound(folder / "in/a.wav", Noise(kWav16, 44100, 2, 44100, 1));
    WriteSound(folder / "in/sub/b.wav", Noise(kWav16, 44100, 2, 44100, 2));
    Run({"--split=chapters", "--chapters", folder / "c.txt", folder / "in", folder / "out"});
    EXPECT_EQ(Tree("out"), (Names{"01 First.wav", "02 Second.wav", "sub/01 First.wav", "sub/02 Second.wav"}));
    Run({"--split", "chapters", "--chapters", folder / "c.txt", "--name", "{artist}/{title} {tracktotal}",
         "--set", "ARTIST=Trio", folder / "in/a.wav", folder / "named"});
    EXPECT_EQ(Tree("named"), (Names{"Trio/First 2.wav", "Trio/Second 2.wav"}));
}

TEST_F(Splitting, WhereItCannotBeDoneIsRefused)
{
    const std::string in = folder / "good.wav"; // 50000 frames
    const std::string out = folder / "out";
    WriteText(folder / "late.cue",
              "FILE a WAVE\nTRACK 1 AUDIO\nINDEX 01 00:00:00\nTRACK 2 AUDIO\nINDEX 01 00:09:00\n");
    WriteText(folder / "bad.cue", "FILE a WAVE\nTRACK 1 AUDIO\nINDEX 01 zero\n");
    WriteText(folder / "same.txt", "0 a\n0.5 b\n0.5 c\n");
    WriteText(folder / "twins.txt", "0 a\n0.5 b\n0.7 b\n");
    ExpectFailure(1, "good.wav: has no chapters and no cue sheet", {"--split", "chapters", in, out});
    ExpectFailure(1, "late.cue: track 2 begins at 0:00:09.000, beyond the end of the audio at 0:00:01.134",
                  {"--split", "chapters", "--cue", folder / "late.cue", in, out});
    ExpectFailure(1, "bad.cue, line 3: an index has",
                  {"--split", "chapters", "--cue", folder / "bad.cue", in, out});
    ExpectFailure(1, "nothing.cue: no such file",
                  {"--split", "chapters", "--cue", folder / "nothing.cue", in, out});
    ExpectFailure(1, "track 3 begins at 0:00:00.500, not after the one before it",
                  {"--split", "chapters", "--chapters", folder / "same.txt", in, out});
    ExpectFailure(2, "two tracks of ",
                  {"--split", "chapters", "--chapters", folder / "twins.txt", "--name", "{title}", in, out});
    ExpectFailure(2, "--split must be one of: chapters", {"--split", "tracks", in, out});
    ExpectFailure(2, "--split takes all of a file", {"--split", "chapters", "--start", "1", in, out});
    ExpectFailure(2, "--cue is about one INPUT",
                  {"--split", "chapters", "--cue", folder / "late.cue", in, in, out});
    ExpectFailure(
        2, "exclude each other",
        {"--split", "chapters", "--cue", folder / "late.cue", "--chapters", folder / "same.txt", in, out});
}

} // namespace
} // namespace tonekit::host::test
