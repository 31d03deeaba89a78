// pipes_test.cpp: streams treated like files, their headers, and the words for raw samples.
#include "host/audio/audio_reader.h"
#include "host/audio/raw_format.h"
#include "host/audio/recorded_source.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"
#include "host/system/pipe_input.h"
#include "host/system/pipe_output.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <array>
#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using test::ReadText;
using test::TemporaryFolder;
using test::WriteText;

File Opened(const std::string &name)
{
    File file;
    EXPECT_FALSE(file.OpenToRead(PathFromUtf8(name)));
    return file;
}

std::string ReadFrom(PipeInput &pipe, uint64_t position, size_t size)
{
    std::string text(size, '\0');
    size_t got = 0;
    pipe.SeekTo(position);
    EXPECT_FALSE(pipe.Read(text.data(), size, got));
    text.resize(got);
    return text;
}

TEST(PipeInput, CanGoBackOnlyToWhatItKeeps)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", "0123456789abcdefghij");
    PipeInput pipe(Opened(folder / "a"), 1000);
    EXPECT_EQ(ReadFrom(pipe, 4, 4), "4567");
    EXPECT_EQ(ReadFrom(pipe, 0, 3), "012");
    EXPECT_EQ(ReadFrom(pipe, uint64_t{1} << 40, 3), ""); // the end that a reader looks at
    pipe.KeepNoMore();
    EXPECT_EQ(ReadFrom(pipe, 6, 6), "6789ab"); // partly kept
    EXPECT_EQ(ReadFrom(pipe, 12, 2), "cd");
    EXPECT_EQ(ReadFrom(pipe, 1, 2), "12");
    char byte = 0;
    size_t got = 1;
    pipe.SeekTo(9);
    EXPECT_EQ(pipe.Read(&byte, 1, got), std::errc::invalid_seek);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(ReadFrom(pipe, 14, 100), "efghij");
    EXPECT_EQ(ReadFrom(pipe, 20, 100), "");
}

TEST(PipeInput, KeepsNoMoreThanItMay)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", std::string(100, 'x'));
    PipeInput pipe(Opened(folder / "a"), 50);
    EXPECT_EQ(ReadFrom(pipe, 0, 50).size(), 50u);
    char byte = 0;
    size_t got = 0;
    pipe.SeekTo(50);
    EXPECT_EQ(pipe.Read(&byte, 1, got), std::errc::not_enough_memory);
}

TEST(PipeInput, KeepsItsTailWhereAsked)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", "0123456789abcdefghijklmnopqrstuvwxyz");
    PipeInput pipe(Opened(folder / "a"), 50);
    const auto ending = [&](size_t size) {
        const std::string text(pipe.tail().begin(), pipe.tail().end());
        EXPECT_LE(text.size(), 2 * 4u);
        return text.substr(text.size() - std::min(text.size(), size));
    };
    EXPECT_EQ(ReadFrom(pipe, 0, 2), "01");
    EXPECT_FALSE(pipe.keepsTail());
    pipe.KeepTail(4);
    EXPECT_TRUE(pipe.keepsTail());
    EXPECT_EQ(ending(9), "01"); // all there is
    EXPECT_EQ(ReadFrom(pipe, 2, 3), "234");
    EXPECT_EQ(ending(4), "1234");
    pipe.KeepNoMore();
    EXPECT_EQ(ReadFrom(pipe, 1, 2), "12"); // known already
    EXPECT_EQ(ending(4), "1234");
    for (const char *next : {"567", "89a", "bcd"}) {
        EXPECT_EQ(ReadFrom(pipe, next[0] == '5' ? 5 : next[0] == '8' ? 8 : 11, 3), next);
        EXPECT_EQ(ending(3), next);
        EXPECT_GE(pipe.tail().size(), 4u);
    }
    EXPECT_EQ(ReadFrom(pipe, 14, 10), "efghijklmn");
    EXPECT_EQ(ending(4), "klmn");
    EXPECT_FALSE(pipe.Drain());
    EXPECT_EQ(ending(4), "wxyz");
}

TEST(PipeInput, ReplacedBytesMoveTheRest)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", "0123456789");
    PipeInput pipe(Opened(folder / "a"), 50);
    EXPECT_EQ(ReadFrom(pipe, 0, 4), "0123");
    constexpr std::array<unsigned char, 3> bytes = {'x', 'y', 'z'};
    pipe.Replace(1, 1, bytes);
    pipe.SetEnd(10);
    pipe.KeepNoMore();
    EXPECT_EQ(ReadFrom(pipe, 0, 100), "0xyz234567");
}

