// level_test.cpp: gains and what they make of tags.
#include "host/processing/level.h"
#include "host/tags/tag_changes.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

Plan PlanTo(SampleFormat sample, bool dither = false)
{
    Plan plan;
    plan.source = {SampleFormat::Int16, 2, 44100};
    plan.target = {sample, 2, 44100};
    plan.dither = dither;
    return plan;
}

TEST(Level, OfAFileIsWhatTheGainSays)
{
    Options options;
    options.gain = -3.5;
    const LevelReport level = LevelFor(options, PlanTo(SampleFormat::Int16), nullptr);
    EXPECT_EQ(level.gain, -3.5);
    EXPECT_FALSE(level.peakLimited);
    EXPECT_FALSE(NeedsMeasurement(options, PlanTo(SampleFormat::Int16)));
}

TEST(Level, IsBroughtToTheLoudnessThatIsAskedFor)
{
    Options options;
    options.normalize = -16;
    const MeasuredLevel measured{-23.5, 0.25};
    const LevelReport level = LevelFor(options, PlanTo(SampleFormat::Float32), &measured);
    EXPECT_DOUBLE_EQ(level.gain, 7.5);
    EXPECT_EQ(level.loudness, -23.5);
    EXPECT_TRUE(NeedsMeasurement(options, PlanTo(SampleFormat::Float32)));
}

TEST(Level, StopsWhereThePeakReachesFullScale)
{
    Options options;
    options.normalize = -16;
    const MeasuredLevel measured{-30, 0.5};
    const LevelReport level = LevelFor(options, PlanTo(SampleFormat::Float64), &measured);
    EXPECT_NEAR(level.gain, 6.0206, 0.0001);
    EXPECT_LE(FactorOf(level.gain) * 0.5, 1);
    EXPECT_EQ(level.wanted, 14);
    EXPECT_TRUE(level.peakLimited);
    // A tenth of a decibel too much is too much, and a tenth less isn't.
    const MeasuredLevel justOver{-22.1206, 0.5};
    EXPECT_TRUE(LevelFor(options, PlanTo(SampleFormat::Float64), &justOver).peakLimited);
    const MeasuredLevel justUnder{-21.9206, 0.5};
    EXPECT_FALSE(LevelFor(options, PlanTo(SampleFormat::Float64), &justUnder).peakLimited);
}

TEST(Level, OfWhatCannotBeMeasuredStaysButForItsPeak)
{
    Options options;
    options.normalize = -16;
    const MeasuredLevel silent{std::nullopt, 0};
    EXPECT_EQ(LevelFor(options, PlanTo(SampleFormat::Int16), &silent).gain, 0);
    const MeasuredLevel loud{std::nullopt, 2};
    EXPECT_NEAR(LevelFor(options, PlanTo(SampleFormat::Int16), &loud).gain, -6.0206, 0.001);
}

TEST(Level, OfAMixFallsOnlyWhereItWouldClip)
{
    Options options;
    options.mixLevel = MixLevel::Auto;
    Plan plan = PlanTo(SampleFormat::Float32);
    EXPECT_FALSE(NeedsMeasurement(options, plan));
    plan.source.channels = 6;
    EXPECT_TRUE(NeedsMeasurement(options, plan));
    const MeasuredLevel full{std::nullopt, 1};
    EXPECT_EQ(LevelFor(options, plan, &full).gain, 0);
    const MeasuredLevel loud{std::nullopt, 4};
    EXPECT_NEAR(LevelFor(options, plan, &loud).gain, -12.0412, 0.0001);
    options.gain = -20;
    EXPECT_EQ(LevelFor(options, plan, &loud).gain, -20);
    options.gain = 20;
    EXPECT_NEAR(LevelFor(options, plan, &loud).gain, -12.0412, 0.0001);
    const MeasuredLevel soft{std::nullopt, 0.5};
    EXPECT_NEAR(LevelFor(options, plan, &soft).gain, 6.0206, 0.0001);
}

TEST(Level, LeavesRoomForRoundingAndNoise)
{
    EXPECT_EQ(PeakCeiling(PlanTo(SampleFormat::Int16), DitherMode::Triangular), 1 - 2 * 0x1p-15);
    EXPECT_EQ(PeakCeiling(PlanTo(SampleFormat::Int16, true), DitherMode::Triangular), 1 - 4 * 0x1p-15);
    EXPECT_EQ(PeakCeiling(PlanTo(SampleFormat::Int24, true), DitherMode::Shaped), 1 - 24 * 0x1p-23);
    EXPECT_EQ(PeakCeiling(PlanTo(SampleFormat::Float32), DitherMode::Shaped), 1 - 0x1p-20);
}

TEST(Level, MovesMeasuredTagsAndNoOthers)
{
    using Value = std::optional<std::string>;
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_TRACK_GAIN", "-6.50 dB", -3.25), Value("-3.25 dB"));
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_ALBUM_GAIN", "+1.00 dB", 2), Value("-1.00 dB"));
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_TRACK_PEAK", "0.500000", 20), Value("5.000000"));
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_ALBUM_PEAK", "1", -20), Value("0.100000"));
    EXPECT_EQ(TagAfterGain("R128_TRACK_GAIN", "-1280", -3), Value("-512"));
    EXPECT_EQ(TagAfterGain("R128_ALBUM_GAIN", "32000", -60), Value("32767"));
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_TRACK_GAIN", "loud", 1), std::nullopt);
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_TRACK_GAIN", "loud", 0), Value("loud"));
    EXPECT_EQ(TagAfterGain("TITLE", "-6.50 dB", 3), Value("-6.50 dB"));
    EXPECT_EQ(TagAfterGain("REPLAYGAIN_REFERENCE_LOUDNESS", "89.0 dB", 3), Value("89.0 dB"));
}

std::string Names(const std::vector<Chapter> &chapters)
{
    std::string text;
    for (const Chapter &chapter : chapters)
        text += chapter.name + "@" + std::to_string(chapter.position) + " ";
    return text;
}

TEST(ChaptersOfPart, CountFromItsStart)
{
    const std::vector<Chapter> chapters = {{0, "a"}, {100, "b"}, {300, "d"}, {200, "c"}};
    EXPECT_EQ(Names(ChaptersOfPart(chapters, {})), "a@0 b@100 c@200 d@300 ");
    EXPECT_EQ(Names(ChaptersOfPart(chapters, {100, 300})), "b@0 c@100 ");
    EXPECT_EQ(Names(ChaptersOfPart(chapters, {150, 301})), "b@0 c@50 d@150 ");
    EXPECT_EQ(Names(ChaptersOfPart(chapters, {99, 100})), "a@0 ");
    EXPECT_EQ(Names(ChaptersOfPart({{50, "b"}}, {20, 60})), "b@30 ");
    EXPECT_EQ(Names(ChaptersOfPart({{50, "b"}}, {20, 40})), "");
}

} // namespace
} // namespace tonekit::host
