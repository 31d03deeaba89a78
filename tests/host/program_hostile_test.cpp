// program_hostile_test.cpp: the program with inputs that are made to do harm.
#include "tests/host/failures.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// A WAV file of 32-bit floats at a rate that all coders take as it is.
void WriteFloats(const std::string &name, const std::vector<float> &samples, int channels = 1)
{
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = channels;
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

void WriteDoubles(const std::string &name, const std::vector<double> &samples)
{
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
    SNDFILE *const file = sf_open(name.c_str(), SFM_WRITE, &info);
    sf_write_double(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

std::vector<float> LoudTone(float amplitude)
{
    std::vector<float> samples(44100);
    for (size_t i = 0; i < samples.size(); ++i)
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

// The converter clips, whatever it is that follows.
TEST(HostileSamples, ThatAreClippedAreCounted)
{
    TemporaryFolder folder;
    std::vector<float> samples = LoudTone(0.5f);
    samples[20000] = std::nextafter(1.0f, 2.0f);
    samples[30000] = -1e10f;
    samples[30001] = 1; // which the largest whole number stands for
    samples[40000] = std::numeric_limits<float>::infinity();
    WriteFloats(folder / "a.wav", samples);
    const std::vector<std::vector<std::string>> runs = {{"-b", "16", "b.wav"},
                                                        {"-b", "24", "b.flac"},
                                                        {"-b", "32", "b.wav"},
                                                        {"-r", "22050", "b.ogg"},
                                                        {"-r", "24000", "-b", "32f", "b.wav"},
                                                        {"-r", "24000", "b.opus"}};
    for (std::vector<std::string> arguments : runs) {
        const std::string out = folder / arguments.back();
        arguments.back() = out;
        arguments.insert(arguments.begin(), {"-q", folder / "a.wav"});
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err,
                  "tonekit-convert: warning: " + out +
                      ": 1 sample that is no finite number became 0, 2 samples of the input were "
                      "louder than full scale and are clipped\n");
    }
    // Nothing is clipped in doubles, or where the level changes enough.
    WriteFloats(folder / "c.wav", LoudTone(3));
    EXPECT_EQ(RunHost({"-q", "-b", "64f", "-r", "24000", folder / "c.wav", folder / "d.wav"}).err, "");
    EXPECT_EQ(RunHost({"-q", "-b", "16", "--gain", "-12", folder / "c.wav", folder / "d.wav"}).err, "");
    EXPECT_EQ(RunHost({"-q", folder / "c.wav", folder / "d.mp3"}).err, "");
}

// Six channels of integers are no louder than full scale, but their mix can be.
TEST(HostileSamples, AreCountedInAMixThatClips)
{
    TemporaryFolder folder;
    constexpr int kFull = 0x7FFF << 16;
    constexpr int kHalf = 0x4000 << 16;
    Sound six{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 6, std::vector<int32_t>(6 * 20000)};
    const auto set = [&](size_t frame, std::vector<int32_t> values) {
        std::copy(values.begin(), values.end(), six.samples.begin() + static_cast<ptrdiff_t>(6 * frame));
    };
    set(3, {kFull, kFull, kFull, 0, 0, 0});          // 1.71 on both sides
    set(9000, {kHalf, -kFull, kFull, 0, 0, 0});      // 1.21 and -0.29
    set(17000, {kFull, kHalf, 0, kFull, -kHalf, 0}); // 0.75 and 0.5
    set(19999, {-kFull, 0, 0, 0, -kHalf, 0});        // -1.25 and 0
    WriteSound(folder / "six.wav", six);
    const auto warningOf = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "-q");
        arguments.push_back(folder / "out.wav");
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, 0);
        return outcome.err;
    };
    const std::string start = "tonekit-convert: warning: " + folder / "out.wav" + ": ";
    const std::string clipped = " samples of the mix were louder than full scale and are clipped\n";
    const std::string in = folder / "six.wav";
    EXPECT_EQ(warningOf({"--limiter", "off", "-c", "2", in}), start + "4" + clipped);
    EXPECT_EQ(warningOf({"--limiter", "off", "-c", "2", "-r", "48000", "-b", "32f", in}),
              start + "4" + clipped);
    EXPECT_EQ(warningOf({"--limiter", "off", "-c", "8", in}), "");
    EXPECT_EQ(warningOf({"--limiter", "off", "-c", "2", "-b", "64f", in}), "");
    EXPECT_EQ(warningOf({"--limiter", "on", "-c", "2", in}), "");
    // Floats that are too loud need not be in the mix, and can be there more than once.
    WriteFloats(folder / "two.wav", {1.5f, -1.5f, 1.5f, 0.25f, -1.25f, -1.25f}, 2);
    EXPECT_EQ(warningOf({"-c", "1", "-b", "16", folder / "two.wav"}),
              start + "1 sample of the mix was louder than full scale and is clipped\n");
    WriteFloats(folder / "one.wav", {0.5f, 1.5f, -1.5f, 0.5f});
    EXPECT_EQ(warningOf({"-c", "2", "-b", "16", folder / "one.wav"}), start + "4" + clipped);
    EXPECT_EQ(warningOf({"-c", "6", "-b", "16", folder / "one.wav"}),
              start + "12" + clipped); // 0.7079 of it too
}

