// flac_end_test.cpp: FLAC streams whose end isn't what their header says are recognised.
#include "host/audio/audio_reader.h"
#include "host/audio/flac_end.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "tests/host/audio_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

// The checksums as they are defined, bit by bit.
uint32_t SumOf(const std::string &bytes, int bits, uint32_t polynomial)
{
    uint32_t sum = 0;
    for (const char byte : bytes)
        for (int bit = 7; bit >= 0; --bit) {
            const bool one = (sum >> (bits - 1) & 1) != (static_cast<unsigned char>(byte) >> bit & 1u);
            sum = (sum << 1 & ((1u << bits) - 1)) ^ (one ? polynomial : 0);
        }
    return sum;
}

// A frame of mono sound of 16 bits. `start` has two bytes of mark, the codes of the block's size and of the
// rate, the channel and the bits; `numbers` are the frame's number and the block's size if its code asks for
// that.
std::string Frame(const std::string &start, const std::string &numbers, const std::string &samples)
{
    std::string frame = start + numbers;
    frame += Big(SumOf(frame, 8, 0x07), 1) + "\x02" + samples; // samples as they are
    return frame + Big(SumOf(frame, 16, 0x8005), 2);
}

std::string Samples(size_t count, uint32_t seed)
{
    std::string samples;
    for (size_t i = 0; i < 2 * count; ++i)
        samples += static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    return samples;
}

// 192 samples each, but for the last of 40.
std::string FixedFrame(char number)
{
    return Frame("\xFF\xF8\x19\x08", ""s + number, Samples(192, static_cast<unsigned char>(number) + 1u));
}

const std::string kLastFrame = Frame("\xFF\xF8\x69\x08", "\x04\x27", Samples(40, 9));
constexpr uint64_t kAll = 4 * 192 + 40;

std::string Header(uint64_t counted, int smallest = 192, int largest = 192)
{
    return "fLaC\x80\0\0\x22"s + Big(static_cast<uint64_t>(smallest), 2) +
           Big(static_cast<uint64_t>(largest), 2) + std::string(6, '\0') +
           Big(uint64_t{44100} << 44 | uint64_t{0} << 41 | uint64_t{15} << 36 | counted, 8) +
           std::string(16, '\0');
}

const std::string kFrames = FixedFrame(0) + FixedFrame(1) + FixedFrame(2) + FixedFrame(3);

FlacEnd EndOf(const std::string &file)
{
    const std::vector<unsigned char> bytes(file.begin(), file.end());
    MemoryBytes memory(bytes);
    const std::optional<FlacForm> form = FormOfFlac(memory);
    EXPECT_TRUE(form);
    return form ? EndOfFlac(*form, memory) : FlacEnd();
}

void ExpectEnd(const std::string &file, bool isCut, uint64_t frames)
{
    const FlacEnd end = EndOf(file);
    EXPECT_EQ(end.isCut, isCut) << file.size();
    EXPECT_EQ(end.frames, frames) << file.size();
}

TEST(FlacForm, IsThatOfTheHeader)
{
    const std::string file = "ID3.."s + Header(kAll, 16, 192) + kFrames;
    const std::vector<unsigned char> bytes(file.begin(), file.end());
    MemoryBytes memory(bytes);
    EXPECT_FALSE(FormOfFlac(memory));
    const std::optional<FlacForm> form = FormOfFlac(memory, 5);
    ASSERT_TRUE(form);
    EXPECT_EQ(form->counted, kAll);
    EXPECT_EQ(form->firstFrame, 5u + 42);
    EXPECT_EQ(form->channels, 1u);
    EXPECT_EQ(form->bits, 16u);
    EXPECT_EQ(form->block, 0u); // not always the same
    EXPECT_EQ(form->largestBlock, 192u);
    EXPECT_GE(form->TailBytes(), 2 * FixedFrame(0).size());
}

TEST(FlacForm, IsNotKnownWithoutHeaderOrFrames)
{
    const std::string whole = Header(0) + kFrames;
    for (const size_t size :
         {size_t{0}, size_t{3}, size_t{4}, size_t{8}, size_t{30}, size_t{42}, size_t{46}}) {
        const std::vector<unsigned char> bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        MemoryBytes memory(bytes);
        EXPECT_FALSE(FormOfFlac(memory)) << size;
    }
}

