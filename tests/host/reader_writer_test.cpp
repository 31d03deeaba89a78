// reader_writer_test.cpp: samples go from and into files bit for bit.
#include "host/audio/audio_reader.h"
#include "host/audio/audio_writer.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <cstring>
#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using test::Sound;
using test::TemporaryFolder;
using enum SampleFormat;

std::vector<uint8_t> ReadAll(AudioReader &reader)
{
    std::vector<uint8_t> all;
    std::vector<uint8_t> block(size_t{1000} * reader.format().FrameBytes());
    while (const uint32_t frames = reader.Read(block.data(), 1000))
        all.insert(all.end(), block.begin(), block.begin() + frames * reader.format().FrameBytes());
    return all;
}

// The samples in the program's form, made from 32-bit samples the obvious way.
std::vector<uint8_t> Expected(const Sound &sound, SampleFormat format)
{
    std::vector<uint8_t> bytes;
    const auto put = [&](const void *data, size_t size) {
        const auto *from = static_cast<const uint8_t *>(data);
        bytes.insert(bytes.end(), from, from + size);
    };
    for (const int32_t sample : sound.samples) {
        const int32_t shifted = IsFloat(format) ? 0 : sample >> (32 - static_cast<int>(BitsOf(format)));
        const auto asFloat = static_cast<float>(sample * 0x1p-31);
        const double asDouble = sample * 0x1p-31;
        if (format == Float32)
            put(&asFloat, 4);
        else if (format == Float64)
            put(&asDouble, 8);
        else if (format == Int8)
            bytes.push_back(static_cast<uint8_t>(shifted + 128));
        else
            put(&shifted, BytesOf(format));
    }
    return bytes;
}

struct FileForm {
    const char *extension;
    int format;
    SampleFormat sample;
};