TEST(PipeInput, OfAFileReachesAllOfIt)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", "0123456789");
    PipeInput pipe(Opened(folder / "a"), 50, 10);
    EXPECT_EQ(ReadFrom(pipe, 0, 2), "01");
    constexpr std::array<unsigned char, 3> bytes = {'x', 'y', 'z'};
    pipe.Replace(0, 1, bytes);
    pipe.KeepNoMore();
    EXPECT_EQ(ReadFrom(pipe, 7, 3), "567");
    EXPECT_EQ(ReadFrom(pipe, 2, 4), "z123");
    EXPECT_EQ(ReadFrom(pipe, 10, 4), "89");
}

TEST(PipeOutput, DropsChangesOfWhatIsGone)
{
    const TemporaryFolder folder;
    File file;
    ASSERT_FALSE(file.CreateNew(PathFromUtf8(folder / "a")));
    PipeOutput pipe(std::move(file));
    EXPECT_FALSE(pipe.Write("head", 4));
    pipe.SeekTo(1);
    EXPECT_FALSE(pipe.Write("E", 1));
    pipe.SeekTo(4);
    EXPECT_FALSE(pipe.Write("er", 2));
    EXPECT_EQ(ReadText(folder / "a"), "");
    EXPECT_FALSE(pipe.Release());
    EXPECT_FALSE(pipe.Write(" body", 5));
    pipe.SeekTo(0);
    EXPECT_FALSE(pipe.Write("HEAD", 4));
    pipe.SeekTo(9);
    EXPECT_FALSE(pipe.Write("DY more", 7)); // "dy" is gone
    pipe.End();
    EXPECT_FALSE(pipe.Write("pad", 3));
    EXPECT_FALSE(pipe.Close());
    EXPECT_EQ(ReadText(folder / "a"), "hEader body more");
}

TEST(StreamHeader, OpenSizesAreThoseOfOtherPrograms)
{
    for (const uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFFu - 36, 0x7FFFFFFFu, 0x7FFFF000u, 0x7FFFFFFFu - 36})
        EXPECT_TRUE(IsOpenSize(size)) << size;
    for (const uint32_t size : {0x80000000u, 0x7FFFE000u, 0xFFFF0000u, 44u})
        EXPECT_FALSE(IsOpenSize(size)) << size;
    for (const uint64_t size :
         {uint64_t{0}, UINT64_MAX, static_cast<uint64_t>(INT64_MAX), uint64_t{0xFFFFFFFF}})
        EXPECT_TRUE(IsOpenSize(size)) << size;
    EXPECT_FALSE(IsOpenSize(uint64_t{1} << 40));
}

// A header of 16 bit stereo and 8 bytes of samples.
std::string Wave(const std::string &riff, const std::string &data)
{
    return riff + "\xFF\xFF\xFF\xFFWAVEfmt \x10" + std::string(3, '\0') +
           std::string("\1\0\2\0\x44\xAC\0\0", 8) + std::string("\x10\xB1\2\0\4\0\x10\0", 8) + "data" + data +
           "ABCDEFGH";
}

std::string KeptOf(PipeInput &pipe)
{
    return std::string(pipe.kept().begin(), pipe.kept().end());
}

TEST(StreamHeader, OpenWaveBecomesRf64)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", Wave("RIFF", "\xFF\xFF\xFF\xFF"));
    PipeInput pipe(Opened(folder / "a"), 1000);
    EXPECT_EQ(PrepareHeader(pipe), HeaderForm::OpenAsRf64);
    const std::string start = KeptOf(pipe);
    EXPECT_EQ(start.substr(0, 16), "RF64\xFF\xFF\xFF\xFFWAVEds64");
    EXPECT_EQ(start.substr(48, 4), "fmt ");
    EXPECT_FALSE(pipe.endIsKnown());
    pipe.KeepNoMore();
    EXPECT_EQ(ReadFrom(pipe, 80, 100), "ABCDEFGH");
}

TEST(StreamHeader, KnownSizesEndTheStream)
{
    const TemporaryFolder folder;
    WriteText(folder / "a", Wave("RIFF", std::string("\6\0\0\0", 4)));
    PipeInput pipe(Opened(folder / "a"), 1000);
    EXPECT_EQ(PrepareHeader(pipe), HeaderForm::AsItWas);
    EXPECT_TRUE(pipe.endIsKnown());
    EXPECT_EQ(ReadFrom(pipe, 44, 100), "ABCDEF");
}

std::vector<unsigned char> BytesOf(const std::string &text)
{
    return {text.begin(), text.end()};
}