TEST(FlacEnd, IsThatOfTheLastFrame)
{
    ExpectEnd(Header(0) + kFrames + kLastFrame, false, kAll);
    ExpectEnd(Header(kAll) + kFrames + kLastFrame, false, kAll);
    ExpectEnd(Header(0) + kFrames, false, 4 * 192);
    ExpectEnd(Header(0) + FixedFrame(0), false, 192);
    // A number isn't a place where blocks may differ and the stream doesn't say how.
    ExpectEnd(Header(0, 16) + kFrames + kLastFrame, false, 0);
    // The first frame may have any number.
    ExpectEnd(Header(0) + FixedFrame(2) + FixedFrame(3) + kLastFrame, false, 2 * 192 + 40);
}

TEST(FlacEnd, MayBeFollowedByZerosAndTags)
{
    const std::string whole = Header(0) + kFrames + kLastFrame;
    const std::string id3 = "TAG" + std::string(125, 'x');
    const std::string apeFooter = "APETAGEX\xD0\x07\0\0\x28\0\0\0\1\0\0\0\0\0\0\0"s + std::string(8, '\0');
    const std::string apeHeader = "APETAGEX\xD0\x07\0\0\x28\0\0\0\1\0\0\0\0\0\0\xA0"s + std::string(8, '\0');
    std::string footerOfBoth = apeFooter;
    footerOfBoth[23] = '\x80';
    ExpectEnd(whole + std::string(3000, '\0'), false, kAll);
    ExpectEnd(whole + id3, false, kAll);
    ExpectEnd(whole + "12345678" + apeFooter, false, kAll);
    ExpectEnd(whole + apeHeader + "12345678" + footerOfBoth + id3, false, kAll);
    ExpectEnd(whole + std::string(100000, '\0'), false, 0); // not known
    ExpectEnd(whole + "\n", false, kAll);
    ExpectEnd(whole + std::string(32, 'x'), false, kAll);
    ExpectEnd(whole + "ID3" + std::string(500, 'x'), false, kAll);
    ExpectEnd(whole + "LYRICSBEGIN" + std::string(500, 'x') + id3, false, kAll);
    // What is none of these may be the rest of a frame.
    ExpectEnd(whole + std::string(33, 'x'), true, 4 * 192);
}

TEST(FlacEnd, IsCutWithinAFrame)
{
    const std::string whole = Header(0) + kFrames + kLastFrame;
    for (size_t cut = 1; cut < kLastFrame.size(); ++cut)
        ExpectEnd(whole.substr(0, whole.size() - cut), true,
                  // The header of a frame shows that the one before it was whole.
                  cut <= kLastFrame.size() - 7 ? 4 * 192 : 3 * 192);
    const std::string four = Header(0) + kFrames;
    for (size_t cut = 1; cut < FixedFrame(3).size(); cut += 9)
        EXPECT_TRUE(EndOf(four.substr(0, four.size() - cut)).isCut) << cut;
}

// Numbers are written as UTF-8 writes characters.
TEST(FlacEnd, TakesNumbersOfAnySize)
{
    const struct {
        std::string bytes;
        uint64_t number;
    } rows[] = {
        {"\x7F", 0x7F},
        {"\xC2\x80", 0x80},
        {"\xDF\xBF", 0x7FF},
        {"\xE1\x88\xB4", 0x1234},
        {"\xF4\x8D\x85\x99", 0x10D159},
        {"\xFB\x8D\x85\x99\x84", 0x3345644},
        {"\xFD\xBF\xBF\xBF\xBF\xBF", 0x7FFFFFFF},
        {"\xFE\xBF\xBF\xBF\xBF\xBF\xBF", 0xFFFFFFFFF},
    };
    for (const auto &row : rows) {
        const std::string first = Frame("\xFF\xF9\x19\x08", "\0"s, Samples(192, 1));
        const std::string second = Frame("\xFF\xF9\x19\x08", row.bytes, Samples(192, 2));
        ExpectEnd(Header(0, 16) + first + second, false, row.number + 192);
    }
}