// The resampler works with floats, which such doubles don't fit in.
TEST(HostileSamples, ThatNoFloatHoldsSpoilNoOthers)
{
    TemporaryFolder folder;
    const std::vector<float> tone = LoudTone(0.5f);
    std::vector<double> samples(tone.begin(), tone.end());
    const size_t loudest = 22050;
    for (const double value : {1e31, 1e39, -1e300}) {
        samples[loudest] = value;
        WriteDoubles(folder / "a.wav", samples);
        const Outcome toDoubles =
            RunHost({"-q", "-b", "64f", "-r", "24000", folder / "a.wav", folder / "b.wav"});
        EXPECT_EQ(toDoubles.status, 0);
        EXPECT_EQ(toDoubles.err, "tonekit-convert: warning: " + folder / "b.wav" +
                                     ": 1 sample of the input was louder than 600 dB and became that\n");
        const std::vector<float> doubles = ReadFloats(folder / "b.wav");
        for (const float sample : doubles)
            ASSERT_TRUE(std::abs(sample) < 2e30f) << value;
        const Outcome toIntegers =
            RunHost({"-q", "-b", "24", "-r", "24000", folder / "a.wav", folder / "c.wav"});
        EXPECT_EQ(toIntegers.err, "tonekit-convert: warning: " + folder / "c.wav" +
                                      ": 1 sample of the input was louder than full scale and is clipped\n");
        // It rings at half the rate on both sides, but nothing is silent.
        const std::vector<float> integers = ReadFloats(folder / "c.wav");
        ASSERT_EQ(integers.size(), 22050u);
        for (size_t i = loudest / 2 - 20; i < loudest / 2 + 20; ++i)
            ASSERT_NE(integers[i], 0) << value << " " << i;
    }
    // Even where all of them are.
    samples.assign(44100, 3e38);
    WriteDoubles(folder / "a.wav", samples);
    RunHost({"-q", "-b", "64f", "-r", "24000", folder / "a.wav", folder / "b.wav"});
    for (const float sample : ReadFloats(folder / "b.wav"))
        ASSERT_TRUE(std::abs(sample) < 2e30f);
    // At the same rate they stay as they are.
    EXPECT_EQ(RunHost({"-q", folder / "a.wav", folder / "b.wav"}).err, "");
    EXPECT_EQ(ReadFloats(folder / "b.wav"), std::vector<float>(44100, 3e38f));
}

