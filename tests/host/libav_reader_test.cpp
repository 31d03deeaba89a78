// libav_reader_test.cpp: files through libavformat against the sound that went in.
#include "host/libav/completeness_coded.h"
#include "host/libav/libav_files.h"
#include "host/open_source.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "tests/host/coded_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <random>
#include <tonekit/frame.h>

namespace tonekit::host {
namespace {

using namespace std::string_literals;
using test::Big;
using test::Coding;
using test::CutOff;
using test::Little;
using test::Noise;
using test::Outcome;
using test::ReadSound;
using test::ReadText;
using test::RunHost;
using test::RunHostOnPipes;
using test::SilentApe;
using test::Sound;
using test::TemporaryFolder;
using test::Tone;
using test::WriteCoded;
using test::WriteText;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kWav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24;

// All samples as the file has them.
std::string SamplesOf(SampleSource &source, uint32_t blockFrames = 1000)
{
    const size_t frameBytes = source.format().FrameBytes();
    std::string samples;
    std::string block(blockFrames * frameBytes, '\0');
    while (const uint32_t frames = source.Read(block.data(), blockFrames))
        samples.append(block, 0, frames * frameBytes);
    return samples;
}

std::string SamplesOf(const std::string &name)
{
    return SamplesOf(*OpenAudioFile(name, name));
}

// The upper bytes of 32-bit samples, the lowest first.
std::string Packed(const Sound &sound, int bytes)
{
    std::string packed;
    for (const int32_t sample : sound.samples) {
        for (int i = 4 - bytes; i < 4; ++i)
            packed += static_cast<char>(static_cast<uint32_t>(sample) >> 8 * i);
    }
    return packed;
}

std::vector<float> Floats(const std::string &samples)
{
    std::vector<float> values(samples.size() / sizeof(float));
    std::memcpy(values.data(), samples.data(), values.size() * sizeof(float));
    return values;
}

struct Form {
    const char *format;
    const char *coder;
    const char *type;
    int bits;
    int channels;

    friend void PrintTo(const Form &form, std::ostream *out)
    {
        *out << form.coder << " in " << form.format << ", " << form.bits << " bits, " << form.channels
             << " channels";
    }
};

class ExactCoders : public testing::TestWithParam<Form> {
protected:
    void SetUp() override
    {
        const Form &form = GetParam();
        sound = Noise(form.bits == 16 ? kWav16 : kWav24, 44100, form.channels, 20001);
        WriteCoded(name, sound, {form.format, form.coder, form.bits});
    }

