// program_encoder_test.cpp: what the settings of the coders do to whole files.
#include "tests/host/failures.h"

#include <filesystem>

namespace tonekit::host::test {
namespace {

class EncoderOfTheProgram : public Failures {
protected:
    void SetUp() override
    {
        Failures::SetUp();
        WriteSound(folder / "music.wav", Noise(kWav16, 48000, 2, 48000 * 4));
    }

    uintmax_t SizeWith(const std::string &option, const std::string &value, const std::string &name)
    {
        const Outcome outcome = RunHost({option, value, folder / "music.wav", folder / name});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return std::filesystem::file_size(folder / name);
    }
};

// The bit rate of the second frame of an MP3 file (the first is a note about the whole), in kbit/s.
int BitRateOfMp3(const std::string &name)
{
    static const int table[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    const std::string file = ReadText(name);
    size_t at = 0;
    if (file.starts_with("ID3"))
        at = 10 + (static_cast<size_t>(file[6]) << 21 | static_cast<size_t>(file[7]) << 14 |
                   static_cast<size_t>(file[8]) << 7 | static_cast<size_t>(file[9]));
    at = file.find("\xFF\xFB", at + 4);
    return at == std::string::npos ? -1 : table[static_cast<unsigned char>(file[at + 2]) >> 4];
}

TEST_F(EncoderOfTheProgram, BitRatesOfMp3AreConstant)
{
    for (const int kilobits : {32, 96, 128, 192, 256, 320}) {
        const uintmax_t size = SizeWith("--bitrate", std::to_string(kilobits) + "k", "a.mp3");
        EXPECT_EQ(BitRateOfMp3(folder / "a.mp3"), kilobits);
        EXPECT_NEAR(static_cast<double>(size), 4.0 * kilobits * 125, 0.05 * 4 * kilobits * 125 + 2000);
    }
}

TEST_F(EncoderOfTheProgram, BitRatesOfOpusAreMet)
{
    for (const int kilobits : {48, 96, 192, 256})
        EXPECT_NEAR(static_cast<double>(SizeWith("--bitrate", std::to_string(kilobits) + "k", "a.opus")),
                    4.0 * kilobits * 125, 0.25 * 4 * kilobits * 125)
            << kilobits;
}

TEST_F(EncoderOfTheProgram, MoreQualityIsLargerForMp3AndVorbisAlike)
{
    for (const char *name : {"a.mp3", "a.ogg"}) {
        uintmax_t last = 0;
        for (const char *quality : {"0", "3.5", "7", "10"}) {
            const uintmax_t size = SizeWith("--vbr", quality, name);
            EXPECT_GT(size, last) << name << " " << quality;
            last = size;
        }
    }
}

TEST_F(EncoderOfTheProgram, CompressionChangesTheSizeAndNoSample)
{
    WriteSound(folder / "music.wav", Tone(kWav16, 44100, 2, 200000, 440));
    EXPECT_GT(SizeWith("--compression", "0", "fast.flac"), SizeWith("--compression", "8", "small.flac"));
    EXPECT_EQ(ReadSound(folder / "fast.flac").samples, ReadSound(folder / "music.wav").samples);
    EXPECT_EQ(ReadSound(folder / "small.flac").samples, ReadSound(folder / "music.wav").samples);
}

TEST_F(EncoderOfTheProgram, SummaryAndJsonSayWhatWasChosen)
{
    EXPECT_NE(RunHost({"--bitrate", "192k", folder / "music.wav", folder / "a.mp3"})
                  .out.find("a.mp3 (MP3, 48000 Hz, stereo), 192 kbit/s"),
              std::string::npos);
    const auto json = [&](const char *option, const char *value, const char *name) {
        return RunHost({"--json", option, value, folder / "music.wav", folder / name}).out;
    };
    EXPECT_NE(json("--bitrate", "192k", "a.mp3").find("\"bitrate\": 192000"), std::string::npos);
    EXPECT_NE(json("--vbr", "7.5", "a.ogg").find("\"vbr\": 7.5"), std::string::npos);
    EXPECT_NE(json("--compression", "5", "a.flac").find("\"compression\": 5"), std::string::npos);
    EXPECT_NE(RunHost({"--json", folder / "music.wav", folder / "a.mp3"}).out.find("\"encoder\": null"),
              std::string::npos);
}

TEST_F(EncoderOfTheProgram, SettingsThatATypeLacksAreWrongUsage)
{
    const std::string in = folder / "good.wav";
    ExpectFailure(2, "WAV has no bit rate to choose", {"--bitrate", "192k", in, folder / "x.wav"});
    ExpectFailure(2, "Ogg Vorbis has no bit rate to choose here: use --vbr",
                  {"--bitrate", "192k", in, folder / "x.ogg"});
    ExpectFailure(2, "Opus has no VBR quality: use --bitrate", {"--vbr", "5", in, folder / "x.opus"});
    ExpectFailure(2, "MP3 has no compression level", {"--compression", "5", in, folder / "x.mp3"});
    ExpectFailure(1, "MP3 has no bit rate of 100 kbit/s at 44100 Hz: choose one of 32,",
                  {"--bitrate", "100k", in, folder / "x.mp3"});
}

} // namespace
} // namespace tonekit::host::test
