// program_level_test.cpp: gain, loudness and limiter in whole files.
#include "tests/host/failures.h"

#include <cmath>
#include <ebur128.h>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <numbers>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int kDouble = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;

std::vector<double> ValuesOf(const std::string &name, SF_INFO &info)
{
    SNDFILE *file = sf_open(name.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << name;
    std::vector<double> values(static_cast<size_t>(info.frames * info.channels));
    sf_readf_double(file, values.data(), info.frames);
    sf_close(file);
    return values;
}

void WriteValues(const std::string &name, int format, int rate, int channels,
                 const std::vector<double> &values)
{
    SF_INFO info{};
    info.format = format;
    info.samplerate = rate;
    info.channels = channels;
    SNDFILE *file = sf_open(name.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << name;
    sf_writef_double(file, values.data(), static_cast<sf_count_t>(values.size()) / channels);
    sf_close(file);
}

struct Measured {
    double loudness = 0; // LUFS
    double truePeak = 0;
};

// By libebur128 itself.
Measured Measure(const std::string &name)
{
    SF_INFO info{};
    const std::vector<double> values = ValuesOf(name, info);
    ebur128_state *state =
        ebur128_init(static_cast<unsigned>(info.channels), static_cast<unsigned long>(info.samplerate),
                     EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK);
    ebur128_add_frames_double(state, values.data(), static_cast<size_t>(info.frames));
    Measured measured;
    ebur128_loudness_global(state, &measured.loudness);
    for (int c = 0; c < info.channels; ++c) {
        double peak = 0;
        ebur128_true_peak(state, static_cast<unsigned>(c), &peak);
        measured.truePeak = std::max(measured.truePeak, peak);
    }
    ebur128_destroy(&state);
    return measured;
}

class Levels : public Failures {
protected:
    void Tone997(const std::string &name, double amplitude, int channels = 2)
    {
        fs::create_directories(fs::path(folder / name).parent_path());
        WriteSound(folder / name, Tone(kWav16, 48000, channels, 48000 * 4, 997, amplitude));
    }

    Outcome Run(const std::vector<std::string> &arguments)
    {
        Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome;
    }

    Json Report(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "--json");
        return Json::parse(RunHost(arguments).out)["files"][0];
    }

    std::string Info(const std::string &name) { return RunHost({"--info", folder / name}).out; }
};

TEST_F(Levels, AGainMultipliesEverySample)
{
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 30000));
    SF_INFO info{};
    const std::vector<double> before = ValuesOf(folder / "a.wav", info);
    Run({"--gain", "-6", "-b", "64f", folder / "a.wav", folder / "b.wav"});
    std::vector<double> after = ValuesOf(folder / "b.wav", info);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        ASSERT_NEAR(after[i], before[i] * 0.50118723362727224, 1e-15) << i;
    Run({"--gain=-3.5dB", "--dither", "off", folder / "a.wav", folder / "b.wav"});
    after = ValuesOf(folder / "b.wav", info);
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        ASSERT_NEAR(after[i], before[i] * 0.66834391756861455, 0.5001 * 0x1p-15) << i;
}

TEST_F(Levels, AGainIsDitheredUnlessToldNotTo)
{
    Tone997("a.wav", 0.25);
    EXPECT_EQ(Report({"--gain", "-1", folder / "a.wav", folder / "b.wav"})["dither"], true);
    EXPECT_EQ(Report({"--gain", "-1", "--dither", "off", folder / "a.wav", folder / "b.wav"})["dither"],
              false);
    EXPECT_EQ(Report({"--gain", "-1", "-b", "32f", folder / "a.wav", folder / "b.wav"})["dither"], false);
}

TEST_F(Levels, SamplesThatAreTooLoudAreCountedAndClipped)
{
    // Twice these: below, at and beyond the largest number of 16 bits, on both sides.
    const std::vector<double> values = {0.25,  0.49999, 0.5 - 0x1p-17,  0.5,      0.7,  -0.25,
                                        -0.25, -0.5,    -0.5 - 0x1p-18, -0.50005, -0.9, 0.1};
    WriteValues(folder / "a.wav", kDouble, 44100, 2, values);
    const std::vector<std::string> arguments = {
        "--gain", "6.0205999132796239", "-b", "16", "--dither", "off", folder / "a.wav", folder / "b.wav"};
    EXPECT_EQ(Report(arguments)["level"]["tooLoud"], 5);
    const Outcome outcome = RunHost(arguments);
    EXPECT_NE(outcome.err.find("b.wav: 5 samples were clipped at full scale"), std::string::npos)
        << outcome.err;
    const Sound clipped = ReadSound(folder / "b.wav");
    EXPECT_EQ(clipped.samples[4], 32767 << 16);
    EXPECT_EQ(clipped.samples[10], -32768 * 65536);
    // Floats hold them, coders too, but players don't.
    SF_INFO info{};
    Run({"--gain", "20", "-b", "32f", folder / "a.wav", folder / "c.wav"});
    EXPECT_NEAR(ValuesOf(folder / "c.wav", info)[10], -9, 1e-6);
    EXPECT_EQ(Report({"--gain", "6", "-b", "32f", folder / "a.wav", folder / "c.wav"})["level"]["tooLoud"],
              0);
    Tone997("tone.wav", 0.9);
    EXPECT_NE(
        RunHost({"--gain", "6", folder / "tone.wav", folder / "d.mp3"}).err.find("louder than full scale"),
        std::string::npos);
}

