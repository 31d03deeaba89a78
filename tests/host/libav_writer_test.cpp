// libav_writer_test.cpp: M4A files that the program writes.
#include "host/open_source.h"
#include "host/system/failure.h"
#include "host/tags/mp4_chapters.h"
#include "tests/host/failures.h"

#include <cmath>
#include <cstring>
#include <memory>

namespace tonekit::host::test {
namespace {

constexpr int kWav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
const std::string kPng = std::string("\x89PNG\r\n\x1A\n", 8) + "picture";

class M4a : public Failures {
protected:
    std::string Run(const std::vector<std::string> &arguments)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.out;
    }

    void ExpectInfo(const std::string &name, const std::vector<std::string> &texts,
                    const std::vector<std::string> &missing = {})
    {
        const std::string info = Run({"--info", name});
        for (const std::string &text : texts)
            EXPECT_NE(info.find(text), std::string::npos) << text << "\n" << info;
        for (const std::string &text : missing)
            EXPECT_EQ(info.find(text), std::string::npos) << text << "\n" << info;
    }

    // The file's samples as floats.
    std::vector<float> FloatsOf(const std::string &name)
    {
        const std::unique_ptr<SampleSource> source = OpenAudioFile(name, name);
        std::vector<float> samples(source->frames() * source->format().channels);
        size_t done = 0;
        while (const uint32_t got = source->Read(samples.data() + done * source->format().channels, 1000))
            done += got;
        EXPECT_EQ(done, source->frames());
        return samples;
    }

    // The boxes of coded audio.
    static std::string CodedAudio(const std::string &name)
    {
        const std::string file = ReadText(name);
        const size_t start = file.find("mdat");
        return file.substr(start, file.find("moov") - 4 - start);
    }
};

TEST_F(M4a, WithAlacKeepsEverySample)
{
    for (const int format : {kWav16, kWav24}) {
        for (const int channels : {1, 2, 5, 6}) {
            const Sound sound = Noise(format, 48000, channels, 20001);
            WriteSound(folder / "in.wav", sound);
            Run({"-t", "alac", folder / "in.wav", folder / "a.m4a"});
            ExpectInfo(folder / "a.m4a",
                       {"M4A, ALAC", format == kWav16 ? " 16 bit" : " 24 bit", "(20001 frames)"});
            Run({folder / "a.m4a", folder / "out.wav"});
            EXPECT_TRUE(ReadSound(folder / "out.wav").samples == sound.samples) << channels;
        }
    }
}

TEST_F(M4a, WithAacHasTheLengthAndThePlaceOfItsSource)
{
    const Sound sound = Tone(kWav16, 44100, 2, 30001, 1000);
    WriteSound(folder / "in.wav", sound);
    Run({folder / "in.wav", folder / "a.m4a"});
    ExpectInfo(folder / "a.m4a", {"M4A (AAC)", "(30001 frames)"});
    const std::vector<float> samples = FloatsOf(folder / "a.m4a");
    ASSERT_EQ(samples.size(), sound.samples.size());
    double signal = 0;
    double noise = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        const double in = sound.samples[i] * 0x1p-31;
        signal += in * in;
        noise += (in - static_cast<double>(samples[i])) * (in - static_cast<double>(samples[i]));
    }
    EXPECT_GT(10 * std::log10(signal / noise), 25);
}

TEST_F(M4a, WithAacHasEachChannelInItsPlace)
{
    constexpr double kLevels[] = {0.9, 0.5, 0.3, 0.2, 0.1, 0.05};
    for (const size_t channels : {1U, 2U, 4U, 5U, 6U}) {
        Sound sound = Tone(kWav16, 48000, static_cast<int>(channels), 24000, 100, 1);
        for (size_t i = 0; i < sound.samples.size(); ++i)
            sound.samples[i] = static_cast<int32_t>(sound.samples[i] * kLevels[i % channels]);
        WriteSound(folder / "in.wav", sound);
        Run({folder / "in.wav", folder / "a.m4a"});
        const std::vector<float> samples = FloatsOf(folder / "a.m4a");
        ASSERT_EQ(samples.size(), sound.samples.size());
        for (size_t c = 0; c < channels; ++c) {
            double power = 0; // of the middle half, a whole number of periods
            for (size_t i = channels * 6000 + c; i < channels * 18000; i += channels)
                power += static_cast<double>(samples[i]) * static_cast<double>(samples[i]) / 12000;
            EXPECT_NEAR(std::sqrt(2 * power), kLevels[c], kLevels[c] / 10) << c << " of " << channels;
        }
    }
}

