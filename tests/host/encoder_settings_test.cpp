// encoder_settings_test.cpp: which type of file has which settings, and how they are written.
#include "host/audio/encoder_settings.h"
#include "host/command_line/options.h"
#include "host/system/failure.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

std::string MistakeIn(const std::string &option, const std::string &value)
{
    try {
        ParseOptions({option, value, "a", "b"});
    } catch (const UsageError &error) {
        return error.what();
    }
    return "";
}

EncoderSettings Parsed(const std::string &option, const std::string &value)
{
    return ParseOptions({option, value, "a", "b"}).encoder;
}

std::string ObjectionTo(ContainerKind kind, const char *option, const char *value)
{
    return Objection(ContainerOf(kind), Parsed(option, value));
}

TEST(EncoderSettings, BitRatesAreBitsOrKilobits)
{
    EXPECT_EQ(Parsed("--bitrate", "192k").bitRate, 192000u);
    EXPECT_EQ(Parsed("--bitrate", "192000").bitRate, 192000u);
    EXPECT_EQ(Parsed("--bitrate", "40.5K").bitRate, 40500u);
    for (const char *wrong : {"", "k", "192kk", "-1k", "999", "2049k", "1e5", "nan", "192 k", "0.0001k"})
        EXPECT_NE(MistakeIn("--bitrate", wrong), "") << wrong;
}

TEST(EncoderSettings, QualitiesAreTenthsFromNoughtToTen)
{
    EXPECT_EQ(Parsed("--vbr", "0").vbrQuality, 0.0);
    EXPECT_EQ(Parsed("--vbr", "7.5").vbrQuality, 7.5);
    EXPECT_EQ(Parsed("--vbr", "10").vbrQuality, 10.0);
    for (const char *wrong : {"", "-0.1", "10.1", "7.55", "V2", "nan", "inf", "8 "})
        EXPECT_NE(MistakeIn("--vbr", wrong), "") << wrong;
}

TEST(EncoderSettings, CompressionIsALevelOfFlac)
{
    EXPECT_EQ(Parsed("--compression", "0").compression, 0u);
    EXPECT_EQ(Parsed("--compression", "8").compression, 8u);
    EXPECT_EQ(MistakeIn("--compression", "9"), "--compression must be a whole number from 0 to 8, not '9'");
}

TEST(EncoderSettings, BitRateAndQualityExcludeEachOther)
{
    EXPECT_THROW(ParseOptions({"--bitrate", "192k", "--vbr", "5", "a", "b"}), UsageError);
}

TEST(EncoderSettings, EveryTypeRefusesWhatItDoesntHave)
{
    using enum ContainerKind;
    for (const Container &container : Containers()) {
        const ContainerKind kind = container.kind;
        EXPECT_EQ(ObjectionTo(kind, "--bitrate", "128k").empty(), kind == Mp3 || kind == Opus || kind == Aac)
            << container.name;
        EXPECT_EQ(ObjectionTo(kind, "--vbr", "5").empty(), kind == Mp3 || kind == Vorbis) << container.name;
        EXPECT_EQ(ObjectionTo(kind, "--compression", "5").empty(), kind == Flac) << container.name;
    }
    EXPECT_EQ(ObjectionTo(Opus, "--vbr", "5"), "has no VBR quality: use --bitrate");
}

TEST(EncoderSettings, Mp3HasAListOfBitRatesForEachRangeOfRates)
{
    const Container &mp3 = ContainerOf(ContainerKind::Mp3);
    const auto objection = [&](uint32_t rate, uint32_t bitRate) {
        return BitRateObjection(mp3, {SampleFormat::Float32, 2, rate}, {bitRate, {}, {}});
    };
    for (const uint32_t good : {32000u, 112000u, 320000u})
        EXPECT_EQ(objection(44100, good), "");
    EXPECT_NE(objection(44100, 144000), "");
    EXPECT_EQ(objection(22050, 144000), "");
    EXPECT_NE(objection(22050, 192000), "");
    EXPECT_EQ(objection(8000, 64000), "");
    EXPECT_EQ(objection(8000, 80000),
              "has no bit rate of 80 kbit/s at 8000 Hz: choose one of 8, 16, 24, 32, 40, 48, 56, 64");
}

TEST(EncoderSettings, OpusHasARangeOfBitRatesForEachChannel)
{
    const Container &opus = ContainerOf(ContainerKind::Opus);
    const auto objection = [&](uint32_t channels, uint32_t bitRate) {
        return BitRateObjection(opus, {SampleFormat::Float32, channels, 48000}, {bitRate, {}, {}});
    };
    EXPECT_EQ(objection(1, 6000), "");
    EXPECT_EQ(objection(1, 256000), "");
    EXPECT_NE(objection(1, 5999), "");
    EXPECT_NE(objection(2, 11999), "");
    EXPECT_EQ(objection(2, 512000), "");
    EXPECT_EQ(objection(1, 256500), "has bit rates from 6 to 256 kbit/s for 1 channels, and not 256.5");
}

TEST(EncoderSettings, NamesAreThoseOfTheSummary)
{
    EXPECT_EQ(NameOf(EncoderSettings{192000, {}, {}}), "192 kbit/s");
    EXPECT_EQ(NameOf(EncoderSettings{40500, {}, {}}), "40.5 kbit/s");
    EXPECT_EQ(NameOf(EncoderSettings{{}, 10.0, {}}), "VBR quality 10");
    EXPECT_EQ(NameOf(EncoderSettings{{}, 7.5, {}}), "VBR quality 7.5");
    EXPECT_EQ(NameOf(EncoderSettings{{}, {}, 0}), "compression 0");
    EXPECT_EQ(NameOf(EncoderSettings{}), "");
}

} // namespace
} // namespace tonekit::host
