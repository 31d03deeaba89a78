// completeness_test.cpp: files that were cut off are recognised.
#include "host/audio/completeness.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using test::TemporaryFolder;

uint64_t MissingIn(const std::string &name)
{
    File file;
    EXPECT_FALSE(file.OpenToRead(name)) << name;
    return MissingBytes(file);
}

struct FileForm {
    const char *extension;
    int format;

    friend void PrintTo(const FileForm &form, std::ostream *out) { *out << form.extension; }
};

class Completeness : public testing::TestWithParam<FileForm> {};

TEST_P(Completeness, AWholeFileLacksNothing)
{
    TemporaryFolder folder;
    const std::string name = folder / (std::string("whole.") + GetParam().extension);
    test::WriteSound(name, test::Tone(GetParam().format, 48000, 2, 20001, 440));
    EXPECT_EQ(MissingIn(name), 0u);
}

TEST_P(Completeness, ACutFileLacksItsEnd)
{
    TemporaryFolder folder;
    const std::string name = folder / (std::string("cut.") + GetParam().extension);
    test::WriteSound(name, test::Tone(GetParam().format, 48000, 2, 20001, 440));
    const uintmax_t size = std::filesystem::file_size(name);
    for (const uintmax_t kept : {size - 1, size * 3 / 4, size / 2}) {
        test::CutOff(name, kept);
        EXPECT_GT(MissingIn(name), 0u) << kept << " of " << size;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, Completeness,
                         testing::Values(FileForm{"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                                         FileForm{"wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24},
                                         FileForm{"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
                                         FileForm{"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
                                         FileForm{"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
                                         FileForm{"au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
                                         FileForm{"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                                         FileForm{"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS}),
                         [](const auto &one) {
                             return std::string(one.param.extension) + std::to_string(one.index);
                         });

TEST(CompletenessOfCaf, CountsTheSamplesOfTheHeader)
{
    TemporaryFolder folder;
    test::WriteSound(folder / "a.caf", test::Tone(SF_FORMAT_CAF | SF_FORMAT_PCM_16, 48000, 2, 20001, 440));
    EXPECT_EQ(MissingIn(folder / "a.caf"), 0u);
    const uintmax_t size = std::filesystem::file_size(folder / "a.caf");
    test::CutOff(folder / "a.caf", size - 5);
    EXPECT_EQ(MissingIn(folder / "a.caf"), 5u);
}

TEST(CompletenessOfWav, CountsTheMissingBytes)
{
    TemporaryFolder folder;
    test::WriteSound(folder / "a.wav", test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, 1000));
    test::CutOff(folder / "a.wav", 44 + 3000);
    EXPECT_EQ(MissingIn(folder / "a.wav"), 1000u);
}

TEST(CompletenessOfWav, ChunksOfOddSizeHaveAByteOfPadding)
{
    TemporaryFolder folder;
    test::WriteSound(folder / "a.wav", test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, 1000));
    std::string bytes = test::ReadText(folder / "a.wav");
    bytes.insert(36, std::string("note\x03\0\0\0abc\0", 12));
    test::WriteText(folder / "a.wav", bytes);
    EXPECT_EQ(MissingIn(folder / "a.wav"), 0u);
    test::CutOff(folder / "a.wav", bytes.size() - 7);
    EXPECT_EQ(MissingIn(folder / "a.wav"), 7u);
}

TEST(CompletenessOfWav, AStreamOfUnknownLengthIsWhole)
{
    TemporaryFolder folder;
    test::WriteSound(folder / "a.wav", test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2, 1000));
    std::string bytes = test::ReadText(folder / "a.wav");
    bytes.replace(4, 4, "\xFF\xFF\xFF\xFF");
    bytes.replace(40, 4, "\xFF\xFF\xFF\xFF");
    test::WriteText(folder / "a.wav", bytes);
    EXPECT_EQ(MissingIn(folder / "a.wav"), 0u);
}

TEST(CompletenessOfMp3, GoesByTheEncodersNote)
{
    TemporaryFolder folder;
    const std::string name = folder / "a.mp3";
    test::WriteSound(name, test::Tone(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 100000, 440));
    EXPECT_EQ(MissingIn(name), 0u);
    const uintmax_t size = std::filesystem::file_size(name);
    test::CutOff(name, size / 2);
    EXPECT_EQ(MissingIn(name), size - size / 2);
}

// The start of an MP3 file by hand: the header of a first frame, side information of so many bytes, and the
// encoder's note that counts frames (unless left out) and bytes. Filled up to `size` bytes.
std::string NotedMp3(const std::string &header, size_t sideBytes, bool framesToo, uint16_t bytes, size_t size)
{
    std::string file = header + std::string(sideBytes, '\0') + "Xing" + std::string(3, '\0');
    file += framesToo ? '\x03' : '\x02';
    if (framesToo)
        file += std::string("\x12\x34\x56\x78", 4);
    file += std::string(2, '\0') + static_cast<char>(bytes >> 8) + static_cast<char>(bytes & 0xFF);
    file.resize(size);
    return file;
}

TEST(CompletenessOfMp3, FindsTheNoteBehindTheSideInformation)
{
    TemporaryFolder folder;
    const struct {
        const char *header;
        size_t sideBytes;
    } forms[] = {{"\xFF\xFB\x90\x64", 32}, // MPEG-1, joint stereo
                 {"\xFF\xFB\x90\xC4", 17}, // MPEG-1, mono
                 {"\xFF\xF3\x80\x44", 17}, // MPEG-2, joint stereo
                 {"\xFF\xF3\x80\xC4", 9},  // MPEG-2, mono
                 {"\xFF\xE3\x80\x84", 17}, // MPEG-2.5, two channels
                 {"\xFF\xE3\x80\xC4", 9}}; // MPEG-2.5, mono
    for (const auto &form : forms) {
        for (const bool framesToo : {false, true}) {
            test::WriteText(folder / "a.mp3", NotedMp3(form.header, form.sideBytes, framesToo, 1000, 990));
            EXPECT_EQ(MissingIn(folder / "a.mp3"), 10u) << form.sideBytes;
            test::WriteText(folder / "a.mp3", NotedMp3(form.header, form.sideBytes, framesToo, 1000, 1000));
            EXPECT_EQ(MissingIn(folder / "a.mp3"), 0u) << form.sideBytes;
        }
    }
}

TEST(CompletenessOfMp3, CountsFromTheEndOfATagInFront)
{
    TemporaryFolder folder;
    // Sizes of tags have 7 bits in each byte: 0x02 0x03 are 2 * 128 + 3 bytes after the 10 of the header.
    const std::string tag = std::string("ID3\x04\0\0\0\0\x02\x03", 10) + std::string(259, 'x');
    const std::string music = NotedMp3("\xFF\xF3\x80\x44", 17, true, 1000, 1000);
    test::WriteText(folder / "a.mp3", tag + music);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 0u);
    test::CutOff(folder / "a.mp3", tag.size() + 970);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 30u);
    // The two upper bytes count too.
    const std::string large = std::string("ID3\x03\0\0\0\x01\0\0", 10) + std::string(128 * 128, 'x');
    test::WriteText(folder / "a.mp3", large + music);
    test::CutOff(folder / "a.mp3", large.size() + 960);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 40u);
    // A footer of ten bytes that isn't counted.
    const std::string footed = std::string("ID3\x04\0\x10\0\0\x02\x03", 10) + std::string(269, 'x');
    test::WriteText(folder / "a.mp3", footed + music);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 0u);
    test::CutOff(folder / "a.mp3", footed.size() + 950);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 50u);
}