TEST_F(M4a, HasTheBitRateThatIsAskedFor)
{
    const std::string in = folder / "good.wav";
    for (const size_t kilobits : {48U, 160U}) {
        const std::string rate = std::to_string(kilobits) + "k";
        const std::string out = Run({"--bitrate", rate, in, folder / "a.m4a"});
        EXPECT_NE(out.find(std::to_string(kilobits) + " kbit/s"), std::string::npos) << out;
        const double bits = static_cast<double>(CodedAudio(folder / "a.m4a").size()) * 8;
        EXPECT_NEAR(bits / 50000 * 44.1, static_cast<double>(kilobits), static_cast<double>(kilobits) / 4);
    }
    ExpectFailure(1, "has bit rates from 16 to 529 kbit/s for 2 channels, and not 600",
                  {"--bitrate", "600k", in, folder / "a2.m4a"});
    ExpectFailure(2, "M4A (ALAC) has no bit rate to choose",
                  {"--bitrate", "128k", "-t", "alac", in, folder / "a2.m4a"});
}

TEST_F(M4a, IsTheSameForEqualRuns)
{
    for (const char *type : {"aac", "alac"}) {
        Run({"-t", type, folder / "good.wav", folder / "a.m4a"});
        Run({"-t", type, folder / "good.wav", folder / "b.m4a"});
        EXPECT_TRUE(ReadText(folder / "a.m4a") == ReadText(folder / "b.m4a")) << type;
    }
}

TEST_F(M4a, KeepsTagsChaptersAndCovers)
{
    WriteText(folder / "c.txt", "0 First\n0:00.25 Zweites \xC3\x84\n");
    WriteText(folder / "p.png", kPng);
    Run({"--set", "TITLE=Tune", "--set", "TRACKNUMBER=3", "--set", "REPLAYGAIN_TRACK_GAIN=-3.00 dB",
         "--chapters", folder / "c.txt", "--cover", folder / "p.png", "-t", "alac", folder / "good.wav",
         folder / "a.m4a"});
    Run({folder / "a.m4a", folder / "a.flac"});
    const std::vector<std::string> all = {"Tune\n", "-3.00 dB\n", "00:00:00.250 Zweites \xC3\x84\n",
                                          " First\n", "image/png"};
    ExpectInfo(folder / "a.m4a", all);
    ExpectInfo(folder / "a.flac", all);
    EXPECT_TRUE(ReadSound(folder / "a.flac").samples == ReadSound(folder / "good.wav").samples);
}

TEST_F(M4a, IsCopiedWhereOnlyTagsChange)
{
    for (const char *type : {"aac", "alac"}) {
        const std::string in = folder / (std::string(type) + ".m4a");
        Run({"-t", type, "--set", "TITLE=Old", "--set", "OWN=kept", folder / "good.wav", in});
        const std::string out = Run({"--set", "TITLE=New", in, folder / "b.m4a"});
        EXPECT_NE(out.find("audio unchanged"), std::string::npos) << out;
        EXPECT_TRUE(CodedAudio(folder / "b.m4a") == CodedAudio(in)) << type;
        ExpectInfo(folder / "b.m4a", {"New\n", "kept\n"}, {"Old"});
    }
}

TEST_F(M4a, IsChangedInPlace)
{
    const std::string m4a = folder / "a.m4a";
    WriteText(folder / "old.txt", "0 First\n0:00.25 Second\n");
    WriteText(folder / "new.txt", "0 Only\n");
    WriteText(folder / "p.png", kPng);
    Run({"-t", "alac", "--chapters", folder / "old.txt", folder / "good.wav", m4a});
    const std::string audio = CodedAudio(m4a);
    Run({"--in-place", "--set", "TITLE=New", "--chapters", folder / "new.txt", "--cover", folder / "p.png",
         m4a});
    ExpectInfo(m4a, {"New\n", " Only\n", "image/png"}, {"First", "Second"});
    Run({"--in-place", "--no-tags", m4a});
    ExpectInfo(m4a, {"(50000 frames)"}, {"New", "Only", "image/png"});
    EXPECT_TRUE(CodedAudio(m4a) == audio);
    Run({m4a, folder / "out.wav"});
    EXPECT_TRUE(ReadSound(folder / "out.wav").samples == ReadSound(folder / "good.wav").samples);
}