// Codes of the block's size and of the rate, with the bytes that they ask for after the number.
TEST(FlacEnd, TakesHeadersOfEveryForm)
{
    const struct {
        char codes;
        std::string more;
        uint32_t block;
    } rows[] = {
        {'\x10', "", 192},         {'\x29', "", 576},           {'\x54', "", 4608},
        {'\x81', "", 256},         {'\xC9', "", 4096},          {'\xFB', "", 32768},
        {'\x69', "\x0F", 16},      {'\x79', "\xFF\xFE", 65535}, {'\x1C', "\x2C", 192},
        {'\x1D', "\xAC\x44", 192}, {'\x1E', "\x11\x3A", 192},   {'\x7D', "\x01\x2B\xAC\x44", 300},
    };
    for (const auto &row : rows) {
        const std::string start = "\xFF\xF9"s + row.codes;
        const std::string first = Frame("\xFF\xF9\x19\x08", "\0"s, Samples(192, 1));
        for (const char bits : {'\x00', '\x08'})
            ExpectEnd(Header(0, 16, 65535) + first + Frame(start + bits, "\x05" + row.more, Samples(9, 2)),
                      false, 5 + row.block);
        // Two channels, 24 bits, or what is reserved: no frame of this stream.
        for (const char other : {'\x10', '\x80', '\x0C', '\x06', '\x09', '\xB0'})
            ExpectEnd(Header(0, 16, 65535) + first + Frame(start + other, "\x05" + row.more, Samples(9, 2)),
                      false, 192);
    }
}

// Two channels as they are, or one of them as the difference to the other or to both.
TEST(FlacEnd, TakesTwoChannelsInEveryForm)
{
    std::string header = Header(0);
    header.replace(18, 8, Big(uint64_t{44100} << 44 | uint64_t{1} << 41 | uint64_t{15} << 36, 8));
    for (const char form : {'\x18', '\x88', '\x98', '\xA8'}) {
        const std::string start = "\xFF\xF8\x19"s + form;
        ExpectEnd(header + Frame(start, "\0"s, Samples(192, 1)) + Frame(start, "\x01", Samples(192, 2)),
                  false, 384);
    }
}

TEST(FlacEnd, TakesNoHeadersThatCannotFollow)
{
    // A larger block than the stream has, and a number that begins in the middle of one.
    ExpectEnd(Header(0) + FixedFrame(0) + Frame("\xFF\xF8\x59\x08", "\x01", Samples(9, 2)), false, 192);
    ExpectEnd(Header(0) + FixedFrame(0) + Frame("\xFF\xF8\x19\x08", "\x81", Samples(9, 2)), false, 192);
    // A number before that of the first frame says nothing.
    ExpectEnd(Header(0) + FixedFrame(5) + FixedFrame(3), false, 0);
}

TEST(FlacEnd, ContradictsAHeader)
{
    FlacForm form;
    EXPECT_TRUE((FlacEnd{true, 0}).Contradicts(form));
    EXPECT_FALSE((FlacEnd{false, 500}).Contradicts(form));
    form.counted = 499;
    EXPECT_TRUE((FlacEnd{true, 500}).Contradicts(form));
    EXPECT_TRUE((FlacEnd{false, 500}).Contradicts(form));
    form.counted = 500; // the reader finds that the rest is missing
    EXPECT_FALSE((FlacEnd{true, 500}).Contradicts(form));
}

const std::string kCut = "a: the file is cut off, or holds something else after its audio";

class FlacReader : public testing::Test {
protected:
    uint64_t Read(AudioReader &reader)
    {
        std::string block(100 * reader.format().FrameBytes(), '\0');
        uint64_t frames = 0;
        while (const uint32_t got = reader.Read(block.data(), 100))
            frames += got;
        return frames;
    }