TEST_F(Levels, AGainCodesAnewAndNoGainCopies)
{
    Tone997("a.wav", 0.25);
    Run({folder / "a.wav", folder / "a.mp3"});
    EXPECT_EQ(Report({"--gain", "0", folder / "a.mp3", folder / "b.mp3"})["copied"], true);
    EXPECT_EQ(ReadText(folder / "b.mp3"), ReadText(folder / "a.mp3"));
    const Json report = Report({"--gain", "-12", folder / "a.mp3", folder / "c.mp3"});
    EXPECT_EQ(report["copied"], false);
    EXPECT_EQ(report["level"]["gain"], -12);
    EXPECT_NEAR(Measure(folder / "c.mp3").loudness, Measure(folder / "a.mp3").loudness - 12, 0.1);
}

TEST_F(Levels, ComeToTheLoudnessThatIsAskedFor)
{
    Tone997("a.wav", 0.05);
    Run({"--normalize", "-16", folder / "a.wav", folder / "b.wav"});
    EXPECT_NEAR(Measure(folder / "b.wav").loudness, -16, 0.01);
    Run({"--normalize", "replaygain", "-t", "flac", folder / "a.wav", folder / "b.flac"});
    EXPECT_NEAR(Measure(folder / "b.flac").loudness, -18, 0.01);
    Run({"--normalize=-23.5", "-r", "44100", "-b", "24", folder / "a.wav", folder / "b.wav"});
    EXPECT_NEAR(Measure(folder / "b.wav").loudness, -23.5, 0.01);
    Run({"--normalize", "-20", folder / "a.wav", folder / "b.ogg"});
    EXPECT_NEAR(Measure(folder / "b.ogg").loudness, -20, 0.2);
}

// A sine of a quarter of the rate, whose samples are all at 0.707 of its peaks.
TEST_F(Levels, NeverLeadToATruePeakAboveFullScale)
{
    std::vector<double> values;
    for (int i = 0; i < 48000 * 4; ++i)
        values.push_back((i < 4800 ? 0.3 : 0.03) * std::sin(std::numbers::pi / 2 * i + std::numbers::pi / 4));
    WriteValues(folder / "a.wav", kDouble, 48000, 1, values);
    for (const char *bits : {"8", "16", "24", "32", "32f", "64f"}) {
        for (const char *mode : {"rectangular", "triangular", "shaped"}) {
            const Json report = Report(
                {"--normalize", "0", "-b", bits, "--dither-mode", mode, folder / "a.wav", folder / "b.wav"});
            EXPECT_EQ(report["level"]["peakLimited"], true) << bits;
            EXPECT_GT(report["level"]["wanted"], report["level"]["gain"]) << bits;
            const double peak = Measure(folder / "b.wav").truePeak;
            EXPECT_LE(peak, 1) << bits << mode;
            EXPECT_GT(peak, bits == std::string("8") ? 0.75 : 0.998) << bits << mode;
        }
    }
    const Outcome outcome = Run({"--normalize", "0", folder / "a.wav", folder / "b.wav"});
    EXPECT_NE(outcome.out.find("dB less than wanted to keep the peak below full scale"), std::string::npos)
        << outcome.out;
}

TEST_F(Levels, OfAnAlbumKeepTheirDifferences)
{
    Tone997("in/one/a.wav", 0.5);
    Tone997("in/one/b.wav", 0.25);
    Tone997("in/two/c.wav", 0.1);
    Run({"--normalize", "-20", "--normalize-by", "album", "-b", "24", folder / "in", folder / "out"});
    // The mean of the powers 0.25 and 0.0625 is 0.15625, -8.06 LUFS.
    const double gain = -20 + 8.06;
    EXPECT_NEAR(Measure(folder / "out/one/a.wav").loudness, -6.02 + gain, 0.1);
    EXPECT_NEAR(Measure(folder / "out/one/b.wav").loudness, -12.04 + gain, 0.1);
    EXPECT_NEAR(Measure(folder / "out/two/c.wav").loudness, -20, 0.05);
    // The loudest peak of the album limits all of it.
    Run({"--normalize", "-1", "--normalize-by", "album", "-b", "24", folder / "in/one", folder / "loud"});
    EXPECT_NEAR(Measure(folder / "loud/a.wav").loudness, 0, 0.05);
    EXPECT_NEAR(Measure(folder / "loud/b.wav").loudness, -6.02, 0.05);
}