TEST_F(M4a, TakesChaptersWhereItsHeaderIsNotTheLastBox)
{
    const std::string m4a = folder / "a.m4a";
    Run({"-t", "alac", folder / "good.wav", m4a});
    WriteText(m4a, ReadText(m4a) + std::string("\0\0\0\x0C", 4) + "skip" + "last");
    WriteText(folder / "c.txt", "0 First\n0:00.25 Second\n");
    for (int i = 0; i < 2; ++i) {
        Run({"--in-place", "--chapters", folder / "c.txt", m4a});
        ExpectInfo(m4a, {" First\n", " Second\n"});
        EXPECT_NE(ReadText(m4a).find(std::string("\0\0\0\x0C", 4) + "skip" + "last"), std::string::npos);
        Run({m4a, folder / "out.wav"});
        EXPECT_TRUE(ReadSound(folder / "out.wav").samples == ReadSound(folder / "good.wav").samples);
    }
}

TEST_F(M4a, HasAListOfChaptersInTheFormThatPlayersKnow)
{
    const std::string m4a = folder / "a.m4a";
    WriteText(folder / "c.txt", "0 One\n0:00.5 Two\n");
    Run({"-t", "alac", "--chapters", folder / "c.txt", folder / "good.wav", m4a});
    const std::string list = std::string("\0\0\0\x29"
                                         "chpl"
                                         "\1\0\0\0"
                                         "\0\0\0\0"
                                         "\2"
                                         "\0\0\0\0\0\0\0\0"
                                         "\3One"
                                         "\0\0\0\0\0\x4C\x4B\x40"
                                         "\3Two",
                                         41);
    EXPECT_NE(ReadText(m4a).find(list), std::string::npos);
}

TEST_F(M4a, KeepsOf300ChaptersTheFirst255AndSaysSo)
{
    std::string chapters;
    for (int i = 0; i < 300; ++i)
        chapters += std::to_string(i / 1000.0) + " c" + std::to_string(i) + "\n";
    WriteText(folder / "c.txt", chapters);
    const Outcome outcome =
        RunHost({"-t", "alac", "--chapters", folder / "c.txt", folder / "good.wav", folder / "a.m4a"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("M4A holds 255 chapters; the others are left out"), std::string::npos)
        << outcome.err;
    ExpectInfo(folder / "a.m4a", {" c254\n"}, {" c255\n"});
}

TEST_F(M4a, BrokenBoxesAreRefusedAndTheFileStays)
{
    const std::string m4a = folder / "a.m4a";
    WriteText(folder / "c.txt", "0 First\n");
    Run({"-t", "alac", folder / "good.wav", m4a});
    const std::string whole = ReadText(m4a);
    for (const char *box : {"moov", "trak", "udta"}) {
        std::string broken = whole;
        const size_t place = broken.find(box);
        if (place == std::string::npos)
            continue;
        broken[place - 1] = '\3';
        broken[place - 2] = broken[place - 3] = '\0';
        WriteText(m4a, broken);
        File file;
        ASSERT_FALSE(file.OpenToChange(PathFromUtf8(m4a)));
        EXPECT_THROW(SetMp4Chapters(file, {{0, "a"}}), Failure) << box;
        EXPECT_TRUE(ReadText(m4a) == broken) << box;
    }
}

TEST_F(M4a, IsTheNameInFoldersOfBothTypes)
{
    for (const char *type : {"aac", "alac"}) {
        const std::string out = folder / type;
        Run({"-q", "-t", type, folder / "good.wav", out + "/"});
        ExpectInfo(out + "/good.m4a", {type[1] == 'l' ? "ALAC" : "AAC"});
    }
}

TEST_F(M4a, IsRefusedWhereItCantBe)
{
    const std::string in = folder / "good.wav";
    ExpectFailureOf(
        [&] {
            return RunHostOnPipes("", {in, "-", "-t", "aac"});
        },
        1, "standard output: M4A is completed at its start and can't be written there");
    ExpectFailure(2, "M4A (ALAC) has no 4.0", {"-t", "alac", "-c", "4", in, folder / "a.m4a"});
    ExpectFailure(2, "M4A (AAC) holds at most 6 channels", {"-c", "8", in, folder / "a.m4a"});
    ExpectFailure(2, "M4A (ALAC) can't hold 32 bit float samples",
                  {"-t", "alac", "-b", "32f", in, folder / "a.m4a"});
}

} // namespace
} // namespace tonekit::host::test