TEST(CompletenessOfMp3, WithoutTheNoteOrItsBytesNothingIsKnown)
{
    TemporaryFolder folder;
    std::string file = NotedMp3("\xFF\xFB\x90\x64", 32, true, 1000, 500);
    file[4 + 32 + 4 + 3] = '\x01'; // frames alone
    test::WriteText(folder / "a.mp3", file);
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 0u);
    test::WriteText(folder / "a.mp3", std::string("\xFF\xFB\x90\x64", 4) + std::string(500, '\0'));
    EXPECT_EQ(MissingIn(folder / "a.mp3"), 0u);
}

// A block of type 9 with `counted` as its size and 6 frames of two channels, and what follows it.
std::string VocFile(char counted, const std::string &end)
{
    return std::string("Creative Voice File\x1A\x1A\0\x0A\x01\x29\x11", 26) + "\x09" + counted +
           std::string("\0\0\x44\xAC\0\0\x10\x02\x04\0\0\0\0\0", 14) + "samples of six frames..." + end;
}

// One encoder doesn't count 8 of the 12 bytes before the samples.
TEST(CompletenessOfVoc, MayCountFewerBytesThanItsBlockHas)
{
    TemporaryFolder folder;
    const std::string zero(1, '\0');
    const struct {
        std::string bytes;
        uint64_t missing;
    } rows[] = {
        {VocFile(12 + 24, zero), 0},
        {VocFile(4 + 24, zero), 0},
        {VocFile(12 + 24 + 5, zero), 4},
        {VocFile(4 + 24, ""), 0x656D61 + 4 - 8}, // "ame" for a size
        {VocFile(4 + 24, "x"), 0x656D61 + 4 - 9},
        {VocFile(4 + 24, zero + zero), 0x656D61 + 4 - 10},
    };
    for (const auto &row : rows) {
        test::WriteText(folder / "a.voc", row.bytes);
        EXPECT_EQ(MissingIn(folder / "a.voc"), row.missing) << row.bytes.size();
    }
}

TEST(CompletenessOfOtherFiles, IsNotDoubted)
{
    TemporaryFolder folder;
    for (const std::string text :
         {"", "R", "RIFF", "RIFF....WAVE", "fLaC", "caff", "FORM....AIFF", ".snd", "riff", "ID3"}) {
        test::WriteText(folder / "a", text);
        MissingIn(folder / "a"); // whatever it is: no crash, no endless walk
    }
    test::WriteText(folder / "a", "just some text that is no audio at all, in any form");
    EXPECT_EQ(MissingIn(folder / "a"), 0u);
}

} // namespace
} // namespace tonekit::host
