// program_hostile_test.cpp: the program with inputs that are made to do harm.
#include "tests/host/failures.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace tonekit::host::test {
namespace {

// A WAV file of 32-bit floats at a rate that all coders take as it is.
void WriteFloats(const std::string &name, const std::vector<float> &samples)
{
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE *const file = sf_open(name.c_str(), SFM_WRITE, &info);
    sf_write_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

std::vector<float> ReadFloats(const std::string &name)
{
    SF_INFO info{};
    SNDFILE *const file = sf_open(name.c_str(), SFM_READ, &info);
    std::vector<float> samples(static_cast<size_t>(info.frames));
    sf_read_float(file, samples.data(), info.frames);
    sf_close(file);
    return samples;
}

std::vector<float> LoudTone(float amplitude)
{
    std::vector<float> samples(44100);
    for (size_t i = 0; i < samples.size(); i++)
        samples[i] = static_cast<float>(amplitude * std::sin(static_cast<double>(i) * 0.05));
    return samples;
}

TEST(HostileSamples, NeverEndACoder)
{
    TemporaryFolder folder;
    using Limits = std::numeric_limits<float>;
    WriteFloats(folder / "none.wav", std::vector<float>(44100, Limits::quiet_NaN()));
    WriteFloats(folder / "endless.wav", std::vector<float>(44100, Limits::infinity()));
    WriteFloats(folder / "loud.wav", LoudTone(1e10f));
    WriteFloats(folder / "loudest.wav", LoudTone(Limits::max()));
    for (const char *in : {"none.wav", "endless.wav", "loud.wav", "loudest.wav"}) {
        for (const char *out : {"a.mp3", "a.ogg", "a.opus"}) {
            const Outcome outcome = RunHost({"-q", folder / in, folder / out});
            EXPECT_EQ(outcome.status, 0) << in << " " << out << " " << outcome.err;
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
            EXPECT_NE(outcome.err.find("warning: "), std::string::npos) << outcome.err;
            for (const float sample : ReadFloats(folder / out))
                ASSERT_TRUE(std::abs(sample) < 100) << in << " " << out;
        }
    }
}

TEST(HostileSamples, AreCountedInOneWarning)
{
    TemporaryFolder folder;
    std::vector<float> samples = LoudTone(0.5f);
    samples[1000] = std::numeric_limits<float>::quiet_NaN();
    samples[2000] = -std::numeric_limits<float>::infinity();
    samples[3000] = 1e9f;
    WriteFloats(folder / "a.wav", samples);
    const Outcome outcome = RunHost({"-q", folder / "a.wav", folder / "a.mp3"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "tonekit-convert: warning: " + folder / "a.mp3" +
                               ": 2 samples that are no finite numbers became 0, 1 sample louder than 16.0 "
                               "became that\n");
}

TEST(HostileSamples, SpoilNoOthers)
{
    TemporaryFolder folder;
    std::vector<float> samples = LoudTone(0.5f);
    samples[20000] = 0;
    WriteFloats(folder / "good.wav", samples);
    samples[20000] = std::numeric_limits<float>::quiet_NaN();
    WriteFloats(folder / "bad.wav", samples);
    // With a change of rate too: the resampler would spread it.
    for (const char *rate : {"48000", "24000"}) {
        for (const char *type : {"mp3", "ogg", "opus"}) {
            const std::vector<std::string> options = {"-q", "-r",
                                                      std::string(type) == "opus" ? "48000" : rate};
            for (const char *name : {"good", "bad"}) {
                std::vector<std::string> arguments = options;
                arguments.insert(arguments.end(), {folder / (std::string(name) + ".wav"),
                                                   folder / (name + ("." + std::string(type)))});
                EXPECT_EQ(RunHost(arguments).status, 0);
            }
            EXPECT_EQ(ReadFloats(folder / (std::string("good.") + type)),
                      ReadFloats(folder / (std::string("bad.") + type)))
                << type << " " << rate;
        }
    }
}

TEST(HostileSamples, AreCopiedWhereTheyCanBe)
{
    TemporaryFolder folder;
    std::vector<float> samples = LoudTone(1e10f);
    samples[7] = std::numeric_limits<float>::infinity();
    WriteFloats(folder / "a.wav", samples);
    EXPECT_EQ(RunHost({"-q", folder / "a.wav", folder / "b.w64"}).err, "");
    EXPECT_EQ(ReadFloats(folder / "b.w64"), samples);
}

} // namespace
} // namespace tonekit::host::test
