// program_test.cpp: what tonekit-convert makes of whole files.
#include "host/system/paths.h"
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <numbers>
#include <regex>
#include <tonekit/encode.h>

namespace tonekit::host::test {
namespace {

using Json = nlohmann::json;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kWav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24;

// Runs a conversion that has to work.
Outcome Convert(std::vector<std::string> arguments)
{
    Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome;
}

// The amplitude, as a part of full scale, of a sine of this frequency in the middle of one channel.
double AmplitudeAt(const Sound &sound, double hertz, int channel = 0)
{
    const size_t frames = sound.Frames();
    double cosine = 0, sine = 0, weights = 0;
    for (size_t i = frames / 4; i < frames * 3 / 4; ++i) {
        const double place = static_cast<double>(i - frames / 4) / static_cast<double>(frames / 2);
        const double weight = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * place);
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / sound.rate;
        const double value =
            sound.samples[i * static_cast<size_t>(sound.channels) + static_cast<size_t>(channel)] * 0x1p-31;
        cosine += weight * value * std::cos(angle);
        sine += weight * value * std::sin(angle);
        weights += weight;
    }
    return 2 * std::hypot(cosine, sine) / weights;
}

std::string Sha256(const std::string &bytes)
{
    uint8_t digest[32];
    sha256(reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<uint32_t>(bytes.size()), digest);
    std::string text;
    for (const uint8_t byte : digest) {
        char hex[3];
        std::snprintf(hex, sizeof(hex), "%02x", byte);
        text += hex;
    }
    return text;
}

TEST(Program, EqualFormatsPassBitForBitBetweenFileTypes)
{
    TemporaryFolder folder;
    const Sound sound = Noise(kWav24, 96000, 2, 100001);
    WriteSound(folder / "a.wav", sound);
    Convert({folder / "a.wav", folder / "b.flac"});
    Convert({folder / "b.flac", folder / "c.w64"});
    Convert({folder / "c.w64", folder / "d.aiff"});
    Convert({folder / "d.aiff", folder / "e.caf"});
    Convert({folder / "e.caf", folder / "f.rf64"});
    Convert({folder / "f.rf64", folder / "g.au"});
    Convert({folder / "g.au", folder / "h.wav"});
    const Sound result = ReadSound(folder / "h.wav");
    EXPECT_EQ(result.format, kWav24);
    EXPECT_EQ(result.rate, 96000);
    EXPECT_EQ(result.samples, sound.samples);
}

TEST(Program, FloatsBeyondFullScaleAreCopiedAsTheyAre)
{
    TemporaryFolder folder;
    SF_INFO info{};
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    info.samplerate = 44100;
    info.channels = 1;
    const float values[] = {1.5f, -2.0f, 0.1f, -0.0f};
    SNDFILE *file = sf_open((folder / "a.wav").c_str(), SFM_WRITE, &info);
    sf_write_float(file, values, 4);
    sf_close(file);
    Convert({folder / "a.wav", folder / "b.wav"});
    float read[4] = {};
    file = sf_open((folder / "b.wav").c_str(), SFM_READ, &info);
    EXPECT_EQ(sf_read_float(file, read, 4), 4);
    sf_close(file);
    EXPECT_EQ(std::vector<float>(read, read + 4), std::vector<float>(values, values + 4));
}

TEST(Program, MoreBitsKeepEverySample)
{
    TemporaryFolder folder;
    const Sound sound = Noise(kWav16, 44100, 2, 50000);
    WriteSound(folder / "a.wav", sound);
    for (const char *format : {"24", "32", "32f", "64f"}) {
        Convert({"-b", format, folder / "a.wav", folder / "b.wav"});
        EXPECT_EQ(ReadSound(folder / "b.wav").samples, sound.samples) << format;
        Convert({"-b", "16", "--dither", "off", folder / "b.wav", folder / "c.wav"});
        EXPECT_EQ(ReadSound(folder / "c.wav").samples, sound.samples) << format;
    }
}

TEST(Program, DitherTakesEffectWhenTheDepthShrinksAndOnlyThen)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav24, 44100, 2, 44100, 997, 0.001));
    Convert({"-b", "16", folder / "a.wav", folder / "dithered.wav"});
    Convert({"-b", "16", "--dither=off", folder / "a.wav", folder / "plain.wav"});
    EXPECT_NE(ReadSound(folder / "dithered.wav").samples, ReadSound(folder / "plain.wav").samples);
    for (const char *mode : {"rectangular", "triangular", "shaped"}) {
        Convert({"-b", "16", "--dither-mode", mode, folder / "a.wav", folder / "mode.wav"});
        EXPECT_NEAR(AmplitudeAt(ReadSound(folder / "mode.wav"), 997), 0.001, 0.00001) << mode;
    }
}

