// frame_count_test.cpp: files whose header counts more frames than they hold are told as cut off.
#include "host/audio/audio_reader.h"
#include "host/audio/frame_count.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "tests/host/audio_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace tonekit::host {
namespace {

using namespace std::string_literals;
using test::Big;
using test::Little;
using test::TemporaryFolder;

const std::string kRate44100 = "\x40\x0E\xAC\x44\0\0\0\0\0\0"s;

// An AIFF file of 16 bits and two channels, or others.
struct Aiff {
    uint32_t frames = 10;
    uint32_t samplesSize = 8 + 40;
    std::string samples = std::string(40, '\1');
    uint16_t channels = 2;
    uint16_t bits = 16;
    std::string coding = {}; // four letters: AIFC

    std::string Bytes() const
    {
        const std::string name = coding.empty() ? "" : coding + "\0\0"s;
        const std::string common = Big(channels, 2) + Big(frames) + Big(bits, 2) + kRate44100 + name;
        const std::string body = (coding.empty() ? "AIFF"s : "AIFC\0\0\0\0"s).substr(0, 4) + "COMM" +
                                 Big(common.size()) + common + "SSND" + Big(samplesSize) + Big(0, 8) +
                                 samples;
        return "FORM" + Big(body.size()) + body;
    }
};

// A WAV file whose fact chunk counts frames.
struct Wave {
    uint32_t counted = 10;
    uint32_t samplesSize = 40;
    std::string samples = std::string(40, '\1');
    uint16_t tag = 1;
    uint16_t channels = 2;
    uint16_t bits = 16;
    bool bigEndian = false;
    std::string more = {}; // of the format