TEST(HostileSamples, GetNoLoudnessThatIsNoNumber)
{
    TemporaryFolder folder;
    const std::vector<float> tone = LoudTone(0.5f);
    std::vector<double> samples(tone.begin(), tone.end());
    WriteDoubles(folder / "good.wav", samples);
    for (const double value : {1e31, 1e300, std::numeric_limits<double>::infinity()}) {
        samples[22050] = value;
        WriteDoubles(folder / "a.wav", samples);
        for (const char *peak : {"--replaygain", "--true-peak"}) {
            const Outcome outcome = RunHost({"--replaygain", peak, folder / "a.wav", folder / "b.wav"});
            EXPECT_NE(outcome.out.find("ReplayGain unknown (louder than 600 dB), "), std::string::npos)
                << outcome.out;
            EXPECT_EQ(RunHost({"--info", folder / "b.wav"}).out.find("REPLAYGAIN"), std::string::npos);
        }
        for (const std::vector<std::string> &level : {std::vector<std::string>{"--normalize", "-16"},
                                                      {"--normalize", "-16", "--normalize-by", "album"}}) {
            std::vector<std::string> arguments = {"-q", folder / "a.wav", folder / "c.wav"};
            arguments.insert(arguments.begin(), level.begin(), level.end());
            EXPECT_EQ(
                RunHost(arguments).err,
                "tonekit-convert: " + folder / "a.wav" +
                    ": holds samples that are no finite numbers or louder than 600 dB, so its level can't "
                    "be measured\n");
        }
    }
    // An album has no loudness if one of its tracks has none, but the other tracks have theirs.
    fs::create_directory(fs::path(folder / "out"));
    RunHost({"-q", "--replaygain=album", folder / "a.wav", folder / "good.wav", folder / "out"});
    const std::string info = RunHost({"--info", folder / "out/good.wav"}).out;
    EXPECT_NE(info.find("REPLAYGAIN_TRACK_GAIN"), std::string::npos) << info;
    EXPECT_EQ(info.find("REPLAYGAIN_ALBUM"), std::string::npos) << info;
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

// Numbers of an ID3v2 tag's headers, 7 bits a byte.
std::string Sevens(size_t number)
{
    std::string bytes;
    for (int shift = 21; shift >= 0; shift -= 7)
        bytes += static_cast<char>(number >> shift & 0x7F);
    return bytes;
}

std::string Frame(const std::string &id, const std::string &content, char flags = 0)
{
    return id + Sevens(content.size()) + std::string(1, '\0') + flags + content;
}

// Puts an ID3v2 tag of these frames before the music.
void WriteTagged(const std::string &name, const std::string &frames)
{
    WriteSound(name, Tone(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 44100, 440));
    const std::string music = ReadText(name);
    WriteText(name, std::string("ID3\4\0\0", 6) + Sevens(frames.size()) + frames + music);
}

// A deflate stream of 'A' and so many repetitions of it, 258 each: nothing else packs so tightly.
std::string PackedRepetitions(size_t count)
{
    std::string packed("\x78\x9C");
    unsigned bits = 0;
    int filled = 0;
    const auto put = [&](unsigned code, int length) {
        while (length-- > 0) {
            bits |= (code >> length & 1) << filled;
            if (++filled == 8) {
                packed += static_cast<char>(bits);
                bits = 0;
                filled = 0;
            }
        }
    };
    put(0b110, 3);      // the last block, of fixed codes, whose lower bit comes first
    put(0x30 + 'A', 8); // the letter
    for (size_t i = 0; i < count; ++i)
        put(0b1100010100000, 13); // 258 letters, from one letter before
    put(0, 7 + 8);
    return packed;
}

TEST(HostileTags, ThatUnfoldAreLeftOut)
{
    TemporaryFolder folder;
    constexpr char kCompressedWithLength = 0x09;
    WriteTagged(folder / "a.mp3",
                Frame("TIT2", "\3Bomb") +
                    Frame("APIC", Sevens(1000) + PackedRepetitions(1'000'000), kCompressedWithLength));
    const Outcome outcome = RunHost({"-q", folder / "a.mp3", folder / "a.wav"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "tonekit-convert: warning: " + folder / "a.mp3" +
                               ": the tags need too much memory and are left out (--memory allows more)\n");
    EXPECT_EQ(RunHost({"-q", "--set", "A=b", folder / "a.mp3", folder / "b.mp3"}).status, 1);
    EXPECT_EQ(RunHost({"-q", "--memory", "4096", folder / "a.mp3", folder / "b.wav"}).status, 0);
}

// Work that grows with the square of their number would take minutes.
TEST(HostileTags, OfManyTextsAndChaptersAreReadInPartAndSoon)
{
#ifdef TONEKIT_SANITIZED
    const std::chrono::seconds soon(100);
#else
    const std::chrono::seconds soon(10);
#endif
    TemporaryFolder folder;
    std::string frames;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i);
        frames += Frame("TXXX", "\3key" + number + std::string(1, '\0') + "value");
        const std::string start = {0, static_cast<char>(i >> 16), static_cast<char>(i >> 8),
                                   static_cast<char>(i)};
        frames += Frame("CHAP", "c" + number + std::string(1, '\0') + start + start + std::string(8, '\xFF'));
    }
    WriteTagged(folder / "a.mp3", frames);
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = RunHost({"-q", folder / "a.mp3", folder / "a.flac"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("15904 text tags are left out: more than a file may have\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_NE(outcome.err.find("15904 chapters are left out: more than a file may have\n"),
              std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, soon);
    const Json json = Json::parse(RunHost({"--info", "--json", folder / "a.flac"}).out)["files"][0];
    EXPECT_EQ(json["tags"].size(), 4096u);
    EXPECT_EQ(json["chapters"].size(), 4096u);
}

TEST(HostilePictures, OfManyPixelsAreRefused)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 1000));
    // 16384 by 16384 pixels of one bit; the file system keeps only the header.
    const std::string bmp("BM\x3E\0\0\2\0\0\0\0\x3E\0\0\0\x28\0\0\0\0\x40\0\0\0\x40\0\0\1\0\1\0", 30);
    WriteText(folder / "a.bmp", bmp + std::string(32, '\0'));
    fs::resize_file(folder / "a.bmp", 62 + (uintmax_t{32} << 20));
    // 65500 by 65500 pixels in several scans.
    std::string jpeg("\xFF\xD8\xFF\xDB\0\x43\0", 7);
    jpeg += std::string(64, '\x10');
    jpeg += std::string("\xFF\xC2\0\x11\x08\xFF\xDC\xFF\xDC\3\1\x11\0\2\x11\0\3\x11\0", 19);
    jpeg += std::string("\xFF\xC4\0\x14\0\1", 6) + std::string(16, '\0');
    jpeg += std::string("\xFF\xDA\0\x0C\3\1\0\2\0\3\0\0\0\0", 14) + std::string(8, '\0') + "\xFF\xD9";
    WriteText(folder / "a.jpg", jpeg);
    for (const char *name : {"a.bmp", "a.jpg"}) {
        const Outcome outcome =
            RunHost({"--cover", folder / name, "--cover-size", "100", folder / "a.wav", folder / "b.flac"});
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_NE(outcome.err.find("of this size can't be read (--memory allows more)\n"), std::string::npos)
            << outcome.err;
    }
}

} // namespace
} // namespace tonekit::host::test