TEST_F(Levels, OfAnAlbumDoWithoutFilesThatFail)
{
    Tone997("in/a.wav", 0.5);
    WriteText(folder / "in/b.wav", "not audio");
    const Outcome outcome =
        RunHost({"--normalize", "-20", "--normalize-by", "album", folder / "in", folder / "out"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("b.wav: not an audio file"), std::string::npos) << outcome.err;
    EXPECT_NEAR(Measure(folder / "out/a.wav").loudness, -20, 0.05);
    // What is no audio at all has no part in it.
    std::filesystem::remove(folder / "in/b.wav");
    WriteText(folder / "in/notes.txt", "notes");
    Run({"--normalize", "-22", "--normalize-by", "album", "--copy-others", folder / "in", folder / "out"});
    EXPECT_NEAR(Measure(folder / "out/a.wav").loudness, -22, 0.05);
    EXPECT_EQ(ReadText(folder / "out/notes.txt"), "notes");
    // One that breaks only where it is measured.
    WriteValues(folder / "in/c.wav", kDouble, 48000, 1, std::vector<double>(48000, std::nan("")));
    const Outcome broken =
        RunHost({"--normalize", "-25", "--normalize-by", "album", folder / "in", folder / "out"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.err.find("c.wav: "), std::string::npos) << broken.err;
    EXPECT_NEAR(Measure(folder / "out/a.wav").loudness, -25, 0.05);
}

TEST_F(Levels, OfSilenceStayWithAWarning)
{
    WriteSound(folder / "a.wav", Sound{kWav16, 44100, 2, std::vector<int32_t>(44100 * 4)});
    const Outcome outcome = RunHost({"--normalize", "-16", folder / "a.wav", folder / "b.wav"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("too quiet or too short"), std::string::npos) << outcome.err;
    EXPECT_EQ(ReadSound(folder / "b.wav").samples, ReadSound(folder / "a.wav").samples);
}

// Three channels at 0.6 make left 0.6 + 0.7079 * 0.6 + 0.5012 * 0.6 in the second second, and 0.22 before.
Sound LoudMiddle()
{
    Sound sound{kWav16, 44100, 5, {}};
    for (int i = 0; i < 44100 * 3; ++i) {
        const bool loud = i >= 44100 && i < 88200;
        const auto value = static_cast<int32_t>((loud ? 0.6 : 0.1) * 0x1p31);
        sound.samples.insert(sound.samples.end(), 5, value & ~0xFFFF);
    }
    return sound;
}

// The limiter's gain in dB after frames of 0.6 in five channels, by its rule.
double GainOfTheLimiter(int frames)
{
    const double matrix[5][2] = {{1, 0}, {0, 1}, {0.7079, 0.7079}, {0.5012, 0}, {0, 0.5012}};
    const double sample = 19660 * 0x1p-15; // 0.6 in 16 bits
    double gain = 1;
    for (int i = 0; i < frames; ++i) {
        double out[2] = {matrix[0][0] * sample * gain, matrix[0][1] * sample * gain};
        for (int row = 1; row < 5; ++row) {
            for (int column = 0; column < 2; ++column) {
                out[column] += matrix[row][column] * sample * gain;
                if (std::fabs(out[column]) > 1)
                    gain = 1 / (std::fabs(out[column]) / gain);
            }
        }
    }
    return 20 * std::log10(gain);
}

TEST_F(Levels, TheLimiterSaysByHowMuchAndWhere)
{
    WriteSound(folder / "a.wav", LoudMiddle());
    for (const char *rate : {"44100", "32000"}) {
        const Json limiter = Report({"-c", "2", "-r", rate, folder / "a.wav", folder / "b.wav"})["limiter"];
        const double gain = limiter["gain"].get<double>();
        EXPECT_NEAR(gain, GainOfTheLimiter(44100), 0.001) << rate;
        EXPECT_EQ(gain, std::round(gain * 1e6) / 1e6) << rate;
        EXPECT_EQ(limiter["start"], 1.0) << rate;
        EXPECT_EQ(limiter["seconds"], 2.0) << rate;
    }
    const Outcome outcome = Run({"-c", "2", folder / "a.wav", folder / "b.wav"});
    EXPECT_NE(outcome.out.find(", turned down by up to 6.64 dB by the limiter from 0:01 on"),
              std::string::npos)
        << outcome.out;
    EXPECT_TRUE(
        Report({"-c", "2", "--limiter", "off", folder / "a.wav", folder / "b.wav"})["limiter"].is_null());
    EXPECT_TRUE(Report({"-c", "2", "--gain", "-3", folder / "a.wav", folder / "b.wav"})["limiter"].is_null());
    EXPECT_TRUE(Report({folder / "a.wav", folder / "b.flac"})["limiter"].is_null());
}

TEST_F(Levels, AMixIsLoweredEvenlyIfItsLevelIsAuto)
{
    WriteSound(folder / "a.wav", LoudMiddle());
    const Json report =
        Report({"-c", "2", "-b", "32f", "--mix-level", "auto", folder / "a.wav", folder / "b.wav"});
    EXPECT_TRUE(report["limiter"].is_null());
    EXPECT_NEAR(report["level"]["gain"].get<double>(), -2.447, 0.01);
    SF_INFO info{};
    const std::vector<double> values = ValuesOf(folder / "b.wav", info);
    for (const size_t frame : {0U, 44099U, 88200U, 132299U})
        EXPECT_NEAR(values[2 * frame], 0.1 * 2.2091 / (0.6 * 2.2091), 0.0001) << frame;
    for (const size_t frame : {44100U, 88199U})
        EXPECT_NEAR(values[2 * frame], 1, 0.0001) << frame;
    // Where nothing clips, nothing is done.
    WriteSound(folder / "soft.wav", Tone(kWav16, 44100, 5, 50000, 440, 0.3));
    Run({"-c", "2", "--mix-level", "auto", folder / "soft.wav", folder / "c.wav"});
    Run({"-c", "2", folder / "soft.wav", folder / "d.wav"});
    EXPECT_EQ(ReadSound(folder / "c.wav").samples, ReadSound(folder / "d.wav").samples);
}

TEST_F(Levels, TagsThatWereMeasuredMoveWithThem)
{
    Tone997("a.wav", 0.25);
    Run({"--replaygain", folder / "a.wav", folder / "a.flac"});
    Run({"--gain", "-4", folder / "a.flac", folder / "b.flac"});
    Run({"--gain", "-4", "--replaygain", folder / "a.flac", folder / "c.flac"});
    for (const char *name : {"b.flac", "c.flac"}) {
        const std::string info = Info(name);
        // 12.04 - 18 dB, and 4 dB more.
        EXPECT_NE(info.find("REPLAYGAIN_TRACK_GAIN -1.9"), std::string::npos) << info;
        EXPECT_NE(info.find("REPLAYGAIN_TRACK_PEAK 0.157"), std::string::npos) << info;
    }
    // Tags that are set by options stay as they are set.
    Run({"--gain", "-4", "--set", "REPLAYGAIN_TRACK_GAIN=-1.00 dB", folder / "a.flac", folder / "b.flac"});
    EXPECT_NE(Info("b.flac").find("REPLAYGAIN_TRACK_GAIN -1.00 dB"), std::string::npos);
}

TEST_F(Levels, CannotBeMeasuredOfNoNumbers)
{
    std::vector<double> values(48000, 0.1);
    values[1000] = std::numeric_limits<double>::quiet_NaN();
    WriteValues(folder / "nan.wav", kDouble, 48000, 1, values);
    ExpectFailure(1, "nan.wav: holds samples that are no finite numbers",
                  {"--normalize", "-16", folder / "nan.wav", folder / "old.wav"});
}

TEST_F(Levels, ThatMakeNoSenseAreRefused)
{
    const std::string in = folder / "good.wav";
    const std::string out = folder / "old.wav";
    for (const char *gain : {"", "loud", "101", "-100.1", "+-3", "3 decibels", "nan", "inf"})
        ExpectFailure(2, "--gain must be decibels", {"--gain", gain, in, out});
    for (const char *loudness : {"", "16", "-71", "album", "-16LU", "nan"})
        ExpectFailure(2, "--normalize must be a loudness", {"--normalize", loudness, in, out});
    ExpectFailure(2, "--gain and --normalize exclude", {"--gain", "1", "--normalize", "-16", in, out});
    ExpectFailure(2, "--normalize-by needs --normalize", {"--normalize-by", "album", in, out});
    ExpectFailure(2, "--mix-level must be one of: fixed, auto", {"--mix-level", "on", in, out});
    ExpectFailure(2, "--in-place keeps the audio", {"--in-place", "--normalize", "-16", in});
}

} // namespace
} // namespace tonekit::host::test