TEST(StreamHeader, SizesAreSetOrLeftOpen)
{
    const AudioFormat format{SampleFormat::Int16, 2, 44100};
    std::vector<unsigned char> header = BytesOf(Wave("RIFF", std::string(4, '\0')));
    EXPECT_TRUE(SetSizes(header, ContainerOf(ContainerKind::Wav), format, 0x1020304));
    EXPECT_EQ(std::string(header.begin() + 40, header.begin() + 44), "\x10\x0C\x08\x04"); // times 4
    EXPECT_EQ(std::string(header.begin() + 4, header.begin() + 8), "\x34\x0C\x08\x04");   // and 36
    EXPECT_TRUE(SetSizes(header, ContainerOf(ContainerKind::Wav), format, std::nullopt));
    EXPECT_EQ(std::string(header.begin() + 40, header.begin() + 44), "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(std::string(header.begin() + 4, header.begin() + 8), "\xFF\xFF\xFF\xFF");
}

// Files whose sizes of 64 bits nobody has set.
TEST(OpenHeaders, OfFilesAreReadToTheEnd)
{
    const TemporaryFolder folder;
    const test::Sound sound = test::Noise(SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 44100, 2, 5000);
    test::WriteSound(folder / "a.rf64", sound);
    std::string file = ReadText(folder / "a.rf64");
    WriteText(folder / "b.rf64", file.replace(20, 24, std::string(24, '\xFF')));
    test::Sound caf = sound;
    caf.format = SF_FORMAT_CAF | SF_FORMAT_PCM_16;
    test::WriteSound(folder / "a.caf", caf);
    file = ReadText(folder / "a.caf");
    WriteText(folder / "b.caf", file.replace(file.find("data") + 4, 8, std::string(8, '\xFF')));
    for (const char *name : {"b.rf64", "b.caf"}) {
        AudioReader reader(PathFromUtf8(folder / name));
        EXPECT_EQ(reader.frames(), 5000u) << name;
        std::vector<int16_t> samples(10000);
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(reader.Read(samples.data(), 5000), 5000u) << name;
            for (size_t k = 0; k < samples.size(); ++k)
                ASSERT_EQ(samples[k], sound.samples[k] >> 16) << name << " " << k;
            reader.Rewind();
        }
    }
}

TEST(RecordedSource, ReadsItsBeginningTwice)
{
    const TemporaryFolder folder;
    const test::Sound sound = test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 1000);
    test::WriteSound(folder / "a.wav", sound);
    RecordedSource source(std::make_unique<AudioReader>(Opened(folder / "a.wav"), "a"));
    std::vector<int16_t> samples(2000 + 256); // readers clear what they do not fill
    ASSERT_EQ(source.Read(samples.data(), 300), 300u);
    source.Rewind();
    size_t frames = 0;
    while (const uint32_t got = source.Read(&samples[2 * frames], 128))
        frames += got;
    ASSERT_EQ(frames, 1000u);
    for (size_t k = 0; k < 2000; ++k)
        ASSERT_EQ(samples[k], sound.samples[k] >> 16) << k;
}

TEST(RawFormats, AreReadFromWords)
{
    const RawFormat cd = RawFormatFrom("s16le,44100,2");
    EXPECT_EQ(cd, (RawFormat{{SampleFormat::Int16, 2, 44100}, false, false}));
    EXPECT_EQ(RawFormatFrom("s24be,48k,6"), (RawFormat{{SampleFormat::Int24, 6, 48000}, true, false}));
    EXPECT_EQ(RawFormatFrom("f32,8000,1"), (RawFormat{{SampleFormat::Float32, 1, 8000}, false, false}));
    EXPECT_EQ(RawFormatFrom("f64be,8000,1"), (RawFormat{{SampleFormat::Float64, 1, 8000}, true, false}));
    EXPECT_EQ(RawFormatFrom("s8,8000,1"), (RawFormat{{SampleFormat::Int8, 1, 8000}, false, true}));
    EXPECT_EQ(RawFormatFrom("u8,8000,1"), (RawFormat{{SampleFormat::Int8, 1, 8000}, false, false}));
    EXPECT_EQ(RawFormatInPart("s32le"), (RawFormat{{SampleFormat::Int32, 0, 0}, false, false}));
    for (const char *text : {"", "s16le", "s16le,44100", "s16le,44100,0", "s16le,44100,9", "s12,44100,2",
                             "u8le,8000,1", "s16le,44100,2,1", "u16le,44100,2", "s16xe,44100,2", "s16le,,2"})
        EXPECT_THROW(RawFormatFrom(text), UsageError) << text;
}

} // namespace
} // namespace tonekit::host