    // Reads it from a file and from a stream. What is wrong with it, without its name; else how many frames
    // there are.
    std::string Result(const std::string &bytes)
    {
        const std::string name = folder_ / "a.flac";
        WriteText(name, bytes);
        std::string results;
        for (const bool streamed : {false, true}) {
            std::string result;
            try {
                File file;
                EXPECT_FALSE(file.OpenToRead(name));
                std::optional<AudioReader> reader;
                if (streamed)
                    reader.emplace(std::move(file), "a");
                else
                    reader.emplace(PathFromUtf8(name), "a");
                result = std::to_string(Read(*reader));
            } catch (const Failure &failure) {
                result = failure.what();
            }
            if (streamed) {
                EXPECT_EQ(result, results);
            }
            results = result;
        }
        return results;
    }

    TemporaryFolder folder_;
};

TEST_F(FlacReader, TakesWholeStreams)
{
    EXPECT_EQ(Result(Header(kAll) + kFrames + kLastFrame), "808");
    EXPECT_EQ(Result(Header(0) + kFrames + kLastFrame), "808");
    EXPECT_EQ(Result(Header(0) + kFrames), "768");
    // The blocks of the header aren't those of the frames.
    EXPECT_EQ(Result(Header(kAll, 256, 256) + kFrames + kLastFrame), "808");
}

TEST_F(FlacReader, RefusesStreamsOfNoLengthThatAreCutWithinAFrame)
{
    const std::string whole = Header(0) + kFrames + kLastFrame;
    for (const int cut : {1, 2, 3, 40, 80, 86, 87, 88, 89, 95, 200, 400})
        EXPECT_EQ(Result(whole.substr(0, whole.size() - static_cast<size_t>(cut))), kCut) << cut;
}

TEST_F(FlacReader, RefusesStreamsThatAreLongerThanTheySay)
{
    for (const uint64_t counted : {uint64_t{1}, uint64_t{192}, kAll - 1})
        EXPECT_EQ(Result(Header(counted) + kFrames + kLastFrame),
                  "a: its header counts " + std::to_string(counted) + " frames, but there are 808");
}

// With much before the frames, and frames larger than what is read at once.
TEST_F(FlacReader, LooksAtStreamsOfOtherEncodersToo)
{
    for (const int channels : {1, 2, 8}) {
        WriteSound(folder_ / "b.flac", Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 48000, channels, 20001));
        std::string bytes = ReadText(folder_ / "b.flac");
        bytes.insert(42, "\x01\x30\0\0"s + std::string(0x300000, '\0'));
        EXPECT_EQ(Result(bytes), "20001");
        std::string fewer = bytes;
        fewer.replace(22, 4, Big(20000, 4));
        EXPECT_EQ(Result(fewer), "a: its header counts 20000 frames, but there are 20001");
        std::string open = bytes;
        open.replace(22, 4, Big(0, 4));
        EXPECT_EQ(Result(open), "20001");
        EXPECT_EQ(Result(open.substr(0, open.size() - 1)), kCut);
        EXPECT_EQ(Result(open.substr(0, open.size() - 2000)), kCut);
    }
}

// As a damaged file system leaves them. libFLAC's search for a frame fails there.
TEST_F(FlacReader, GoesBackAndForthThoughZerosFollow)
{
    constexpr uint32_t kAllFrames = 20000;
    const Sound sound = Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 1, kAllFrames);
    WriteSound(folder_ / "b.flac", sound);
    WriteText(folder_ / "b.flac", ReadText(folder_ / "b.flac") + std::string(1'000'000, '\0'));
    AudioReader reader(PathFromUtf8(folder_ / "b.flac"));
    for (int i = 0; i < 2; ++i) {
        std::vector<int16_t> samples(kAllFrames + 1);
        ASSERT_EQ(reader.Read(samples.data(), kAllFrames + 1), kAllFrames);
        for (uint32_t frame = 0; frame < kAllFrames; ++frame)
            ASSERT_EQ(samples[frame], sound.samples[frame] >> 16) << frame;
        reader.Rewind();
    }
    const uint32_t first = reader.TrySeek(kAllFrames / 2) ? kAllFrames / 2 : 0;
    int16_t sample = 0;
    ASSERT_EQ(reader.Read(&sample, 1), 1u);
    EXPECT_EQ(sample, sound.samples[first] >> 16);
}

} // namespace
} // namespace tonekit::host::test