    std::string N(uint64_t value, int bytes) const
    {
        return bigEndian ? Big(value, bytes) : Little(value, bytes);
    }
    std::string Bytes() const
    {
        const auto frameBytes = static_cast<uint64_t>(channels * bits / 8);
        const std::string body = "WAVEfmt " + N(16 + more.size(), 4) + N(tag, 2) + N(channels, 2) +
                                 N(44100, 4) + N(44100 * frameBytes, 4) + N(frameBytes, 2) + N(bits, 2) +
                                 more + "fact" + N(4, 4) + N(counted, 4) + "data" + N(samplesSize, 4) +
                                 samples;
        return (bigEndian ? "RIFX" : "RIFF") + N(body.size(), 4) + body;
    }
};

// RF64 with the sizes and the count in the first chunk.
std::string Rf64(uint64_t counted, uint64_t samplesSize, const std::string &samples)
{
    const std::string body = "WAVEds64" + Little(28) + Little(72 + samples.size(), 8) +
                             Little(samplesSize, 8) + Little(counted, 8) + Little(0) + "fmt " + Little(16) +
                             Little(1, 2) + Little(2, 2) + Little(44100) + Little(176400) + Little(4, 2) +
                             Little(16, 2) + "data" + Little(0xFFFFFFFF) + samples;
    return "RF64" + Little(0xFFFFFFFF) + body;
}

// W64: names of 16 bytes that begin with four letters.
std::string W64(uint64_t counted, uint64_t samplesSize, const std::string &samples)
{
    const std::string rest = "\xF3\xAC\xD3\x11\x8C\xD1\0\xC0\x4F\x8E\xDB\x8A"s;
    const std::string body = "wave" + rest + "fmt " + rest + Little(24 + 16, 8) + Little(1, 2) +
                             Little(2, 2) + Little(44100) + Little(176400) + Little(4, 2) + Little(16, 2) +
                             "fact" + rest + Little(24 + 8, 8) + Little(counted, 8) + "data" + rest +
                             Little(24 + samplesSize, 8) + samples;
    return "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0"s + Little(24 + body.size(), 8) + body;
}

FrameCount CountIn(const std::string &bytes)
{
    MemoryBytes memory(std::span(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size()));
    return CountInHeader(memory);
}

// What is said of the file, and of the same through a pipe: the frames that were read, or the refusal.
std::string Read(const std::string &bytes, bool pipe)
{
    const TemporaryFolder folder;
    test::WriteText(folder / "a", bytes);
    try {
        File file;
        if (pipe && file.OpenToRead(folder / "a"))
            return "can't be opened";
        AudioReader reader = pipe ? AudioReader(std::move(file), "a") : AudioReader(folder / "a", "a");
        std::string block(1000 * reader.format().FrameBytes(), '\0');
        uint64_t all = 0;
        while (const uint32_t frames = reader.Read(block.data(), 1000))
            all += frames;
        return std::to_string(all);
    } catch (const Failure &failure) {
        return failure.what();
    }
}

void ExpectRead(const std::string &bytes, const std::string &what)
{
    for (const bool pipe : {false, true})
        EXPECT_EQ(Read(bytes, pipe), what) << (pipe ? "pipe" : "file");
}

const std::string k11Of10 = "a: the file is cut off: its header counts 11 frames, and 10 are there";

TEST(FrameCount, OfAiffIsThatOfItsCommonChunk)
{
    const FrameCount count = CountIn(Aiff().Bytes());
    EXPECT_EQ(count.frames, 10u);
    EXPECT_EQ(count.frameBytes, 4u);
    EXPECT_EQ(count.channels, 0u);
    EXPECT_EQ(CountIn(Aiff{.channels = 3, .bits = 20}.Bytes()).frameBytes, 9u);
    EXPECT_EQ(CountIn("x" + Aiff().Bytes()).frames, 0u);
    EXPECT_EQ(CountIn(Aiff().Bytes().substr(0, 27)).frames, 0u);
}

TEST(FrameCount, OfAiffThatIsRightIsWhole)
{
    ExpectRead(Aiff().Bytes(), "10");
    ExpectRead(Aiff{.coding = "sowt"}.Bytes(), "10");
}

TEST(FrameCount, OfAiffThatIsLargerThanTheSamplesIsTold)
{
    ExpectRead(Aiff{.frames = 11}.Bytes(), k11Of10);
    ExpectRead(Aiff{.frames = 11, .coding = "NONE"}.Bytes(), k11Of10);
    ExpectRead(Aiff{.frames = 11, .coding = "sowt"}.Bytes(), k11Of10);
    // Also if there is something after the samples.
    ExpectRead(Aiff{.frames = 11, .samples = std::string(40, '\1') + "ANNO" + Big(4) + "text"}.Bytes(),
               k11Of10);
    ExpectRead(Aiff{.samplesSize = 8 + 20}.Bytes(),
               "a: the file is cut off: its header counts 10 frames, and 5 are there");
    ExpectRead(Aiff{.frames = 0x7FFFFFFE / 4, .channels = 1, .bits = 16}.Bytes(),
               "a: the file is cut off: its header counts 536870911 frames, and 20 are there");
}

// Before anything is read.
TEST(FrameCount, IsComparedWhenAFileIsOpened)
{
    const TemporaryFolder folder;
    test::WriteText(folder / "a", Aiff{.frames = 11}.Bytes());
    EXPECT_THROW(AudioReader(folder / "a", "a"), Failure);
    test::WriteText(folder / "a", Aiff{.frames = 10}.Bytes());
    EXPECT_NO_THROW(AudioReader(folder / "a", "a"));
}

TEST(FrameCount, OfAiffIsNeverOfSomethingElse)
{
    ExpectRead(Aiff{.frames = 20}.Bytes(),
               "a: the file is cut off: its header counts 20 frames, and 10 are there");
    ExpectRead(Aiff{.frames = 40}.Bytes(),
               "a: the file is cut off: its header counts 40 frames, and 10 are there");
}

// The byte that makes an odd number even.
TEST(FrameCount, OfAiffMayCountThePaddingByte)
{
    const std::string nine = std::string(9, '\1') + '\0';
    ExpectRead(Aiff{.frames = 10, .samplesSize = 8 + 9, .samples = nine, .channels = 1, .bits = 8}.Bytes(),
               "9");
    ExpectRead(Aiff{.frames = 11, .samplesSize = 8 + 9, .samples = nine, .channels = 1, .bits = 8}.Bytes(),
               "a: the file is cut off: its header counts 11 frames, and 9 are there");
}

// 0 frames, or as many as the largest size has.
TEST(FrameCount, OfAiffStreamsIsNotBelieved)
{
    for (const uint32_t frames :
         {0u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu / 4, 0xFFFFFFFFu / 4, 0x7FFFF000u / 4, 0x7F000000u / 4}) {
        SCOPED_TRACE(frames);
        ExpectRead(Aiff{.frames = frames}.Bytes(), "10");
        ExpectRead(Aiff{.frames = frames, .samplesSize = 0xFFFFFFFF}.Bytes(), "10");
    }
    ExpectRead(
        Aiff{.frames = 0x7F000000 / 6, .samplesSize = 8 + 36, .samples = std::string(36, '\1'), .bits = 24}
            .Bytes(),
        "6");
}

// Programs that can't go back write right counts, if they know them, and sizes that aren't.
TEST(FrameCount, OfAiffIsCheckedWhereTheSizeIsOpen)
{
    for (const uint32_t size : {0xFFFFFFFFu, 0x7FFFFFFFu, 8 + 0x7F000000u}) {
        SCOPED_TRACE(size);
        ExpectRead(Aiff{.samplesSize = size}.Bytes(), "10");
        ExpectRead(Aiff{.frames = 11, .samplesSize = size}.Bytes(), k11Of10);
    }
}

// Of whole frames that fit into that size.
TEST(FrameCount, OfAiffStreamsWithLargeFramesIsNotBelieved)
{
    constexpr uint32_t kFrames = 0x7F000000 / 24;
    ExpectRead(Aiff{.frames = kFrames,
                    .samplesSize = 8 + kFrames * 24,
                    .samples = std::string(240, '\1'),
                    .channels = 6,
                    .bits = 32}
                   .Bytes(),
               "10");
    EXPECT_EQ(CountIn(Aiff{.frames = 0x7FFFF000 / 24, .channels = 6, .bits = 32}.Bytes()).frames, 0u);
}

// The sizes that stand for no size, to the last byte, of one byte a frame.
TEST(FrameCount, IsNotBelievedWhereASizeIsOpen)
{
    for (const uint32_t frames :
         {0xFFFFFFFFu, 0xFFFFF000u, 0x7FFFFFFFu, 0x7FFFF000u, 0x7F000008u, 0x7EFFFFC1u})
        EXPECT_EQ(CountIn(Aiff{.frames = frames, .channels = 1, .bits = 8}.Bytes()).frames, 0u) << frames;
    for (const uint32_t frames : {0xFFFFEFFFu, 0x80000000u, 0x7FFFEFFFu, 0x7F000009u, 0x7EFFFFC0u})
        EXPECT_EQ(CountIn(Aiff{.frames = frames, .channels = 1, .bits = 8}.Bytes()).frames, frames);
    // Of frames that are larger, themselves or what they take.
    EXPECT_EQ(CountIn(Aiff{.frames = 0x7F000000}.Bytes()).frames, 0u);
    EXPECT_EQ(CountIn(Aiff{.frames = 0x55555555, .channels = 1, .bits = 24}.Bytes()).frames, 0u);
    // The size isn't of whole frames.
    EXPECT_EQ(CountIn(Aiff{.frames = 0x7EFFFFC0 / 2, .channels = 1}.Bytes()).frames, 0u);
    EXPECT_EQ(CountIn(Aiff{.frames = 0x7EFFFFBE / 2, .channels = 1}.Bytes()).frames, 0x7EFFFFBEu / 2);
    EXPECT_EQ(CountIn(Aiff{.frames = 0x7F000009 / 3 + 1, .channels = 1, .bits = 24}.Bytes()).frames,
              0x7F000009u / 3 + 1);
    // What multiplied would be a small number again.
    const uint64_t most = uint64_t{1} << 46;
    EXPECT_EQ(CountIn(Rf64(most, 40, std::string(40, '\1'))).frames, most);
    EXPECT_EQ(CountIn(Rf64(most + 1, 40, std::string(40, '\1'))).frames, 0u);
}

TEST(FrameCount, OfPacketsOfAifcIsNotLookedAt)
{
    EXPECT_EQ(CountIn(Aiff{.coding = "ima4"}.Bytes()).frames, 0u);
    EXPECT_EQ(CountIn(Aiff{.coding = "GSM "}.Bytes()).frames, 0u);
    for (const char *coding : {"NONE", "none", "twos", "sowt", "raw ", "in24", "ni24", "42ni", "23ni", "in32",
                               "ni32", "fl32", "FL32", "fl64", "FL64", "ulaw", "ULAW", "alaw", "ALAW"})
        EXPECT_EQ(CountIn(Aiff{.coding = coding}.Bytes()).frames, 10u) << coding;
}

TEST(FrameCount, OfWavThatIsLargerThanTheSamplesIsTold)
{
    for (const bool bigEndian : {false, true}) {
        ExpectRead(Wave{.bigEndian = bigEndian}.Bytes(), "10");
        ExpectRead(Wave{.counted = 11, .bigEndian = bigEndian}.Bytes(), k11Of10);
        ExpectRead(Wave{.counted = 3, .bigEndian = bigEndian}.Bytes(), "10");
    }
    ExpectRead(Wave{.counted = 11, .samplesSize = 80, .samples = std::string(80, '\0'), .tag = 3, .bits = 32}
                   .Bytes(),
               k11Of10);
    ExpectRead(
        Wave{.counted = 11, .samplesSize = 20, .samples = std::string(20, '\1'), .tag = 6, .bits = 8}.Bytes(),
        k11Of10);
}

TEST(FrameCount, OfWavMayComeWithALongerFormat)
{
    const std::string rest = "\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71"s;
    const std::string more = Little(22, 2) + Little(16, 2) + Little(3);
    ExpectRead(Wave{.counted = 11, .tag = 0xFFFE, .more = more + Little(1, 2) + rest}.Bytes(), k11Of10);
    EXPECT_EQ(CountIn(Wave{.tag = 0xFFFE, .more = more + Little(0x55, 2) + rest}.Bytes()).frames, 0u);
}

TEST(FrameCount, OfWavComesBeforeTheSamples)
{
    Wave wave;
    const std::string whole = Wave{.samples = wave.samples + "fact" + Little(4) + Little(11)}.Bytes();
    EXPECT_EQ(CountIn(whole).frames, 10u);
    std::string late = whole;
    late.replace(late.find("fact"), 4, "note");
    ExpectRead(late, "10");
}

// Codings in which frames are counted: plain ones, then those in blocks.
TEST(FrameCount, OfWavIsReadOfSomeCodings)
{
    for (const uint16_t tag : std::initializer_list<uint16_t>{1, 3, 6, 7}) {
        EXPECT_EQ(CountIn(Wave{.tag = tag}.Bytes()).frames, 10u) << tag;
        EXPECT_EQ(CountIn(Wave{.tag = tag}.Bytes()).frameBytes, 4u) << tag;
    }
    for (const uint16_t tag : std::initializer_list<uint16_t>{2, 17, 49}) {
        EXPECT_EQ(CountIn(Wave{.tag = tag}.Bytes()).frames, 10u) << tag;
        EXPECT_EQ(CountIn(Wave{.tag = tag}.Bytes()).frameBytes, 0u) << tag;
    }
    for (const uint16_t tag : std::initializer_list<uint16_t>{0, 4, 5, 8, 16, 18, 48, 50})
        EXPECT_EQ(CountIn(Wave{.tag = tag}.Bytes()).frames, 0u) << tag;
}

// Samples or bytes where frames belong.
TEST(FrameCount, OfWavMayBeOfSomethingElse)
{
    for (const uint32_t counted : {0u, 20u, 40u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x7FFFF000u / 4})
        ExpectRead(Wave{.counted = counted}.Bytes(), "10");
    EXPECT_NE(Read(Wave{.counted = 19}.Bytes(), false), "10");
    EXPECT_NE(Read(Wave{.counted = 39}.Bytes(), false), "10");
    EXPECT_EQ(CountIn(Wave{.tag = 0x55}.Bytes()).frames, 0u);
}

TEST(FrameCount, OfLongFilesIsTold)
{
    const std::string samples(40, '\1');
    ExpectRead(Rf64(10, 40, samples), "10");
    ExpectRead(Rf64(0, 40, samples), "10");
    ExpectRead(Rf64(11, 40, samples), k11Of10);
    ExpectRead(W64(10, 40, samples), "10");
    ExpectRead(W64(11, 40, samples), k11Of10);
}

// From a pipe as much comes as from the file, where no size is known.
TEST(OpenSizes, OfSamplesInBlocksLoseNothing)
{
    const TemporaryFolder folder;
    const struct {
        int format;
        std::string size; // unknown
    } forms[] = {{SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, Little(0xFFFFFFFF)},
                 {SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, Little(0xFFFFFFFF)},
                 {SF_FORMAT_W64 | SF_FORMAT_MS_ADPCM, Little(INT64_MAX, 8)},
                 {SF_FORMAT_W64 | SF_FORMAT_IMA_ADPCM, Little(INT64_MAX, 8)}};
    for (const auto &form : forms) {
        SCOPED_TRACE(form.format);
        test::WriteSound(folder / "a", test::Noise(form.format, 8000, 1, 5001));
        std::string bytes = test::ReadText(folder / "a");
        const std::string whole = Read(bytes, false);
        EXPECT_GE(std::atoi(whole.c_str()), 5001);
        const bool w64 = form.size.size() == 8;
        bytes.replace(bytes.find("data") + (w64 ? 16 : 4), form.size.size(), form.size);
        EXPECT_EQ(Read(bytes, false), whole);
        EXPECT_EQ(Read(bytes, true), whole);
    }
}

TEST(FrameCount, OfWhatLibsndfileWritesIsWhole)
{
    const TemporaryFolder folder;
    for (const int type : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64, SF_FORMAT_W64, SF_FORMAT_AIFF}) {
        for (const int coding : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                                 SF_FORMAT_PCM_32, SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE, SF_FORMAT_ULAW,
                                 SF_FORMAT_ALAW, SF_FORMAT_IMA_ADPCM, SF_FORMAT_MS_ADPCM, SF_FORMAT_GSM610}) {
            for (const int channels : {1, 2}) {
                SF_INFO info{};
                info.samplerate = 44100;
                info.channels = channels;
                info.format = type | coding;
                if (!sf_format_check(&info))
                    continue;
                SCOPED_TRACE(std::to_string(info.format) + " " + std::to_string(channels));
                test::WriteSound(folder / "a", test::Noise(info.format, 44100, channels, 2001));
                EXPECT_GE(std::atoi(Read(test::ReadText(folder / "a"), false).c_str()), 2001);
                EXPECT_GE(std::atoi(Read(test::ReadText(folder / "a"), true).c_str()), 2001);
            }
        }
    }
}

} // namespace
} // namespace tonekit::host
