// plan_test.cpp: what becomes of an input when not everything is said.
#include "host/plan.h"
#include "host/system/failure.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using enum SampleFormat;

Plan PlanFor(const std::vector<std::string> &words, const AudioFormat &from, const char *extension,
             uint64_t frames = 1000, bool lossy = false, bool hdcd = false)
{
    std::vector<std::string> arguments = words;
    arguments.insert(arguments.end(), {"in", "out"});
    return MakePlan(ParseOptions(arguments), {from, frames, lossy}, *ContainerByExtension(extension), hdcd);
}

TEST(Plan, EqualFormatsAreCopied)
{
    for (const SampleFormat format : {Int8, Int16, Int24, Int32, Float32, Float64}) {
        const AudioFormat from{format, 2, 44100};
        const Plan plan = PlanFor({}, from, "wav");
        EXPECT_EQ(plan.target, from);
        EXPECT_TRUE(plan.copySamples);
        EXPECT_FALSE(plan.dither);
        EXPECT_EQ(plan.expectedFrames, 1000u);
    }
}

TEST(Plan, DitherComesWhenTheDepthShrinks)
{
    EXPECT_TRUE(PlanFor({"-b", "16"}, {Int24, 2, 44100}, "wav").dither);
    EXPECT_TRUE(PlanFor({"-b", "16"}, {Float32, 2, 44100}, "wav").dither);
    EXPECT_TRUE(PlanFor({"-b", "24"}, {Float64, 2, 44100}, "wav").dither);
    EXPECT_TRUE(PlanFor({"-b", "8"}, {Int16, 2, 44100}, "wav").dither);
    EXPECT_FALSE(PlanFor({"-b", "24"}, {Int16, 2, 44100}, "wav").dither);
    EXPECT_FALSE(PlanFor({"-r", "48000"}, {Int16, 2, 44100}, "wav").dither);
}

TEST(Plan, DitherCanBeForcedOrForbidden)
{
    EXPECT_FALSE(PlanFor({"-b", "16", "--dither", "off"}, {Int24, 2, 44100}, "wav").dither);
    EXPECT_TRUE(PlanFor({"-r", "48000", "--dither", "on"}, {Int16, 2, 44100}, "wav").dither);
}

TEST(Plan, FloatsAndThirtyTwoBitsAreNeverDithered)
{
    for (const char *format : {"32", "32f", "64f"})
        EXPECT_FALSE(PlanFor({"-b", format, "--dither", "on"}, {Int24, 2, 44100}, "wav").dither) << format;
}

TEST(Plan, AContainerTakesTheClosestFormatItHas)
{
    EXPECT_EQ(PlanFor({}, {Float32, 2, 44100}, "flac").target.sample, Int24);
    EXPECT_EQ(PlanFor({}, {Int32, 2, 44100}, "flac").target.sample, Int24);
    EXPECT_EQ(PlanFor({}, {Int8, 2, 44100}, "flac").target.sample, Int8);
    EXPECT_EQ(PlanFor({}, {Int16, 2, 44100}, "mp3").target.sample, Float32);
    EXPECT_TRUE(PlanFor({}, {Float32, 2, 44100}, "flac").dither);
}

TEST(Plan, AContainerTakesTheClosestRateItHas)
{
    EXPECT_EQ(PlanFor({}, {Int16, 2, 44100}, "opus").target.rate, 48000u);
    EXPECT_EQ(PlanFor({}, {Int16, 2, 96000}, "mp3").target.rate, 48000u);
    EXPECT_EQ(PlanFor({}, {Int16, 2, 44100}, "mp3").target.rate, 44100u);
}

TEST(Plan, MusicOutOfACoderBecomesSixteenBits)
{
    const Plan plan = PlanFor({}, {Float32, 2, 44100}, "wav", 1000, true);
    EXPECT_EQ(plan.target.sample, Int16);
    EXPECT_TRUE(plan.dither);
    EXPECT_TRUE(PlanFor({}, {Float32, 2, 44100}, "ogg", 1000, true).copySamples);
}

TEST(Plan, DecodedHdcdIsKeptInTwentyFourBits)
{
    const Plan plan = PlanFor({}, {Int16, 2, 44100}, "wav", 1000, false, true);
    EXPECT_EQ(plan.target.sample, Int24);
    EXPECT_FALSE(plan.copySamples);
    EXPECT_FALSE(plan.dither);
    EXPECT_TRUE(PlanFor({"-b", "16"}, {Int16, 2, 44100}, "wav", 1000, false, true).dither);
}

TEST(Plan, TheExpectedLengthFollowsTheRates)
{
    EXPECT_EQ(PlanFor({"-r", "48000"}, {Int16, 2, 44100}, "wav", 44100).expectedFrames, 48000u);
    EXPECT_EQ(PlanFor({"-r", "44100"}, {Int16, 2, 48000}, "wav", 1).expectedFrames, 1u);
}