struct RateChange {
    int from;
    const char *to;
    const char *quality;

    friend void PrintTo(const RateChange &change, std::ostream *out)
    {
        *out << change.from << " to " << change.to << ", " << change.quality;
    }
};

class ProgramRates : public testing::TestWithParam<RateChange> {};

TEST_P(ProgramRates, KeepLengthAndTone)
{
    const auto [from, to, quality] = GetParam();
    for (const size_t frames :
         {size_t{1}, size_t{64}, size_t{65}, size_t{1000}, size_t{100003}, size_t{300000}}) {
        TemporaryFolder folder;
        WriteSound(folder / "a.wav", Tone(kWav24, from, 2, frames, 1000));
        Convert({"-r", to, "--quality", quality, folder / "a.wav", folder / "b.wav"});
        const Sound result = ReadSound(folder / "b.wav");
        EXPECT_EQ(result.rate, std::atoi(to));
        const double expected = static_cast<double>(frames) * std::atof(to) / from;
        EXPECT_NEAR(static_cast<double>(result.Frames()), expected, 1.0) << frames << " frames";
        if (frames >= 100000) {
            EXPECT_NEAR(AmplitudeAt(result, 1000), 0.5, 1e-5) << frames << " frames";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, ProgramRates,
    testing::Values(RateChange{44100, "48000", "high"}, RateChange{44100, "96000", "normal"},
                    RateChange{96000, "44100", "very-high"}, RateChange{48000, "44100", "best"},
                    RateChange{44100, "192000", "high"}, RateChange{48000, "8000", "high"},
                    RateChange{44100, "48001", "high"}, RateChange{8000, "44100", "high"}));

TEST(Program, ATonePastTheNewLimitIsGone)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav24, 96000, 1, 200000, 30000));
    Convert({"-r", "44100", folder / "a.wav", folder / "b.wav"});
    // 44100 - 30000: where it would fold to.
    EXPECT_LT(AmplitudeAt(ReadSound(folder / "b.wav"), 14100), 1e-6);
}

TEST(Program, MixesStereoToSurroundAndBack)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 48000, 2, 48000, 1000, 0.25));
    Convert({"-c", "6", folder / "a.wav", folder / "b.flac"});
    const Sound surround = ReadSound(folder / "b.flac");
    EXPECT_EQ(surround.channels, 6);
    EXPECT_NEAR(AmplitudeAt(surround, 1000, 0), 0.25, 1e-4);
    EXPECT_NEAR(AmplitudeAt(surround, 1000, 2), 0.25 * 2 * 0.3548, 1e-4);
    EXPECT_NEAR(AmplitudeAt(surround, 1000, 4), 0.25 * 0.5012, 1e-4);
    Convert({"-c", "2", "-r", "44100", "-b", "24", folder / "b.flac", folder / "c.wav"});
    const Sound stereo = ReadSound(folder / "c.wav");
    EXPECT_EQ(stereo.channels, 2);
    EXPECT_EQ(stereo.Frames(), 44100u);
    EXPECT_NEAR(AmplitudeAt(stereo, 1000), 0.25 * (1 + 0.7079 * 2 * 0.3548 + 0.5012 * 0.5012), 1e-4);
}

TEST(Program, TheLimiterTurnsALoudMixDown)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 48000, 6, 48000, 1000, 0.9));
    Convert({"-c", "2", folder / "a.wav", folder / "on.wav"});
    const Outcome off = RunHost({"-c", "2", "--limiter", "off", folder / "a.wav", folder / "off.wav"});
    EXPECT_EQ(off.status, 0);
    // 1.99 of full scale: of the 48 samples of a wave 30 on both sides.
    EXPECT_NE(off.err.find("off.wav: 60000 samples of the mix were louder than full scale and are clipped\n"),
              std::string::npos)
        << off.err;
    const auto atLimit = [&](const std::string &name) {
        const auto samples = ReadSound(name).samples;
        return std::count_if(samples.begin(), samples.end(), [](int32_t s) { return s >= 32767 << 16; });
    };
    EXPECT_LT(atLimit(folder / "on.wav"), 100);
    EXPECT_GT(atLimit(folder / "off.wav"), 10000);
}

