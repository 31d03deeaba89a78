// truncated_files_test.cpp: of a file that was cut anywhere, either all the audio is read or it is refused.
//
// Headers of PAF, PVF and IRCAM files, and of MP3 files without an encoder's note, don't say how long they
// are.
#include "host/audio/audio_reader.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <optional>
#include <set>

namespace tonekit::host {
namespace {

using test::TemporaryFolder;

struct FileForm {
    const char *name;
    int format;
    size_t frames;
    int channels = 2;

    friend void PrintTo(const FileForm &form, std::ostream *out) { *out << form.name; }
};

// The samples of a file; none if it is refused.
std::optional<std::string> SamplesOf(const std::string &name)
{
    try {
        AudioReader reader(name);
        std::string samples;
        std::string block(1000 * reader.format().FrameBytes(), '\0');
        while (const uint32_t frames = reader.Read(block.data(), 1000))
            samples.append(block, 0, frames * reader.format().FrameBytes());
        return samples;
    } catch (const Failure &) {
        return std::nullopt;
    }
}

// Each byte of the headers and of what is at the end, the borders of Ogg pages, and places between.
std::set<size_t, std::greater<>> CutsOf(const std::string &bytes)
{
    constexpr size_t kEachByte = 600;
    constexpr size_t kBetween = 150;
    std::set<size_t, std::greater<>> cuts;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i < kEachByte || i + kEachByte >= bytes.size() || i % (bytes.size() / kBetween + 1) == 0)
            cuts.insert(i);
    }
    for (size_t page = bytes.find("OggS"); page != std::string::npos; page = bytes.find("OggS", page + 4))
        cuts.insert({page, page + 4, page + 27, page + 28});
    return cuts;
}

class TruncatedFiles : public testing::TestWithParam<FileForm> {
protected:
    static void SetUpTestSuite() { SilenceLibraries(); } // libmpg123 has a line for each cut
};

TEST_P(TruncatedFiles, AreRefusedOrLackNoAudio)
{
    const auto &[form, format, frames, channels] = GetParam();
    TemporaryFolder folder;
    const std::string name = folder / (std::string("file.") + form);
    test::WriteSound(name, test::Tone(format, 48000, channels, frames, 440));
    const std::optional<std::string> whole = SamplesOf(name);
    ASSERT_TRUE(whole);
    size_t refused = 0;
    std::string wrong;
    const std::string bytes = test::ReadText(name);
    for (const size_t cut : CutsOf(bytes)) { // the largest first
        test::CutOff(name, cut);
        const std::optional<std::string> samples = SamplesOf(name);
        refused += !samples;
        if (samples && *samples != *whole)
            wrong += " " + std::to_string(cut) + ":" + std::to_string(samples->size());
    }
    EXPECT_EQ(wrong, "") << "bytes of " << bytes.size() << ", of audio " << whole->size();
    EXPECT_GT(refused, 500u);
}

// Another program's tag of 140 bytes with its header.
TEST_P(TruncatedFiles, AreRefusedOrLackNoAudioAfterATag)
{
    const auto &[form, format, frames, channels] = GetParam();
    constexpr size_t kCuts = 15;
    TemporaryFolder folder;
    const std::string name = folder / (std::string("file.") + form);
    test::WriteSound(name, test::Tone(format, 48000, channels, frames, 440));
    const std::optional<std::string> whole = SamplesOf(name);
    ASSERT_TRUE(whole);
    const std::string tagged =
        std::string("ID3\4\0\0\0\0\1\2", 10) + std::string(130, 'x') + test::ReadText(name);
    test::WriteText(name, tagged);
    EXPECT_TRUE(SamplesOf(name) == whole);
    size_t refused = 0;
    for (size_t cut = 1; cut < kCuts; ++cut) {
        test::WriteText(name, tagged.substr(0, tagged.size() * cut / kCuts));
        const std::optional<std::string> samples = SamplesOf(name);
        refused += !samples;
        EXPECT_TRUE(!samples || *samples == *whole) << cut << " of " << kCuts << " parts are left";
    }
    EXPECT_GT(refused, kCuts / 2);
}

INSTANTIATE_TEST_SUITE_P(Forms, TruncatedFiles,
                         testing::Values(FileForm{"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"wav8", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 2001, 1},
                                         FileForm{"wavex", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 2001},
                                         FileForm{"wavfloat", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2001},
                                         FileForm{"wavims", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, 5001},
                                         FileForm{"wavms", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, 5001},
                                         FileForm{"wavgsm", SF_FORMAT_WAV | SF_FORMAT_GSM610, 5001, 1},
                                         FileForm{"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"aiff8", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, 2001, 1},
                                         FileForm{"aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, 2001},
                                         FileForm{"au", SF_FORMAT_AU | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"alac", SF_FORMAT_CAF | SF_FORMAT_ALAC_16, 9001},
                                         FileForm{"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 9001},
                                         FileForm{"flac24", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 9001},
                                         FileForm{"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 90001},
                                         FileForm{"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 90001},
                                         FileForm{"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 20001},
                                         FileForm{"nist", SF_FORMAT_NIST | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"voc", SF_FORMAT_VOC | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"svx", SF_FORMAT_SVX | SF_FORMAT_PCM_16, 2001, 1},
                                         FileForm{"avr", SF_FORMAT_AVR | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"mat4", SF_FORMAT_MAT4 | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"mat5", SF_FORMAT_MAT5 | SF_FORMAT_PCM_16, 2001},
                                         FileForm{"htk", SF_FORMAT_HTK | SF_FORMAT_PCM_16, 2001, 1},
                                         FileForm{"sds", SF_FORMAT_SDS | SF_FORMAT_PCM_16, 2001, 1},
                                         FileForm{"wve", SF_FORMAT_WVE | SF_FORMAT_ALAW, 2001, 1},
                                         FileForm{"mpc2k", SF_FORMAT_MPC2K | SF_FORMAT_PCM_16, 2001}),
                         [](const auto &one) { return std::string(one.param.name); });

} // namespace
} // namespace tonekit::host
