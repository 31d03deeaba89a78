// completeness_test.cpp: files that were cut off are told from whole ones.
#include "host/completeness.h"
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
                         [](const auto &info) {
                             return std::string(info.param.extension) + std::to_string(info.index);
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