TEST(Plan, AWavBeyondFourGiBBecomesRf64)
{
    const AudioFormat from{Int16, 2, 44100};
    EXPECT_EQ(PlanFor({}, from, "wav", 1'000'000'000).container->kind, ContainerKind::Wav);
    EXPECT_EQ(PlanFor({}, from, "wav", 1'100'000'000).container->kind, ContainerKind::Rf64);
    EXPECT_EQ(PlanFor({"-b", "64f"}, from, "wav", 300'000'000).container->kind, ContainerKind::Rf64);
    EXPECT_EQ(PlanFor({}, from, "w64", 1'100'000'000).container->kind, ContainerKind::W64);
    EXPECT_EQ(PlanFor({}, from, "flac", 1'100'000'000).container->kind, ContainerKind::Flac);
}

TEST(Plan, ContainersThatEndAtFourGiBSaySo)
{
    EXPECT_THROW(PlanFor({}, {Int16, 2, 44100}, "aiff", 1'100'000'000), Failure);
    EXPECT_THROW(PlanFor({}, {Int16, 2, 44100}, "au", 1'100'000'000), Failure);
}

TEST(Plan, ThreeChannelsAreCopiedOrRefusedButNeverSilenced)
{
    EXPECT_TRUE(PlanFor({}, {Int16, 3, 44100}, "wav").copySamples);
    EXPECT_THROW(PlanFor({"-r", "48000"}, {Int16, 3, 44100}, "wav"), Failure);
    EXPECT_EQ(PlanFor({"-c", "2"}, {Int16, 3, 44100}, "wav").target.channels, 2u);
}

TEST(Plan, AnInputThatDoesntFitIsAFailureNotAMistake)
{
    EXPECT_THROW(PlanFor({}, {Int16, 6, 44100}, "mp3"), Failure);
    EXPECT_THROW(PlanFor({"-r", "48000"}, {Int16, 2, 100}, "wav"), Failure);
    EXPECT_NO_THROW(PlanFor({"-b", "24"}, {Int16, 2, 100}, "wav"));
}

TEST(Plan, RatesFromOneKilohertzTo1536CanBeChanged)
{
    for (const uint32_t rate : {1000u, 1'536'000u})
        EXPECT_EQ(PlanFor({"-r", "48000"}, {Int16, 2, rate}, "wav").target.rate, 48000u) << rate;
    for (const uint32_t rate : {999u, 1'536'001u})
        EXPECT_THROW(PlanFor({"-r", "48000"}, {Int16, 2, rate}, "wav"), Failure) << rate;
}

TEST(Plan, EveryFileTypeTakesRatesUpToItsOwnLimit)
{
    const struct {
        const char *extension;
        uint32_t highest;
    } limits[] = {{"flac", 655'350},   {"ogg", 192'000},   {"wav", 2'000'000},  {"w64", 2'000'000},
                  {"rf64", 2'000'000}, {"caf", 2'000'000}, {"aiff", 2'000'000}, {"au", 2'000'000}};
    for (const auto &limit : limits) {
        EXPECT_EQ(PlanFor({}, {Int16, 2, limit.highest}, limit.extension).target.rate, limit.highest);
        EXPECT_THROW(PlanFor({}, {Int16, 2, limit.highest + 1}, limit.extension), Failure) << limit.extension;
    }
}

TEST(Plan, OptionsThatContradictTheFileTypeAreAMistake)
{
    const auto check = [](std::vector<std::string> words, const char *extension) {
        words.insert(words.end(), {"in", "out"});
        CheckTarget(ParseOptions(words), *ContainerByExtension(extension));
    };
    EXPECT_THROW(check({"-b", "64f"}, "flac"), UsageError);
    EXPECT_THROW(check({"-b", "16"}, "mp3"), UsageError);
    EXPECT_THROW(check({"-c", "6"}, "mp3"), UsageError);
    EXPECT_THROW(check({"-r", "44100"}, "opus"), UsageError);
    EXPECT_NO_THROW(check({"-b", "24", "-c", "8", "-r", "192000"}, "flac"));
    EXPECT_NO_THROW(check({}, "opus"));
}

TEST(Containers, AreKnownByExtensionInAnyCase)
{
    EXPECT_EQ(ContainerByExtension("WAV")->kind, ContainerKind::Wav);
    EXPECT_EQ(ContainerByExtension("aif")->kind, ContainerKind::Aiff);
    EXPECT_EQ(ContainerByExtension("txt"), nullptr);
    EXPECT_EQ(ContainerByExtension(""), nullptr);
}

} // namespace
} // namespace tonekit::host