    TemporaryFolder folder;
    std::string name = folder / "in";
    Sound sound;
};

TEST_P(ExactCoders, GiveEverySampleInItsPlace)
{
    const std::unique_ptr<SampleSource> source = OpenAudioFile(name, "in");
    EXPECT_EQ(source->format().channels, static_cast<uint32_t>(GetParam().channels));
    EXPECT_EQ(source->format().rate, 44100U);
    EXPECT_EQ(BitsOf(source->format().sample), static_cast<uint32_t>(GetParam().bits));
    EXPECT_EQ(source->type(), GetParam().type);
    EXPECT_FALSE(source->lossy());
    const std::string samples = SamplesOf(*source);
    EXPECT_TRUE(samples == Packed(sound, GetParam().bits / 8));
    source->Rewind();
    EXPECT_TRUE(SamplesOf(*source, 77) == samples);
}

TEST_P(ExactCoders, BecomeTheSameWavFile)
{
    EXPECT_EQ(RunHost({"-q", name, folder / "out.wav"}).err, "");
    EXPECT_TRUE(ReadSound(folder / "out.wav").samples == sound.samples);
}

INSTANTIATE_TEST_SUITE_P(
    Types, ExactCoders,
    testing::Values(Form{"ipod", "alac", "M4A", 16, 2}, Form{"ipod", "alac", "M4A", 24, 1},
                    Form{"ipod", "alac", "M4A", 16, 6}, Form{"wv", "wavpack", "WavPack", 16, 1},
                    Form{"wv", "wavpack", "WavPack", 24, 6}, Form{"tta", "tta", "TTA", 24, 2},
                    Form{"matroska", "flac", "Matroska", 16, 2}, Form{"ogg", "flac", "Ogg", 24, 2},
                    Form{"caf", "alac", "CAF", 16, 2}));

class LibavReader : public testing::Test {
protected:
    TemporaryFolder folder;
};

// The difference of what went in and what came out, in dB below what went in.
double NoiseBelow(const Sound &sound, const std::vector<float> &out)
{
    double signal = 0;
    double noise = 0;
    for (size_t i = 0; i < sound.samples.size(); ++i) {
        const double in = sound.samples[i] * 0x1p-31;
        signal += in * in;
        noise += (in - static_cast<double>(out[i])) * (in - static_cast<double>(out[i]));
    }
    return 10 * std::log10(signal / noise);
}

TEST_F(LibavReader, LeavesOutWhatTheCoderOfAacAdds)
{
    const Sound sound = Tone(kWav16, 44100, 2, 30001, 1000);
    WriteCoded(folder / "a.m4a", sound, {"ipod", "aac", 0});
    const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "a.m4a", "a");
    EXPECT_EQ(source->frames(), 30001U);
    EXPECT_TRUE(source->lossy());
    EXPECT_EQ(source->type(), "M4A (AAC)");
    const std::vector<float> samples = Floats(SamplesOf(*source));
    ASSERT_EQ(samples.size(), 2 * 30001U);
    EXPECT_GT(NoiseBelow(sound, samples), 25);
}

TEST_F(LibavReader, BelievesTheLengthThatSomeEncodersLeaveInATag)
{
    WriteCoded(folder / "a.m4a", Tone(kWav16, 44100, 2, 30001, 1000),
               {"ipod", "alac", 16, {{"title", "Tune"}}});
    std::string file = ReadText(folder / "a.m4a");
    const auto big = [](size_t size) {
        return std::string{'\0', '\0', static_cast<char>(size >> 8), static_cast<char>(size & 0xFF)};
    };
    const auto box = [&](const std::string &name, const std::string &content) {
        return big(content.size() + 8) + name + content;
    };
    const std::string zero(4, '\0');
    const std::string tag =
        box("----", box("mean", zero + "com.apple.iTunes") + box("name", zero + "iTunSMPB") +
                        box("data", std::string("\0\0\0\1", 4) + zero +
                                        " 00000000 00000000 00000000 0000000000001000"));
    const size_t list = file.find("ilst") - 4;
    file.insert(list + 8, tag);
    for (const char *outer : {"moov", "udta", "meta", "ilst"}) {
        const size_t place = file.find(outer) - 4;
        size_t size = tag.size();
        for (size_t i = 0; i < 4; ++i)
            size += static_cast<size_t>(static_cast<unsigned char>(file[place + i])) << (24 - 8 * i);
        for (size_t i = 0; i < 4; ++i)
            file[place + i] = static_cast<char>(size >> (24 - 8 * i));
    }
    WriteText(folder / "b.m4a", file);
    EXPECT_EQ(OpenAudioFile(folder / "a.m4a", "a")->frames(), 30001U);
    EXPECT_EQ(OpenAudioFile(folder / "b.m4a", "b")->frames(), 4096U);
    EXPECT_EQ(SamplesOf(folder / "b.m4a").size(), 4096U * 4);
    EXPECT_EQ(RunHost({"--info", folder / "b.m4a"}).out.find("ITUNSMPB"), std::string::npos);
}

TEST_F(LibavReader, HasTheChannelsOfAacInTheConvertersOrder)
{
    constexpr double kLevels[] = {0.9, 0.5, 0.3, 0.2, 0.1, 0.05};
    Sound sound = Tone(kWav16, 48000, 6, 24000, 100, 1);
    for (size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = static_cast<int32_t>(sound.samples[i] * kLevels[i % 6]);
    WriteCoded(folder / "a.m4a", sound, {"ipod", "aac", 0});
    const std::vector<float> samples = Floats(SamplesOf(folder / "a.m4a"));
    ASSERT_EQ(samples.size(), sound.samples.size());
    for (size_t c = 0; c < 6; ++c) {
        double power = 0; // of the middle half, a whole number of periods
        for (size_t i = 6 * 6000 + c; i < 6 * 18000; i += 6)
            power += static_cast<double>(samples[i]) * static_cast<double>(samples[i]) / 12000;
        EXPECT_NEAR(std::sqrt(2 * power), kLevels[c], kLevels[c] / 10) << c;
    }
}

// Of four channels the default is one in front and one in the rear, in the middle.
TEST_F(LibavReader, KnowsTheLoudspeakersThatTheConverterHasNoMixFor)
{
    const char *const types[][2] = {{"wv", "wavpack"}, {"matroska", "ac3"}};
    for (const auto &form : types) {
        WriteCoded(folder / "in", Noise(kWav16, 48000, 4, 9001),
                   {form[0], form[1], form[1][0] == 'a' ? 0 : 16});
        EXPECT_EQ(OpenAudioFile(folder / "in", "in")->loudspeakers(), 0x107U) << form[1];
        const Outcome outcome = RunHost({"-c", "2", folder / "in", folder / "out.wav"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("there is no mix of these"), std::string::npos) << outcome.err;
    }
    WriteCoded(folder / "in", Noise(kWav16, 48000, 6, 9001), {"wv", "wavpack", 16});
    EXPECT_EQ(OpenAudioFile(folder / "in", "in")->loudspeakers(), 0U);
}

std::string TinyJpeg()
{
    return std::string("\xFF\xD8\xFF\xC0\x00\x0B\x08\x00\x10\x00\x10\x01\x01\x11\x00\xFF\xD9", 17);
}

TEST_F(LibavReader, FindsTagsChaptersAndPictures)
{
    Coding coding{"ipod", "alac", 16};
    coding.tags = {{"title", "Tune"}, {"album_artist", "Band"}, {"track", "3/9"}};
    coding.chapters = {{0, "First"}, {250, "Second"}};
    coding.picture = TinyJpeg();
    WriteCoded(folder / "a.m4a", Noise(kWav16, 44100, 2, 20001), coding);
    EXPECT_EQ(RunHost({"-q", folder / "a.m4a", folder / "a.flac"}).err, "");
    for (const char *name : {"a.m4a", "a.flac"}) {
        const std::string info = RunHost({"--info", folder / name}).out;
        for (const char *text : {"TITLE       Tune\n", "ALBUMARTIST Band\n", "TRACKNUMBER 3/9\n", "First\n",
                                 "Second\n", "0:00.250", "image/jpeg"})
            EXPECT_NE(info.find(text), std::string::npos) << name << ": " << text << "\n" << info;
    }
    EXPECT_EQ(RunHost({"--extract-cover", folder / "c.jpg", folder / "a.m4a"}).status, 0);
    EXPECT_EQ(ReadText(folder / "c.jpg"), TinyJpeg());
}

TEST_F(LibavReader, FindsTheSoundOfAFilmAfterItsPictures)
{
    const Sound noise = Noise(kWav16, 44100, 2, 20001);
    const struct {
        const char *name;
        Coding coding;
    } films[] = {{"a.mka", {"matroska", "flac", 16}}, {"a.m4a", {"mp4", "alac", 16}}};
    for (auto [name, coding] : films) {
        coding.film = TinyJpeg();
        WriteCoded(folder / name, noise, coding);
        EXPECT_EQ(SamplesOf(folder / name), Packed(noise, 2)) << name;
    }
}

TEST_F(LibavReader, FindsTagsOfTypesThatTagLibDoesNotKnow)
{
    Coding coding{"matroska", "flac", 16};
    coding.tags = {{"title", "Tune"}, {"replaygain_track_gain", "-3.00 dB"}};
    coding.chapters = {{0, "First"}, {250, "Second"}};
    WriteCoded(folder / "a.mka", Noise(kWav16, 44100, 2, 20001), coding);
    const std::string info = RunHost({"--info", folder / "a.mka"}).out;
    for (const char *text : {"TITLE", "Tune\n", "REPLAYGAIN_TRACK_GAIN", "-3.00 dB\n", "First\n", "Second\n"})
        EXPECT_NE(info.find(text), std::string::npos) << text << "\n" << info;
}

TEST_F(LibavReader, ReadsWhatComesOutOfAPipe)
{
    const Sound sound = Noise(kWav16, 44100, 2, 20001);
    const char *const types[][2] = {{"ipod", "alac"}, {"wv", "wavpack"}};
    for (const auto &type : types) {
        WriteCoded(folder / "in", sound, {type[0], type[1], 16});
        const Outcome outcome = RunHostOnPipes(ReadText(folder / "in"), {"-q", "-", folder / "out.wav"});
        EXPECT_EQ(outcome.err, "") << type[0];
        EXPECT_TRUE(ReadSound(folder / "out.wav").samples == sound.samples) << type[0];
    }
}

// Decoders of some types take what came for all.
TEST_F(LibavReader, NoticesThatAStreamOfPacketsIsCutOff)
{
    WriteCoded(folder / "in", Tone(kWav16, 44100, 2, 200000, 440), {"matroska", "pcm_s16le"});
    const std::string whole = ReadText(folder / "in");
    EXPECT_EQ(RunHostOnPipes(whole, {"-q", "-", "-t", "raw", "-"}).err, "");
    for (const size_t missing : {size_t{2}, size_t{5000}, whole.size() / 2}) {
        const Outcome outcome =
            RunHostOnPipes(whole.substr(0, whole.size() - missing), {"-q", "-", "-t", "raw", "-"});
        EXPECT_EQ(outcome.status, 1) << missing;
        EXPECT_NE(outcome.err.find("the file is cut off: its last " + std::to_string(missing) +
                                   " bytes are missing"),
                  std::string::npos)
            << outcome.err;
    }
}

// The table of samples is right where the header counts less than it by more than a packet.
TEST_F(LibavReader, ReadsAllSamplesOfMp4WhateverItsHeaderCounts)
{
    for (const char *coder : {"alac", "aac"}) {
        WriteCoded(folder / "in", Tone(kWav16, 44100, 2, 30001, 440),
                   {"ipod", coder, coder[1] == 'a' ? 0 : 16});
        const std::string whole = ReadText(folder / "in");
        const size_t length = whole.find("mdhd") + 20;
        ASSERT_LT(length, whole.size());
        ASSERT_EQ(OpenAudioFile(folder / "in", "in")->frames(), 30001U) << coder;
        const std::string samples = SamplesOf(folder / "in");
        for (const uint64_t counted : {1u, 9000u, 25000u}) {
            WriteText(folder / "short", std::string(whole).replace(length, 4, Big(counted)));
            EXPECT_EQ(OpenAudioFile(folder / "short", "short")->frames(), 30001U) << coder << counted;
            EXPECT_TRUE(SamplesOf(folder / "short") == samples) << coder << counted;
        }
    }
    // A part of the last packet can be left out.
    WriteCoded(folder / "in", Tone(kWav16, 44100, 2, 30001, 440), {"ipod", "alac", 16});
    std::string less = ReadText(folder / "in");
    less.replace(less.find("mdhd") + 20, 4, Big(29000));
    WriteText(folder / "less", less);
    EXPECT_EQ(OpenAudioFile(folder / "less", "less")->frames(), 29000U);
}

TEST_F(LibavReader, ReadsAllStreamsOfFlacInOgg)
{
    std::string bytes;
    std::string samples;
    for (const size_t frames : {20001U, 5U, 30000U}) {
        const Sound sound = Noise(kWav16, 44100, 2, frames, static_cast<uint32_t>(frames));
        WriteCoded(folder / "in", sound, {"ogg", "flac", 16});
        bytes += ReadText(folder / "in");
        samples += Packed(sound, 2);
    }
    WriteText(folder / "in", bytes);
    const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "in", "in");
    EXPECT_TRUE(SamplesOf(*source) == samples);
    source->Rewind();
    EXPECT_TRUE(SamplesOf(*source, 77) == samples);
    EXPECT_TRUE(RunHostOnPipes(bytes, {"-q", "-", "-t", "raw", "-"}).out == samples);

    const auto refusal = [&](const std::string &input) {
        const Outcome piped = RunHostOnPipes(input, {"-q", "-", folder / "none.wav"});
        WriteText(folder / "in", input);
        const Outcome outcome = RunHost({"-q", folder / "in", folder / "none.wav"});
        EXPECT_EQ(piped.status, 1);
        EXPECT_EQ(outcome.status, 1);
        const std::string text = outcome.err.substr(outcome.err.find(": ", outcome.err.find("in:")));
        EXPECT_NE(piped.err.find(text), std::string::npos) << piped.err << outcome.err;
        return outcome.err;
    };
    WriteCoded(folder / "in", Noise(kWav16, 48000, 2, 5000), {"ogg", "flac", 16});
    EXPECT_NE(refusal(bytes + ReadText(folder / "in")).find("changes from 44100 Hz"), std::string::npos);
    // Of a stream that was cut within a page the next one's first page is lost.
    WriteCoded(folder / "in", Noise(kWav16, 44100, 2, 100000), {"ogg", "flac", 16});
    const std::string whole = ReadText(folder / "in");
    EXPECT_NE(refusal(whole.substr(0, 200000) + bytes).find("damaged"), std::string::npos);
    // A page that is missing in the middle.
    const size_t page = whole.find("OggS", 100000);
    const size_t next = whole.find("OggS", page + 4);
    ASSERT_NE(next, std::string::npos);
    EXPECT_NE(refusal(whole.substr(0, page) + whole.substr(next)).find("damaged"), std::string::npos);
    // The last page of a whole stream is marked as the end.
    const std::string cut = whole.substr(0, 200000);
    EXPECT_EQ(RunHostOnPipes(cut, {"-q", "-", folder / "none.wav"}).err,
              "tonekit-convert: standard input: the stream is cut off\n");
    WriteText(folder / "in", cut);
    EXPECT_EQ(RunHost({"-q", folder / "in", folder / "none.wav"}).err,
              "tonekit-convert: " + (folder / "in") + ": the file is cut off\n");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(LibavReader, ReadsALongFileFromAPipeWhoseHeaderComesLast)
{
    const Sound sound = Noise(kWav16, 44100, 2, 600000); // 2.4 MB
    WriteCoded(folder / "in", sound, {"ipod", "alac", 16});
    const std::string file = ReadText(folder / "in");
    ASSERT_GT(file.find("moov"), 2'000'000U);
    EXPECT_EQ(RunHostOnPipes(file, {"-q", "-", folder / "out.wav"}).err, "");
    EXPECT_TRUE(ReadSound(folder / "out.wav").samples == sound.samples);
}

// The samples of a file; none if it is refused.
std::optional<std::string> SamplesIfAny(const std::string &name)
{
    try {
        return SamplesOf(name);
    } catch (const Failure &) {
        return std::nullopt;
    }
}

TEST_F(LibavReader, RefusesWhatIsCutOffOrHasAllOfTheAudio)
{
    const char *const types[][2] = {{"ipod", "alac"}, {"wv", "wavpack"}, {"matroska", "flac"},
                                    {"tta", "tta"},   {"ogg", "flac"},   {"avi", "pcm_s16le"}};
    const std::string tag = "ID3\4\0\0\0\0\1\2"s + std::string(130, 'x');
    for (const auto &type : types) {
        WriteCoded(folder / "in", Noise(kWav16, 44100, 2, 9000), {type[0], type[1], 16});
        const std::string whole = ReadText(folder / "in");
        const std::string samples = SamplesOf(folder / "in");
        for (size_t kept = whole.size() - 1; kept > 0; kept -= std::min<size_t>(kept, 1 + kept / 40)) {
            WriteText(folder / "cut", whole.substr(0, kept));
            const std::optional<std::string> left = SamplesIfAny(folder / "cut");
            EXPECT_TRUE(!left || *left == samples) << type[0] << " of " << kept << " bytes";
        }
        // Positions in an M4A file count from its first byte, so that a tag makes it unreadable.
        WriteText(folder / "cut", tag + whole);
        EXPECT_TRUE(type[0] == "ipod"s || SamplesIfAny(folder / "cut") == samples) << type[0];
        for (size_t eighths = 1; eighths < 8; ++eighths) {
            WriteText(folder / "cut", tag + whole.substr(0, whole.size() * eighths / 8));
            const std::optional<std::string> left = SamplesIfAny(folder / "cut");
            EXPECT_TRUE(!left || *left == samples) << type[0] << ", " << eighths << " eighths";
            EXPECT_EQ(RunHostOnPipes(ReadText(folder / "cut"), {"-q", "-", "-t", "wav", "-"}).status, 1)
                << type[0] << ", " << eighths << " eighths";
        }
    }
}

// A header or footer of a tag with one title.
std::string ApePart(uint32_t flags)
{
    return "APETAGEX" + Little(2000) + Little(49) + Little(1) + Little(flags) + std::string(8, '\0');
}

const std::string kApeTag = ApePart(0xA0000000) + Little(3) + Little(0) + "Title\0abc"s + ApePart(0x80000000);

// The decoder ends where the first block says that the file does.
TEST_F(LibavReader, RefusesWavPackThatIsLongerThanItSays)
{
    for (const int channels : {2, 6}) { // of 6 several blocks share a place
        WriteCoded(folder / "in", Noise(kWav16, 44100, channels, 70000), {"wv", "wavpack", 16});
        std::string bytes = ReadText(folder / "in");
        ASSERT_EQ(bytes.substr(12, 4), std::string("\x70\x11\1\0", 4));
        for (const int counted : {1, 30000, 69999}) {
            for (int i = 0; i < 4; ++i)
                bytes[12 + static_cast<size_t>(i)] = static_cast<char>(counted >> 8 * i & 0xFF);
            WriteText(folder / "short", bytes + "APETAGEX");
            const Outcome outcome = RunHost({folder / "short", folder / "out.wav"});
            EXPECT_EQ(outcome.status, 1);
            EXPECT_NE(outcome.err.find("short: its header counts " + std::to_string(counted) +
                                       " frames, but there are 70000"),
                      std::string::npos)
                << outcome.err;
            const Outcome piped = RunHostOnPipes(bytes + "APETAGEX", {"-q", "-", "-t", "wav", "-"});
            EXPECT_EQ(piped.status, 1);
            EXPECT_NE(piped.err.find("standard input: its header counts " + std::to_string(counted) +
                                     " frames, but there are 70000"),
                      std::string::npos)
                << piped.err;
        }
        EXPECT_EQ(RunHostOnPipes(ReadText(folder / "in"), {"-q", "-", "-t", "wav", "-"}).status, 0);
        const std::string blocks = ReadText(folder / "in").substr(0, bytes.find("APETAGEX"));
        WriteText(folder / "twice", blocks + blocks);
        EXPECT_NE(RunHost({folder / "twice", folder / "out.wav"})
                      .err.find("counts 70000 frames, but there are 140000"),
                  std::string::npos);
        for (const std::string &between :
             {kApeTag, "TAG" + std::string(125, ' '), "ID3\4\0\0\0\0\0\5abcde"s}) {
            WriteText(folder / "twice", blocks + between + blocks + between);
            EXPECT_NE(RunHost({folder / "twice", folder / "out.wav"})
                          .err.find("counts 70000 frames, but there are 140000"),
                      std::string::npos);
            EXPECT_NE(RunHostOnPipes(blocks + between + blocks, {"-q", "-", "-t", "wav", "-"})
                          .err.find("counts 70000 frames, but there are 140000"),
                      std::string::npos);
        }
        std::filesystem::remove(folder / "twice");
        bytes.replace(12, 4, "\xFF\xFF\xFF\xFF");
        WriteText(folder / "open", bytes);
        EXPECT_EQ(SamplesIfAny(folder / "open"), SamplesOf(folder / "in"));
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in", "open", "short"}));
}

// A block by hand, with a count of all frames, its place and its frames.
std::string WavPackBlock(int counted, int place, int held, int more = 0, bool first = false)
{
    std::string block = "wvpk" + std::string(28, '\0');
    block[9] = '\4';
    block[25] = first ? '\x08' : '\0';
    block[4] = static_cast<char>(24 + more);
    block[12] = static_cast<char>(counted);
    block[16] = static_cast<char>(place);
    block[20] = static_cast<char>(held);
    return block + std::string(static_cast<size_t>(more), 'x');
}

TEST(WavPackFrames, AreCountedAndHeld)
{
    std::string large = WavPackBlock(9, 0, 9);
    large[11] = '\1'; // more than 32 bits
    const std::string open(4, '\xFF');
    const struct {
        std::string bytes;
        uint64_t counted;
        uint64_t held;
    } rows[] = {
        {"", 0, 0},
        {"wvpk", 0, 0},
        {"RIFF" + WavPackBlock(9, 0, 9), 0, 0},
        {WavPackBlock(9, 0, 4, 50) + WavPackBlock(9, 4, 5, 7), 9, 9},
        {WavPackBlock(9, 0, 4) + WavPackBlock(0, 0, 4, 3) + WavPackBlock(1, 4, 6) + "TAG", 9, 10},
        {WavPackBlock(5, 0, 0, 9) + WavPackBlock(9, 40, 4) + WavPackBlock(9, 44, 6) + WavPackBlock(9, 0, 0),
         9, 10},
        {WavPackBlock(9, 40, 4) + WavPackBlock(9, 1, 20), 9, 24},
        {WavPackBlock(9, 0, 4) + WavPackBlock(9, 4, 5) + WavPackBlock(3, 0, 3), 9, 12},
        {WavPackBlock(9, 0, 4) + WavPackBlock(9, 0, 4) + WavPackBlock(9, 4, 5), 9, 9},
        {WavPackBlock(9, 0, 9, 0, true) + WavPackBlock(9, 0, 9, 0, true), 9, 18},
        {WavPackBlock(9, 0, 9, 0, true) + WavPackBlock(9, 0, 9), 9, 9},
        {WavPackBlock(9, 0, 9) + kApeTag + "TAG" + std::string(125, 'w') + WavPackBlock(3, 1, 2) +
             WavPackBlock(3, 0, 7),
         9, 16},
        {WavPackBlock(9, 5, 9) + "wvwvpwvp" + WavPackBlock(8, 0, 3), 9, 12},
        {WavPackBlock(9, 5, 9) + std::string(100000, 'w') + WavPackBlock(8, 0, 3) + "wvpk", 9, 12},
        {WavPackBlock(9, 0, 9) + "x" + WavPackBlock(9, 0, 3).replace(9, 1, "\5"), 9, 9},
        {WavPackBlock(9, 0, 9) + "x" + WavPackBlock(9, 0, 3).replace(4, 4, open), 9, 9},
        {WavPackBlock(9, 0, 9) + "x" + WavPackBlock(9, 0, 3).replace(11, 1, "x"), 9, 9},
        {"ID3\4\0\0\0\0\0\5abcde"s + WavPackBlock(9, 0, 9) + "TAG" + WavPackBlock(9, 0, 8, 0, true), 9, 17},
        {"ID3\4\0\x10\0\0\1\0"s + std::string(138, 't') + WavPackBlock(9, 0, 9), 9, 9},
        {"ID3\4\0\0\0\0\0\5abcdef"s + WavPackBlock(9, 0, 9), 0, 0},
        {WavPackBlock(0, 0, 4), 0, 0},
        {WavPackBlock(0, 0, 4).replace(12, 4, open), 0, 0},
        {large, 0, 0},
    };
    for (const auto &row : rows) {
        const std::vector<unsigned char> file(row.bytes.begin(), row.bytes.end());
        MemoryBytes memory(file);
        HeaderBytes bytes(memory);
        const WavPackFrames frames = FramesOfWavPack(bytes);
        EXPECT_EQ(frames.counted, row.counted) << row.bytes.size();
        EXPECT_EQ(frames.held, row.held) << row.bytes.size();
        for (const size_t part : {1u, 5u, 1000u}) { // as they come through a pipe
            WavPackBlocks blocks;
            for (size_t i = 0; i < file.size(); i += part)
                blocks.Take(std::span(file).subspan(i, std::min(part, file.size() - i)));
            EXPECT_EQ(blocks.frames().counted, row.counted) << row.bytes.size();
            EXPECT_EQ(blocks.frames().held, row.held) << row.bytes.size();
        }
    }
}

TEST_F(LibavReader, NoticesWrongBitsInExactCoders)
{
    WriteCoded(folder / "in", Noise(kWav16, 44100, 2, 9000), {"wv", "wavpack", 16});
    std::string bytes = ReadText(folder / "in");
    bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 4);
    WriteText(folder / "in", bytes);
    const Outcome outcome = RunHost({folder / "in", folder / "out.wav"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("in: the audio is damaged"), std::string::npos) << outcome.err;
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(LibavReader, SurvivesBytesThatAreWrong)
{
    const char *const types[][2] = {
        {"ipod", "alac"}, {"ipod", "aac"}, {"wv", "wavpack"}, {"matroska", "flac"}, {"adts", "aac"}};
    std::mt19937 random(7);
    for (const auto &type : types) {
        WriteCoded(folder / "in", Noise(kWav16, 44100, 2, 5000),
                   {type[0], type[1], type[1][1] == 'a' ? 0 : 16});
        const std::string whole = ReadText(folder / "in");
        for (int i = 0; i < 40; ++i) {
            std::string bytes = whole;
            for (uint32_t wrong = random() % 8 + 1; wrong > 0; --wrong) {
                const size_t place = i % 2 ? random() % bytes.size() : random() % 400;
                bytes[place] = static_cast<char>(random());
            }
            WriteText(folder / "wrong", bytes);
            SamplesIfAny(folder / "wrong");
        }
    }
}

TEST_F(LibavReader, LeadsToNoOtherFile)
{
    WriteCoded(folder / "in.m4a", Noise(kWav16, 44100, 2, 5000), {"ipod", "alac", 16});
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + (folder / "in.m4a") + "\n";
    WriteText(folder / "list.m3u8", list);
    WriteText(folder / "list.ffconcat", "ffconcat version 1.0\nfile in.m4a\n");
    for (const char *name : {"list.m3u8", "list.ffconcat"}) {
        const Outcome outcome = RunHost({"--info", folder / name});
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_NE(outcome.err.find("not an audio file that can be read"), std::string::npos) << outcome.err;
    }
}

// A DSF file of two channels at 2.8 MHz, all of whose bits of a channel are alike.
std::string Dsf(char left, char right, size_t blocks)
{
    constexpr size_t kBlock = 4096;
    std::string audio;
    for (size_t i = 0; i < blocks; ++i)
        audio += std::string(kBlock, left) + std::string(kBlock, right);
    return "DSD " + Little(28, 8) + Little(92 + audio.size(), 8) + Little(0, 8) + "fmt " + Little(52, 8) +
           Little(1, 4) + Little(0, 4) + Little(2, 4) + Little(2, 4) + Little(2822400, 4) + Little(1, 4) +
           Little(blocks * kBlock * 8, 8) + Little(kBlock, 4) + Little(0, 4) + "data" +
           Little(12 + audio.size(), 8) + audio;
}

TEST_F(LibavReader, MakesPcmOfDsdWithTheGainThatIsSet)
{
    WriteText(folder / "a.dsf", Dsf('\xFF', '\x00', 3));
    const std::pair<uint32_t, double> gains[] = {{6, 1.99526}, {0, 1.0}};
    for (const auto &gain : gains) {
        SetDSDPCMGain(gain.first);
        const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "a.dsf", "a");
        EXPECT_EQ(source->type(), "DSF");
        EXPECT_EQ(source->format().rate, 352800U);
        EXPECT_EQ(source->format().sample, SampleFormat::Float32);
        EXPECT_EQ(source->frames(), 3 * 4096U);
        EXPECT_FALSE(source->lossy());
        const std::vector<float> samples = Floats(SamplesOf(*source));
        ASSERT_EQ(samples.size(), 2 * 3 * 4096U);
        EXPECT_NEAR(samples[4096], gain.second, 1e-4);
        EXPECT_NEAR(samples[4097], -gain.second, 1e-4);
    }
    SetDSDPCMGain(6);
    CutOff(folder / "a.dsf", 20000);
    EXPECT_NE(RunHost({"--info", folder / "a.dsf"}).err.find("the file is cut off"), std::string::npos);
}

TEST_F(LibavReader, MakesPcmOfDsdWithTheGainOfTheCommandLine)
{
    WriteText(folder / "a.dsf", Dsf('\xFF', '\x00', 3));
    const std::pair<std::vector<std::string>, double> gains[] = {
        {{}, 1.99526}, {{"--dsd-gain", "6"}, 1.99526}, {{"--dsd-gain", "1"}, 1.12202}};
    for (const auto &gain : gains) {
        std::vector<std::string> arguments = gain.first;
        arguments.insert(arguments.end(), {"-q", "-b", "64f", folder / "a.dsf", folder / "out.w64"});
        EXPECT_EQ(RunHost(arguments).err, "");
        const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "out.w64", "out");
        const std::string samples = SamplesOf(*source);
        double value = 0;
        std::memcpy(&value, samples.data() + 4096 * sizeof(value), sizeof(value));
        EXPECT_NEAR(value, gain.second, 1e-4);
    }
    EXPECT_EQ(RunHost({"--dsd-gain", "7", "a", "b"}).status, 2);
}

TEST_F(LibavReader, ReadsDsdInChunks)
{
    const auto chunk = [](const std::string &name, const std::string &content) {
        return name + Big(content.size(), 8) + content;
    };
    std::string bits;
    for (int i = 0; i < 5001; ++i)
        bits += std::string("\xFF\x00", 2);
    const std::string body =
        "DSD " + chunk("FVER", Big(0x01050000, 4)) +
        chunk("PROP", "SND " + chunk("FS  ", Big(2822400, 4)) + chunk("CHNL", Big(2, 2) + "SLFTSRGT") +
                          chunk("CMPR", "DSD " + Big(14, 1) + "not compressed" + Big(0, 1))) +
        chunk("DSD ", bits);
    WriteText(folder / "a.dff", "FRM8" + Big(body.size(), 8) + body);
    const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "a.dff", "a");
    EXPECT_EQ(source->type(), "DSDIFF");
    EXPECT_EQ(source->format().rate, 352800U);
    EXPECT_EQ(source->frames(), 5001U);
    const std::vector<float> samples = Floats(SamplesOf(*source));
    ASSERT_EQ(samples.size(), 2 * 5001U);
    EXPECT_NEAR(samples[4000], 1.99526, 1e-4);
    EXPECT_NEAR(samples[4001], -1.99526, 1e-4);
    CutOff(folder / "a.dff", 9000);
    EXPECT_NE(RunHost({"--info", folder / "a.dff"}).err.find("the file is cut off"), std::string::npos);
}

TEST_F(LibavReader, ReadsMonkeysAudioAndChecksItsSum)
{
    WriteText(folder / "a.ape", SilentApe(0x1D45C9DF));
    const std::unique_ptr<SampleSource> source = OpenAudioFile(folder / "a.ape", "a");
    EXPECT_EQ(source->type(), "Monkey's Audio");
    EXPECT_EQ(source->format(), (AudioFormat{SampleFormat::Int16, 2, 44100}));
    EXPECT_EQ(source->frames(), 1000U);
    EXPECT_EQ(SamplesOf(*source), std::string(4000, '\0'));
    WriteText(folder / "b.ape", SilentApe(0x1D45C9DE));
    EXPECT_NE(RunHost({"--info", folder / "b.ape"}).err.find("b.ape: the audio is damaged"),
              std::string::npos);
}

TEST_F(LibavReader, ChangesNoTagsOfATypeThatTagLibDoesNotKnow)
{
    WriteCoded(folder / "a.tta", Noise(kWav16, 44100, 2, 5000), {"tta", "tta", 16});
    const std::string before = ReadText(folder / "a.tta");
    const Outcome outcome = RunHost({"--in-place", "--set", "TITLE=New", folder / "a.tta"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("can be read, and not changed"), std::string::npos) << outcome.err;
    EXPECT_EQ(ReadText(folder / "a.tta"), before);
}

} // namespace
} // namespace tonekit::host
