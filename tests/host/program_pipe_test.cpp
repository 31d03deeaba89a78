// program_pipe_test.cpp: the program between other programs.
#include "tests/host/failures.h"

#include <utility>

namespace tonekit::host::test {
namespace {

class Pipes : public Failures {
protected:
    // What the program makes of these bytes; nothing but audio may be written.
    std::string Through(const std::string &input, const std::vector<std::string> &arguments)
    {
        const Outcome outcome = RunHostOnPipes(input, arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }

    void Convert(const std::vector<std::string> &arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }

    void ExpectRefusal(int status, const std::string &what, const std::string &input,
                       const std::vector<std::string> &arguments)
    {
        ExpectFailureOf([&] { return RunHostOnPipes(input, arguments); }, status, what);
    }

    std::string Good() const { return ReadText(folder / "good.wav"); }
    // The samples of good.wav: 50000 frames of 16 bit stereo.
    std::string GoodSamples() const { return Good().substr(44); }
};

std::string WithNumber(std::string file, size_t position, uint32_t number)
{
    for (size_t i = 0; i < 4; ++i)
        file[position + i] = static_cast<char>(number >> (8 * i));
    return file;
}

TEST_F(Pipes, ReadEveryTypeThatTheProgramWrites)
{
    for (const char *type : {"wav", "rf64", "w64", "aiff", "au", "caf", "flac"}) {
        const std::string name = folder / (std::string("a.") + type);
        Convert({folder / "good.wav", name});
        EXPECT_TRUE(Through(ReadText(name), {"-q", "-", "-t", "raw", "-"}) == GoodSamples()) << type;
    }
    for (const char *type : {"mp3", "ogg", "opus"}) {
        const std::string name = folder / (std::string("a.") + type);
        Convert({folder / "good.wav", name});
        const std::string samples = Through("", {"-q", "-b", "32f", name, "-t", "raw", "-"});
        EXPECT_GE(samples.size(), 50000u * 8) << type;
        EXPECT_TRUE(Through(ReadText(name), {"-q", "-b", "32f", "-", "-t", "raw", "-"}) == samples) << type;
    }
}

// However the blocks come: more frames than the converter gathers for one of its own. Noise of dither differs
// from run to run.
TEST_F(Pipes, GiveWhatFilesGiveThroughEveryConversion)
{
    constexpr size_t kFrames = 300'001;
    WriteSound(folder / "long.wav", Tone(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, kFrames, 997, 0.7));
    const std::vector<std::string> conversions[] = {{"-b", "24", "-r", "44100"},
                                                    {"-b", "16", "-c", "1"},
                                                    {"-b", "8", "--gain", "-3"},
                                                    {"-b", "32f", "-c", "6", "-r", "96000"}};
    for (const char *type : {"wav", "flac", "mp3", "ogg", "opus"}) {
        const std::string name = folder / (std::string("long.") + type);
        if (std::string(type) != "wav")
            Convert({folder / "long.wav", name});
        const std::string file = ReadText(name);
        for (const std::vector<std::string> &conversion : conversions) {
            SCOPED_TRACE(type + (" " + conversion[1] + " " + conversion[3]));
            const auto samplesOf = [&](const std::string &input, const std::string &bytes) {
                std::vector<std::string> arguments = {"-q", "--dither", "off", "-t", "raw"};
                arguments.insert(arguments.end(), conversion.begin(), conversion.end());
                arguments.insert(arguments.end(), {input, "-"});
                return Through(bytes, arguments);
            };
            const std::string samples = samplesOf(name, "");
            EXPECT_GE(samples.size(), kFrames);
            EXPECT_TRUE(samplesOf("-", file) == samples);
        }
    }
}

// libsndfile computes their length from the file's size, or looks for their last block.
TEST_F(Pipes, ReadTypesThatNeedTheirSize)
{
    for (const int format :
         {SF_FORMAT_PAF | SF_FORMAT_PCM_16, SF_FORMAT_NIST | SF_FORMAT_PCM_16,
          SF_FORMAT_VOC | SF_FORMAT_PCM_16, SF_FORMAT_PVF | SF_FORMAT_PCM_16,
          SF_FORMAT_AVR | SF_FORMAT_PCM_16, SF_FORMAT_IRCAM | SF_FORMAT_PCM_16,
          SF_FORMAT_MAT4 | SF_FORMAT_PCM_16, SF_FORMAT_MAT5 | SF_FORMAT_PCM_16,
          SF_FORMAT_SVX | SF_FORMAT_PCM_16, SF_FORMAT_SDS | SF_FORMAT_PCM_16, SF_FORMAT_WVE | SF_FORMAT_ALAW,
          SF_FORMAT_XI | SF_FORMAT_DPCM_16, SF_FORMAT_MPC2K | SF_FORMAT_PCM_16,
          SF_FORMAT_PAF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE,
          SF_FORMAT_IRCAM | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG,
          SF_FORMAT_MAT4 | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG}) {
        SCOPED_TRACE(format);
        WriteSound(folder / "rare", Noise(format, 8000, 1, 2001));
        const std::string samples = Through("", {"-q", "-b", "16", folder / "rare", "-t", "raw", "-"});
        EXPECT_GE(samples.size(), 2001u * 2);
        EXPECT_TRUE(Through(ReadText(folder / "rare"), {"-q", "-b", "16", "-", "-t", "raw", "-"}) == samples);
    }
}

TEST_F(Pipes, NoticeThatATypeThatNeedsItsSizeIsCutOff)
{
    WriteSound(folder / "rare", Noise(SF_FORMAT_SDS | SF_FORMAT_PCM_16, 8000, 1, 2001));
    const std::string sds = ReadText(folder / "rare");
    const std::vector<std::string> convert = {"-q", "-", folder / "old.wav"};
    ExpectRefusal(1, "the file is cut off: its last 300 bytes are missing", sds.substr(0, sds.size() - 300),
                  convert);
    // An end within the header, as it was found by chance.
    ExpectRefusal(1, "cut off", sds.substr(0, 63), convert);
    ExpectRefusal(1, "(--memory)", std::string("PVF1\n1 8000 16\n") + std::string(20'000'000, 'x'),
                  {"-q", "--memory", "16", "-", folder / "old.wav"});
}

// libsndfile makes silence of the blocks that aren't there.
TEST_F(Pipes, NoticeThatCodedSamplesAreCutOff)
{
    for (const int format : {SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM,
                             SF_FORMAT_W64 | SF_FORMAT_MS_ADPCM, SF_FORMAT_WAV | SF_FORMAT_GSM610}) {
        SCOPED_TRACE(format);
        WriteSound(folder / "coded", Noise(format, 8000, 1, 60000));
        const std::string whole = ReadText(folder / "coded");
        EXPECT_EQ(RunHostOnPipes(whole, {"-q", "-", "-t", "raw", "-"}).err, "");
        for (const size_t missing : {size_t{1000}, whole.size() / 2})
            ExpectRefusal(1, "the file is cut off: its last ", whole.substr(0, whole.size() - missing),
                          {"-q", "-", folder / "old.wav"});
    }
}

// "._" is where libsndfile looks for a second part of a file without a name.
TEST_F(Pipes, AndFilesAreReadWhereLibsndfileFindsASecondPart)
{
    const std::string name = folder / "a.mp3";
    Convert({folder / "good.wav", name});
    const std::string mp3 = ReadText(name);
    const std::filesystem::path before = std::filesystem::current_path();
    const std::string samples = Through("", {"-q", "-b", "32f", name, "-t", "raw", "-"});
    EXPECT_GE(samples.size(), 200000u);
    WriteText(folder / "noise", std::string(5000, 'x'));
    std::filesystem::create_directory(PathFromUtf8(folder / "aside"));
    std::filesystem::current_path(PathFromUtf8(folder / "aside"));
    WriteSound(folder / "aside/two", Noise(SF_FORMAT_SD2 | SF_FORMAT_PCM_16, 44100, 2, 100));
    for (const std::string &second :
         {std::string(), std::string(300, 'x'), ReadText(folder / "aside/._two")}) {
        WriteText("._", second);
        EXPECT_TRUE(Through(mp3, {"-q", "-b", "32f", "-", "-t", "raw", "-"}) == samples) << second.size();
        EXPECT_TRUE(Through("", {"-q", "-b", "32f", name, "-t", "raw", "-"}) == samples) << second.size();
        ExpectRefusal(1, "not an audio file that can be read", "",
                      {"-q", folder / "noise", folder / "old.wav"});
    }
    std::filesystem::current_path(before);
}

TEST_F(Pipes, ReadSizesThatNobodyKnew)
{
    const std::string good = Good();
    for (const uint32_t size : {0u, 0xFFFFFFFFu, 0x7FFFF000u, 0x7FFFFFFFu - 36}) {
        const std::string open = WithNumber(WithNumber(good, 4, size), 40, size);
        EXPECT_TRUE(Through(open, {"-q", "-", "-t", "raw", "-"}) == GoodSamples()) << size;
        if (size == 0)
            continue;
        WriteText(folder / "open.wav", open);
        Convert({folder / "open.wav", folder / "closed.wav"});
        EXPECT_TRUE(ReadText(folder / "closed.wav").substr(44) == GoodSamples()) << size;
    }
}

// Each header that the program writes without knowing the length is one that it reads, from pipes and files.
TEST_F(Pipes, WriteSizesThatNobodyKnows)
{
    const std::string open = WithNumber(Good(), 40, 0xFFFFFFFF);
    for (const char *type : {"wav", "rf64", "w64", "au", "caf", "flac"}) {
        const std::string stream = Through(open, {"-q", "-", "-t", type, "-"});
        EXPECT_TRUE(Through(stream, {"-q", "-", "-t", "raw", "-"}) == GoodSamples()) << type;
        WriteText(folder / "stream", stream);
        EXPECT_TRUE(Through("", {"-q", folder / "stream", "-t", "raw", "-"}) == GoodSamples()) << type;
    }
    const std::string stream = Through(open, {"-q", "-", "-t", "wav", "-"});
    EXPECT_EQ(stream.substr(0, 8), "RIFF\xFF\xFF\xFF\xFF");
    EXPECT_EQ(stream.substr(36, 8), "data\xFF\xFF\xFF\xFF");
    EXPECT_EQ(stream.size(), Good().size());
    // Sizes and frames in the header of 64 bits: other programs refuse -1 there.
    const std::string long64 = Through(open, {"-q", "-", "-t", "rf64", "-"});
    EXPECT_EQ(long64.substr(12, 8), std::string("ds64\x1C\0\0\0", 8));
    EXPECT_EQ(long64.substr(20, 24), std::string(24, '\0'));
}

TEST_F(Pipes, WriteSizesThatAreKnown)
{
    // A WAV file of PCM stereo has one form only.
    EXPECT_TRUE(Through(Good(), {"-q", "-", "-t", "wav", "-"}) == Good());
    for (const char *type : {"rf64", "w64", "au", "caf", "aiff"}) {
        const std::string name = folder / (std::string("a.") + type);
        Convert({folder / "good.wav", name});
        EXPECT_TRUE(Through(Good(), {"-q", "-", "-t", type, "-"}).substr(0, 60) ==
                    ReadText(name).substr(0, 60))
            << type;
    }
}

TEST_F(Pipes, PadOddSamplesOnlyWhereTheirEndIsKnown)
{
    Sound mono = Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 8000, 1, 1001);
    WriteSound(folder / "odd.wav", mono);
    const std::string odd = ReadText(folder / "odd.wav");
    EXPECT_EQ(Through(odd, {"-q", "-", "-t", "wav", "-"}).size(), 44u + 1002u);
    const std::string open = WithNumber(odd.substr(0, 44 + 1001), 40, 0xFFFFFFFF);
    EXPECT_EQ(Through(open, {"-q", "-", "-t", "wav", "-"}).size(), 44u + 1001u);
}

TEST_F(Pipes, PassRawSamplesOfAllForms)
{
    const std::string raw = GoodSamples();
    EXPECT_TRUE(Through(raw, {"-q", "--raw", "s16le,44100,2", "-", "-t", "raw", "-"}) == raw);
    std::string swapped = raw;
    for (size_t i = 0; i + 1 < swapped.size(); i += 2)
        std::swap(swapped[i], swapped[i + 1]);
    EXPECT_TRUE(Through(raw, {"-q", "--raw", "s16le,44100,2", "-", "--raw-output", "s16be", "-"}) == swapped);
    EXPECT_TRUE(Through(swapped, {"-q", "--raw", "s16be,44.1k,2", "-", "-t", "wav", "-"}).substr(44) == raw);
    std::string wide;
    for (size_t i = 0; i + 1 < raw.size(); i += 2)
        wide += std::string(1, '\0') + raw[i] + raw[i + 1];
    EXPECT_TRUE(Through(raw, {"-q", "--raw", "s16,44100,2", "-", "--raw-output", "s24le", "-"}) == wide);
    for (const char *form : {"u8", "s8", "s16le", "s16be", "s24le", "s24be", "s32le", "s32be", "f32le",
                             "f32be", "f64le", "f64be"}) {
        // 8 bit samples fit into all of them.
        const std::string bytes = raw.substr(0, 10000);
        const std::string there =
            Through(bytes, {"-q", "--raw", "u8,44100,2", "-", "--raw-output", form, "-"});
        const std::string back =
            Through(there, {"-q", "--dither", "off", "--raw", std::string(form) + ",44100,2", "-",
                            "--raw-output", "u8", "-"});
        EXPECT_TRUE(back == bytes) << form;
    }
    WriteText(folder / "a.pcm", raw);
    Convert({"--raw", "s16le,44100,2", folder / "a.pcm", folder / "a.wav"});
    EXPECT_TRUE(ReadText(folder / "a.wav") == Good());
    Convert({folder / "good.wav", folder / "b.raw"});
    EXPECT_TRUE(ReadText(folder / "b.raw") == raw);
}

TEST_F(Pipes, CarryTheTagsThatComeFirst)
{
    for (const char *type : {"flac", "mp3", "ogg", "opus"}) {
        const std::string name = folder / (std::string("tagged.") + type);
        Convert({"--set", "TITLE=Morning", folder / "good.wav", name});
        Through(ReadText(name), {"-q", "-", folder / "tagged.wav"});
        EXPECT_NE(RunHost({"--info", folder / "tagged.wav"}).out.find("Morning"), std::string::npos) << type;
        EXPECT_NE(Through(ReadText(name), {"--info", "-"}).find("Morning"), std::string::npos) << type;
    }
}

TEST_F(Pipes, CopyWhatIsCoded)
{
    Convert({folder / "good.wav", folder / "a.mp3"});
    const std::string mp3 = ReadText(folder / "a.mp3");
    const Outcome outcome = RunHostOnPipes(mp3, {"-", folder / "b.mp3"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("audio unchanged"), std::string::npos) << outcome.out;
    EXPECT_TRUE(ReadText(folder / "b.mp3") == mp3);
    EXPECT_TRUE(Through(mp3, {"-q", "-", "-"}) == mp3);
    Through(mp3, {"-q", "--set", "TITLE=New", "-", folder / "c.mp3"});
    const std::string tagged = ReadText(folder / "c.mp3");
    EXPECT_EQ(tagged.substr(tagged.size() - mp3.size()), mp3);
}

TEST_F(Pipes, BeginMp3WithMusic)
{
    const std::string mp3 = Through(Good(), {"-q", "--bitrate", "128k", "-", "-t", "mp3", "-"});
    // The frame that LAME keeps free is 417 bytes of nothing.
    ASSERT_GT(mp3.size(), 1000u);
    EXPECT_EQ(mp3[0], '\xFF');
    EXPECT_NE(mp3.substr(4, 400), std::string(400, '\0'));
}

TEST_F(Pipes, SayAllElseOnStandardError)
{
    const Outcome said = RunHostOnPipes(Good(), {"-", "-t", "wav", "--hash", "sha256", "-"});
    EXPECT_TRUE(said.out == Good());
    EXPECT_NE(said.err.find("standard input (WAV, 44100 Hz, 16 bit, stereo) -> standard output"),
              std::string::npos)
        << said.err;
    EXPECT_NE(said.err.find("sha256 "), std::string::npos) << said.err;
    const Outcome json = RunHostOnPipes(Good(), {"--json", "-", "-t", "wav", "-"});
    EXPECT_TRUE(json.out == Good());
    EXPECT_NE(json.err.find("\"ok\": true"), std::string::npos) << json.err;
    const Outcome tagged = RunHostOnPipes(Good(), {"-q", "--set", "TITLE=x", "-", "-t", "wav", "-"});
    EXPECT_TRUE(tagged.out == Good());
    EXPECT_NE(tagged.err.find("no tags are written there"), std::string::npos) << tagged.err;
}

TEST_F(Pipes, TakeTheTypeOfTheInput)
{
    Convert({folder / "good.wav", folder / "a.flac"});
    EXPECT_EQ(Through(ReadText(folder / "a.flac"), {"-q", "-r", "48k", "-", "-"}).substr(0, 4), "fLaC");
    ExpectRefusal(1, "add --type", GoodSamples(), {"--raw", "s16le,44100,2", "-", "-"});
}

TEST_F(Pipes, FindHdcdLater)
{
    EXPECT_TRUE(Through(Good(), {"-q", "--hdcd", "auto", "-", "-t", "wav", "-"}) == Good());
    EXPECT_NE(Through(Good(), {"--info", "--hash", "sha256", "-"}).find("HDCD"), std::string::npos);
}

TEST_F(Pipes, GiveOnlyTheAskedPart)
{
    EXPECT_TRUE(Through(Good(), {"-q", "--start", "0.5", "--end", "0.75", "-", "-t", "raw", "-"}) ==
                GoodSamples().substr(22050 * 4, 11025 * 4));
}

TEST_F(Pipes, AreRefusedWhereTheyMakeNoSense)
{
    const std::string good = folder / "good.wav";
    ExpectRefusal(2, "can't be one of several", Good(), {"-", good, folder / "out/"});
    ExpectRefusal(2, "takes one INPUT", Good(), {good, good, "-"});
    ExpectRefusal(2, "has no name", Good(), {"-", folder / "out/"});
    ExpectRefusal(2, "takes one file", Good(), {folder.path().string(), "-t", "wav", "-"});
    ExpectRefusal(2, "--in-place", Good(), {"--in-place", "--set", "A=b", "-"});
    ExpectRefusal(2, "--extract-cover", Good(), {"--extract-cover", folder / "a.png", "-"});
    ExpectRefusal(2, "can be read once", Good(), {"--info", "-", "-"});
    ExpectRefusal(2, "albums are of files", Good(), {"--replaygain", "album", "-", folder / "old.wav"});
    ExpectRefusal(2, "--update and --no-clobber", Good(), {"--update", "-", folder / "old.wav"});
    ExpectRefusal(1, "read twice", Good(), {"--normalize", "-16", "-", folder / "old.wav"});
    ExpectRefusal(2, "FORMAT,RATE,CHANNELS", Good(), {"--raw", "s16le", "-", folder / "old.wav"});
}

TEST_F(Pipes, EndWithALineWhereTheStreamIsBad)
{
    const std::vector<std::string> convert = {"-q", "-", folder / "old.wav"};
    ExpectRefusal(1, "standard input: is empty", "", convert);
    ExpectRefusal(1, "not an audio file", "hello, this is text and no audio at all", convert);
    ExpectRefusal(1, "not an audio file", std::string(5000, 'x'), convert);
    ExpectRefusal(1, "not an audio file", std::string("FORM\0\0\0\0ILBM", 12) + std::string(5000, '\0'),
                  convert);
    ExpectRefusal(1, "not an audio file", "\xFF\xFB", convert);
    ExpectRefusal(1, "the audio breaks off: 40000 of 50000 frames", Good().substr(0, 44 + 160000), convert);
    ExpectRefusal(1, "ends within a frame: 3 bytes of 4", GoodSamples().substr(0, 4003),
                  {"--raw", "s16le,44100,2", "-", folder / "old.wav"});
    ExpectRefusal(1, "is empty", "", {"--raw", "s16le,44100,2", "-", folder / "old.wav"});
    ExpectRefusal(1, "AIFF says its length first", Good(), {"-r", "48k", "-", "-t", "aiff", "-"});
    WriteText(folder / "odd.raw", "12345");
    ExpectFailure(1, "aren't whole frames of 4 bytes",
                  {"--raw", "s16le,44100,2", folder / "odd.raw", folder / "old.wav"});
    ExpectFailure(1, "no such file", {"--raw", "s16le,44100,2", folder / "none.raw", folder / "old.wav"});
}

// The last page of a whole stream is marked as the end.
TEST_F(Pipes, NoticeThatAnOggStreamIsCutOff)
{
    WriteSound(folder / "good.wav", Noise(kWav16, 44100, 2, 300000));
    for (const std::string type : {"ogg", "opus"}) {
        Convert({folder / "good.wav", folder / "a." + type});
        const std::string ogg = ReadText(folder / "a." + type);
        std::filesystem::remove(PathFromUtf8(folder / "a." + type));
        const std::vector<std::vector<std::string>> runs = {
            {"-q", "-", folder / "old.wav"},
            {"-q", "-", folder / "copy." + type},
            {"--info", "--hash", "sha256", "-"},
        };
        // Within the last page, at the border before it, and far from the end.
        for (const size_t size : {ogg.size() - 1, ogg.rfind("OggS"), ogg.size() / 2}) {
            for (const std::vector<std::string> &arguments : runs)
                ExpectRefusal(1, "standard input: the stream is cut off", ogg.substr(0, size), arguments);
        }
        for (const std::vector<std::string> &arguments : runs)
            Through(ogg, arguments);
        EXPECT_TRUE(ReadText(folder / "copy." + type) == ogg) << type;
        WriteText(folder / "old.wav", "precious");
        std::filesystem::remove(PathFromUtf8(folder / "copy." + type));
    }
}

} // namespace
} // namespace tonekit::host::test