TEST(Program, LossyTypesWorkBothWays)
{
    for (const char *type : {"mp3", "ogg", "opus"}) {
        TemporaryFolder folder;
        WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 88200, 1000));
        const std::string coded = folder / (std::string("b.") + type);
        Convert({folder / "a.wav", coded});
        Convert({coded, folder / "c.wav"});
        const Sound result = ReadSound(folder / "c.wav");
        EXPECT_EQ(result.format, kWav16) << type;
        EXPECT_NEAR(static_cast<double>(result.Frames()) / result.rate, 2.0, 0.1) << type;
        EXPECT_NEAR(AmplitudeAt(result, 1000), 0.5, 0.02) << type;
    }
}

TEST(Program, SurroundKeepsItsLoudspeakersThroughOgg)
{
    TemporaryFolder folder;
    Sound sound = Tone(kWav16, 48000, 6, 48000, 1000);
    for (size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = i % 6 == 2 ? sound.samples[i] : 0;
    WriteSound(folder / "a.wav", sound);
    Convert({folder / "a.wav", folder / "b.ogg"});
    // The centre is the second channel of a Vorbis file.
    EXPECT_GT(AmplitudeAt(ReadSound(folder / "b.ogg"), 1000, 1), 0.4);
    Convert({folder / "b.ogg", folder / "c.wav"});
    for (int channel = 0; channel < 6; ++channel)
        EXPECT_EQ(AmplitudeAt(ReadSound(folder / "c.wav"), 1000, channel) > 0.4, channel == 2) << channel;
}

TEST(Program, HashIsTheDigestOfTheSamples)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 70000));
    // The samples of this file all come after its 44 bytes of header.
    const std::string digest = Sha256(ReadText(folder / "a.wav").substr(44));
    const Outcome converted = Convert({"-q", "--hash", "sha256", folder / "a.wav", folder / "b.flac"});
    EXPECT_EQ(converted.out, "sha256 " + digest + "  " + folder / "b.flac" + "\n");
    for (const char *name : {"a.wav", "b.flac"})
        EXPECT_NE(Convert({"--info", "--hash", "sha256", folder / name}).out.find(digest), std::string::npos)
            << name;
    const Outcome deeper =
        Convert({"-q", "-b", "24", "--hash", "sha256", folder / "a.wav", folder / "c.wav"});
    EXPECT_EQ(deeper.out.substr(7, 64), Sha256(ReadText(folder / "c.wav").substr(44)));
}

TEST(Program, TwoHashesOfOneLengthHave128Digits)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 100));
    const Outcome outcome = Convert({"-q", "--hash", "sha512", folder / "a.wav", folder / "b.wav"});
    EXPECT_TRUE(std::regex_search(outcome.out, std::regex("^sha512 [0-9a-f]{128}  ")));
}

TEST(Program, ReplayGainIsMeasuredOnTheResultAndTagged)
{
    TemporaryFolder folder;
    // A 997 Hz sine of amplitude 0.5 on both sides: -6.02 dB peak, -6.02 LUFS - 0.0 within a tenth.
    WriteSound(folder / "a.wav", Tone(kWav16, 48000, 2, 48000 * 5, 997, 0.5));
    Convert({"--replaygain", folder / "a.wav", folder / "b.flac"});
    const Outcome info = Convert({"--info", folder / "b.flac"});
    std::smatch match;
    ASSERT_TRUE(std::regex_search(info.out, match, std::regex("REPLAYGAIN_TRACK_GAIN +(-?[0-9.]+) dB")));
    EXPECT_NEAR(std::stod(match[1]), -18 - 20 * std::log10(0.5), 0.1);
    ASSERT_TRUE(std::regex_search(info.out, match, std::regex("REPLAYGAIN_TRACK_PEAK +([0-9.]+)")));
    EXPECT_NEAR(std::stod(match[1]), 0.5, 0.0001);
    const Outcome measured = Convert({"--info", "--true-peak", folder / "b.flac"});
    EXPECT_TRUE(
        std::regex_search(measured.out, std::regex("ReplayGain +-1[12]\\.[0-9]{2} dB, true peak 0\\.5")));
}

TEST(Program, MeasuredLoudnessGoesAlongUntilTheChannelsChange)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 4410, 997));
    Convert({"--set", "REPLAYGAIN_TRACK_GAIN=-6.50 dB", "--set", "replaygain_album_peak=0.9", "--set",
             "TITLE=A", folder / "a.wav", folder / "b.flac"});
    const auto tags = [&](const std::vector<std::string> &options) {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(), {folder / "b.flac", folder / "c.flac"});
        Convert(arguments);
        const std::string info = Convert({"--info", folder / "c.flac"}).out;
        EXPECT_NE(info.find("TITLE       A\n"), std::string::npos) << info;
        const size_t gain = info.find("REPLAYGAIN_TRACK_GAIN -6.50 dB\n");
        const size_t peak = info.find("REPLAYGAIN_ALBUM_PEAK 0.9\n");
        return (gain != std::string::npos ? 1 : 0) + (peak != std::string::npos ? 1 : 0);
    };
    EXPECT_EQ(tags({}), 2);
    EXPECT_EQ(tags({"-r", "48000", "-b", "24"}), 2);
    EXPECT_EQ(tags({"-c", "1"}), 0);
    EXPECT_EQ(tags({"-c", "6"}), 0);
}