const FileForm kForms[] = {
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, Int8},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, Int16},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, Int24},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, Int32},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24 | SF_ENDIAN_BIG, Int24},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, Int16},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, Float32},
    {"wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, Float64},
    {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8, Int8},
    {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, Int16},
    {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, Int24},
    {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, Int8},
    {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, Int24},
    {"au", SF_FORMAT_AU | SF_FORMAT_PCM_S8, Int8},
    {"au", SF_FORMAT_AU | SF_FORMAT_DOUBLE, Float64},
    {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_24, Int24},
    {"caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, Float32},
    {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_U8, Int8},
    {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_32, Int32},
    {"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_24, Int24},
    {"rf64", SF_FORMAT_RF64 | SF_FORMAT_DOUBLE, Float64},
};

TEST(AudioReader, GivesEverySampleAsItStandsInTheFile)
{
    for (const FileForm &form : kForms) {
        TemporaryFolder folder;
        const std::string name = folder / (std::string("in.") + form.extension);
        const Sound sound = test::Noise(form.format, 44100, 2, 2500);
        test::WriteSound(name, sound);
        AudioReader reader(name);
        EXPECT_EQ(reader.format(), (AudioFormat{form.sample, 2, 44100})) << std::hex << form.format;
        EXPECT_EQ(reader.frames(), 2500u);
        EXPECT_FALSE(reader.lossy());
        EXPECT_EQ(ReadAll(reader), Expected(sound, form.sample)) << std::hex << form.format;
    }
}

TEST(AudioWriter, StoresEverySampleAsItStandsInTheBuffer)
{
    for (const FileForm &form : kForms) {
        TemporaryFolder folder;
        const std::string name = folder / (std::string("out.") + form.extension);
        const Sound sound = test::Noise(form.format, 48000, 2, 2500);
        const std::vector<uint8_t> bytes = Expected(sound, form.sample);
        File file;
        ASSERT_FALSE(file.CreateNew(name));
        const AudioFormat format{form.sample, 2, 48000};
        AudioWriter writer(std::move(file), name, *ContainerByExtension(form.extension), format);
        writer.Write(bytes.data(), 1000);
        writer.Write(bytes.data() + 1000 * format.FrameBytes(), 1500);
        writer.Finish();
        const Sound read = test::ReadSound(name);
        EXPECT_EQ(read.format & SF_FORMAT_SUBMASK, form.format & SF_FORMAT_SUBMASK)
            << std::hex << form.format;
        EXPECT_EQ(read.rate, 48000);
        EXPECT_EQ(read.samples, sound.samples) << std::hex << form.format;
    }
}

TEST(AudioReader, GoesBackToTheStart)
{
    TemporaryFolder folder;
    const Sound sound = test::Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, 30000);
    test::WriteSound(folder / "in.flac", sound);
    AudioReader reader(folder / "in.flac");
    std::vector<uint8_t> block(20000 * 4);
    EXPECT_GT(reader.Read(block.data(), 20000), 0u);
    reader.Rewind();
    EXPECT_EQ(ReadAll(reader), Expected(sound, Int16));
}

TEST(AudioWriter, NamesTheLoudspeakersOfManyChannels)
{
    // The channel masks that go with the orders of 4 to 8 channels, as the WAV header has them.
    const uint32_t masks[] = {0x33, 0x37, 0x3F, 0x70F, 0x63F};
    for (uint32_t channels = 4; channels <= 8; ++channels) {
        TemporaryFolder folder;
        const std::string name = folder / "out.wav";
        File file;
        ASSERT_FALSE(file.CreateNew(name));
        AudioWriter writer(std::move(file), name, ContainerOf(ContainerKind::Wav), {Int16, channels, 48000});
        const std::vector<int16_t> silence(channels * 10);
        writer.Write(silence.data(), 10);
        writer.Finish();
        const std::string bytes = test::ReadText(name);
        uint32_t mask = 0;
        std::memcpy(&mask, bytes.data() + 40, 4);
        EXPECT_EQ(mask, masks[channels - 4]) << channels;
    }
}

TEST(AudioWriter, GivesEqualFilesForEqualFloats)
{
    // Nothing such as the time of day may be in the file.
    TemporaryFolder folder;
    const float samples[] = {0.5f, -0.25f};
    File file;
    ASSERT_FALSE(file.CreateNew(folder / "out.wav"));
    AudioWriter writer(std::move(file), "out.wav", ContainerOf(ContainerKind::Wav), {Float32, 2, 48000});
    writer.Write(samples, 1);
    writer.Finish();
    EXPECT_EQ(test::ReadText(folder / "out.wav").find("PEAK"), std::string::npos);
}

// libsndfile's own count includes the byte that fills an odd number up.
TEST(AudioWriter, SaysTheFramesOfAnOddNumberOfBytesRight)
{
    TemporaryFolder folder;
    for (const auto &[sample, channels] : {std::pair{Int8, 1u}, {Int8, 3u}, {Int24, 1u}, {Int24, 3u}}) {
        const AudioFormat format{sample, channels, 8000};
        const std::vector<uint8_t> samples(5 * format.FrameBytes(), 0x11);
        const std::string name = folder / "a.aiff";
        std::filesystem::remove(name);
        File file;
        ASSERT_FALSE(file.CreateNew(name));
        AudioWriter writer(std::move(file), name, ContainerOf(ContainerKind::Aiff), format);
        writer.Write(samples.data(), 5);
        writer.Finish();
        const std::string bytes = test::ReadText(name);
        EXPECT_EQ(bytes.substr(12, 4), "COMM");
        EXPECT_EQ(bytes.substr(22, 4), std::string("\0\0\0\5", 4));
        const size_t start = bytes.find("SSND");
        ASSERT_NE(start, std::string::npos);
        EXPECT_EQ(bytes[start + 7], static_cast<char>(8 + samples.size()));
        EXPECT_EQ(bytes.size(), start + 16 + samples.size() + samples.size() % 2);
        EXPECT_EQ(test::ReadSound(name).Frames(), 5u);
    }
}

// libsndfile begins with a header that is 24 bytes longer than the one that it ends with.
TEST(AudioWriter, LeavesNothingAfterAFewFloats)
{
    TemporaryFolder folder;
    const std::vector<float> samples(16, 0.5f);
    for (uint32_t frames = 1; frames <= 16; ++frames) {
        const std::string name = folder / "a.aiff";
        std::filesystem::remove(name);
        File file;
        ASSERT_FALSE(file.CreateNew(name));
        AudioWriter writer(std::move(file), name, ContainerOf(ContainerKind::Aiff), {Float32, 1, 8000});
        writer.Write(samples.data(), frames);
        writer.Finish();
        const std::string bytes = test::ReadText(name);
        EXPECT_EQ(bytes.substr(4, 4), std::string("\0\0\0", 3) + static_cast<char>(bytes.size() - 8));
        EXPECT_EQ(bytes.size(), bytes.find("SSND") + 16 + 4 * frames);
        EXPECT_EQ(AudioReader(name).frames(), frames);
    }
}

TEST(AudioWriter, FailsWhereTheContainersSizesEnd)
{
    // An input that doesn't say how long it is may turn out too long.
    TemporaryFolder folder;
    Container small = ContainerOf(ContainerKind::Wav);
    small.byteLimit = 100;
    File file;
    ASSERT_FALSE(file.CreateNew(folder / "out.wav"));
    AudioWriter writer(std::move(file), "out.wav", small, {Int16, 2, 48000});
    const std::vector<int16_t> silence(200);
    writer.Write(silence.data(), 24);
    EXPECT_THROW(writer.Write(silence.data(), 2), Failure);
}

TEST(AudioReader, TakesAStreamOfUnknownLength)
{
    TemporaryFolder folder;
    const Sound sound = test::Noise(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, 30000);
    test::WriteSound(folder / "in.flac", sound);
    // The number of samples in the header of a FLAC file, where 0 means unknown.
    std::string bytes = test::ReadText(folder / "in.flac");
    bytes[21] = static_cast<char>(bytes[21] & 0xF0);
    bytes.replace(22, 4, 4, '\0');
    test::WriteText(folder / "in.flac", bytes);
    AudioReader reader(folder / "in.flac");
    EXPECT_EQ(reader.frames(), 0u);
    EXPECT_EQ(ReadAll(reader), Expected(sound, Int16));
}

TEST(AudioReader, SixChannelsOfOggComeInTheConvertersOrder)
{
    // Centre alone: the second channel of a Vorbis file.
    Sound sound = test::Tone(SF_FORMAT_OGG | SF_FORMAT_VORBIS, 48000, 6, 9600, 1000);
    for (size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = i % 6 == 1 ? sound.samples[i] : 0;
    TemporaryFolder folder;
    test::WriteSound(folder / "in.ogg", sound);
    AudioReader reader(folder / "in.ogg");
    const std::vector<uint8_t> bytes = ReadAll(reader);
    double energy[6] = {};
    for (size_t i = 0; i < bytes.size() / 4; ++i) {
        float sample;
        std::memcpy(&sample, &bytes[i * 4], 4);
        energy[i % 6] += sample * sample;
    }
    for (int c = 0; c < 6; ++c)
        EXPECT_EQ(energy[c] > 100, c == 2) << c << ": " << energy[c];
}

TEST(AudioWriter, LeavesTheTimeOfDayOutOfFloatFiles)
{
    TemporaryFolder folder;
    const std::vector<float> samples(200, 0.25f);
    for (const char *extension : {"wav", "rf64", "w64", "caf", "aiff", "au"}) {
        const std::string name = folder / (std::string("a.") + extension);
        File file;
        ASSERT_FALSE(file.CreateNew(name));
        AudioWriter writer(std::move(file), name, *ContainerByExtension(extension), {Float32, 2, 44100});
        writer.Write(samples.data(), 100);
        writer.Finish();
        const std::string bytes = test::ReadText(name);
        const size_t peak = bytes.find("PEAK");
        EXPECT_EQ(peak != std::string::npos, std::string(extension) == "rf64") << extension;
        // Name, size and version of the chunk come before its time.
        if (peak != std::string::npos) {
            EXPECT_EQ(bytes.substr(peak + 12, 4), std::string(4, '\0'));
        }
        EXPECT_EQ(test::ReadSound(name).samples, std::vector<int32_t>(200, 0x20000000)) << extension;
    }
}

} // namespace
} // namespace tonekit::host