TEST(Program, SilenceHasNoGainToTag)
{
    TemporaryFolder folder;
    Sound silence{kWav16, 48000, 2, std::vector<int32_t>(96000)};
    WriteSound(folder / "a.wav", silence);
    const Outcome outcome = Convert({"--replaygain", folder / "a.wav", folder / "b.flac"});
    EXPECT_NE(outcome.out.find("unknown"), std::string::npos);
    EXPECT_EQ(Convert({"--info", folder / "b.flac"}).out.find("REPLAYGAIN_TRACK_GAIN"), std::string::npos);
}

TEST(Program, InfoTellsWhatAFileIs)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 2));
    EXPECT_EQ(Convert({"--info", folder / "a.wav"}).out, folder / "a.wav" +
                                                             "\n"
                                                             "  Type        WAV, Signed 16 bit PCM\n"
                                                             "  Format      44100 Hz, 16 bit, stereo\n"
                                                             "  Length      0:02 (88200 frames)\n"
                                                             "  HDCD        no\n");
}

// In all types, with what each reader of the file makes of it.
TEST(Program, OddNumbersOfOddFramesComeBack)
{
    TemporaryFolder folder;
    for (const int subtype : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
        for (const int channels : {1, 3}) {
            const Sound sound = Noise(SF_FORMAT_WAV | subtype, 44100, channels, 4099);
            WriteSound(folder / "a.wav", sound);
            for (const char *name : {"b.wav", "b.w64", "b.rf64", "b.caf", "b.aiff", "b.au", "b.flac"}) {
                // Tags add chunks of their own where the type of file has any.
                EXPECT_EQ(RunHost({"--set", "title=Odd", folder / "a.wav", folder / name}).status, 0);
                EXPECT_EQ(ReadSound(folder / name).samples, sound.samples) << name << " " << channels;
                Convert({folder / name, folder / "c.wav"});
                EXPECT_EQ(ReadSound(folder / "c.wav").samples, sound.samples) << name << " " << channels;
            }
        }
    }
}

TEST(Program, InfoKeepsControlCharactersFromTheTerminal)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 100));
    Convert({"--set",
             "TITLE=a\x1B[2Jb\x7F"
             "c\td\x01"
             "e",
             folder / "a.wav", folder / "b.flac"});
    EXPECT_NE(Convert({"--info", folder / "b.flac"}).out.find("  TITLE       a\\x1b[2Jb\\x7fc\\td\\x01e\n"),
              std::string::npos);
    const std::string json = Convert({"--info", "--json", folder / "b.flac"}).out;
    EXPECT_NE(json.find("\"a\\u001b[2Jb\\u007fc\\td\\u0001e\""), std::string::npos) << json;
}

TEST(Program, JsonIsOneObjectOfWhatWasDone)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100));
    const Outcome outcome =
        Convert({"--json", "-r", "48000", "-b", "24", folder / "a.wav", folder / "b.flac"});
    Json json = Json::parse(outcome.out);
    ASSERT_EQ(json["files"].size(), 1u);
    for (Json *part : {&json, &json["files"][0]}) {
        EXPECT_GT((*part)["seconds"].get<double>(), 0);
        EXPECT_GT((*part)["speed"].get<double>(), 0);
        part->erase("seconds");
        part->erase("speed");
    }
    const Json input = {{"path", folder / "a.wav"}, {"type", "WAV"}, {"encoding", "Signed 16 bit PCM"},
                        {"lossy", false},           {"rate", 44100}, {"channels", 2},
                        {"format", "16 bit"},       {"bits", 16},    {"float", false},
                        {"frames", 44100},          {"seconds", 1.0}};
    const Json output = {{"path", folder / "b.flac"},
                         {"type", "FLAC"},
                         {"encoding", nullptr},
                         {"lossy", false},
                         {"rate", 48000},
                         {"channels", 2},
                         {"format", "24 bit"},
                         {"bits", 24},
                         {"float", false},
                         {"frames", 48000},
                         {"seconds", 1.0}};
    const Json file = {{"ok", true},
                       {"error", nullptr},
                       {"input", input},
                       {"output", output},
                       {"part", nullptr},
                       {"joined", nullptr},
                       {"quality", "high"},
                       {"dryRun", false},
                       {"skipped", nullptr},
                       {"spectrogram", nullptr},
                       {"copied", false},
                       {"encoder", nullptr},
                       {"dither", false},
                       {"level", nullptr},
                       {"limiter", nullptr},
                       {"hdcd", nullptr},
                       {"hdcdDecoded", false},
                       {"replaygain", nullptr},
                       {"albumReplaygain", nullptr},
                       {"hash", nullptr},
                       {"warnings", Json::array()}};
    EXPECT_EQ(json,
              (Json{{"ok", true}, {"error", nullptr}, {"files", Json::array({file})}, {"frames", 48000}}));
}

// What the file holds, letter for letter, and nothing that nobody knows.
TEST(Program, JsonSaysTagsExactly)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 1, 1000));
    const std::string several = "One; 1\x1FTwo\n  lines\x1F\u00e4\x7F\u009b";
    Convert({"--set", "ARTIST=" + several, "--set", "TITLE=  alone ", folder / "a.wav", folder / "a.flac"});
    Convert({folder / "a.flac", folder / "a.ogg"});
    for (const char *name : {"a.flac", "a.ogg"}) {
        const Outcome outcome = Convert({"--info", "--json", folder / name});
        EXPECT_EQ(outcome.out.find_first_of("\x7F\x1F"), std::string::npos);
        EXPECT_EQ(outcome.out.find("\u009b"), std::string::npos);
        const Json json = Json::parse(outcome.out)["files"][0];
        EXPECT_EQ(json["tags"]["ARTIST"], Json::array({"One; 1", "Two\n  lines", "\u00e4\x7F\u009b"}));
        EXPECT_EQ(json["tags"]["TITLE"], Json::array({"  alone "}));
        EXPECT_EQ(json["hdcd"], nullptr);
        EXPECT_EQ(json["hash"], nullptr);
        EXPECT_EQ(json["pictures"], Json::array());
        EXPECT_EQ(json["bits"], std::string(name) == "a.flac" ? Json(16) : Json());
    }
}

TEST(Program, ShowsNoProgressWithoutATerminal)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 20));
    const Outcome outcome = Convert({"-r", "48000", folder / "a.wav", folder / "b.flac"});
    EXPECT_EQ(outcome.out.find('\r'), std::string::npos);
    EXPECT_EQ(outcome.err, "");
}

TEST(Program, QuietSaysNothing)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    EXPECT_EQ(Convert({"--quiet", folder / "a.wav", folder / "b.flac"}).out, "");
    EXPECT_EQ(Convert({"--quiet", "--replaygain", folder / "a.wav", folder / "b.flac"}).out, "");
    EXPECT_NE(Convert({"--replaygain", folder / "a.wav", folder / "b.flac"}).out.find("ReplayGain"),
              std::string::npos);
}

TEST(Program, FileNamesMayHaveAnyLetters)
{
    TemporaryFolder folder;
    const Sound sound = Noise(kWav16, 44100, 2, 1000);
    WriteSound(folder / "a.wav", sound);
    const std::string name = folder / "Stra\u00dfe \u65e5\u672c \U0001F3B5.wav";
    std::filesystem::rename(folder / "a.wav", PathFromUtf8(name));
    const Outcome outcome = Convert({name, folder / "\u043c\u0438\u0440.flac"});
    EXPECT_NE(outcome.out.find(name), std::string::npos) << outcome.out;
    EXPECT_EQ(Convert({"--info", name}).out.substr(0, name.size()), name);
    std::filesystem::rename(PathFromUtf8(folder / "\u043c\u0438\u0440.flac"), folder / "b.flac");
    EXPECT_EQ(ReadSound(folder / "b.flac").samples, sound.samples);
    const std::string complaint = RunHost({folder / "\u00e4.wav", folder / "b.wav"}).err;
    EXPECT_NE(complaint.find("\u00e4.wav: no such file"), std::string::npos) << complaint;
}

TEST(Program, HelpAndVersionAreOnStandardOutput)
{
    EXPECT_EQ(Convert({"--help"}).out.substr(0, 22), "Usage: tonekit-convert");
    EXPECT_TRUE(std::regex_match(Convert({"--version"}).out,
                                 std::regex("tonekit-convert [0-9]+\\.[0-9]+\\.[0-9]+\n")));
}

} // namespace
} // namespace tonekit::host::test
