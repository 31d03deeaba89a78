// progress_test.cpp: the sum of many files, and its form for programs.
#include "host/report/progress.h"
#include "host/report/progress_json.h"
#include "host/report/report.h"

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace tonekit::host {
namespace {

// Keeps what it is shown.
class Notes : public ProgressView {
public:
    void Show(const ProgressState &state) override { states.push_back(state); }
    void ShowFinished(size_t index, const ConversionReport &report) override
    {
        finished.emplace_back(index, report.error);
    }
    std::vector<ProgressState> states;
    std::vector<std::pair<size_t, std::string>> finished;
};

TEST(Progress, WeighsFilesByTheirSizes)
{
    Notes notes;
    Progress progress(notes, {{"small", 99}, {"large", 299}});
    progress.Report(1, 0.5, 30);
    ASSERT_EQ(notes.states.size(), 1u);
    EXPECT_EQ(notes.states[0].files, 2u);
    EXPECT_EQ(notes.states[0].finished, 0u);
    EXPECT_DOUBLE_EQ(notes.states[0].done, 150.0 / 400);
    EXPECT_DOUBLE_EQ(notes.states[0].audioSeconds, 30);
    ASSERT_EQ(notes.states[0].inWork.size(), 1u);
    EXPECT_EQ(notes.states[0].inWork[0].name, "large");
    EXPECT_EQ(notes.states[0].inWork[0].done, 0.5);
}

TEST(Progress, IsShownAtOnceAndThenNotTooOften)
{
    Notes notes;
    Progress progress(notes, {{"a", 1}, {"b", 1}});
    for (int i = 0; i < 100; ++i)
        progress.Report(0, i / 100.0, i);
    EXPECT_LT(notes.states.size(), 20u);
    EXPECT_GE(notes.states.size(), 1u);
}

TEST(Progress, SaysHowLongTheWorkTakes)
{
    Notes notes;
    const auto start = std::chrono::steady_clock::now();
    Progress progress(notes, {{"a", 1}});
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    progress.Finish(0, {});
    const std::chrono::duration<double> most = std::chrono::steady_clock::now() - start;
    ASSERT_FALSE(notes.states.empty());
    EXPECT_GE(notes.states.back().elapsedSeconds, 0.02);
    EXPECT_LE(notes.states.back().elapsedSeconds, most.count());
}

// Those in work are shown in the order of the list, until they are done.
TEST(Progress, ShowsTheFilesInWork)
{
    Notes notes;
    Progress progress(notes, {{"a", 1}, {"b", 1}, {"c", 1}, {"d", 1}});
    const auto shown = [&] {
        std::string names;
        for (const auto &file : notes.states.back().inWork)
            names += file.name;
        return names;
    };
    progress.Report(2, 0.5, 1);
    progress.Report(0, 0, 0);
    progress.Report(3, 0, 0);
    progress.Report(1, 1, 2);
    progress.Finish(3, {});
    EXPECT_EQ(shown(), "ac");
    progress.Finish(1, {});
    progress.Finish(2, {});
    EXPECT_EQ(shown(), "a");
}

// With a look at all files at the end of each, these would take half a minute.
TEST(Progress, OfAHundredThousandFilesTakesLinearTime)
{
    class Nothing : public ProgressView {
        void Show(const ProgressState &) override {}
        void ShowFinished(size_t, const ConversionReport &) override {}
    } nothing;
    constexpr size_t kFiles = 100000;
    Progress progress(nothing, std::vector<ProgressFile>(kFiles));
    const std::clock_t start = std::clock();
    for (size_t i = 0; i < kFiles; ++i) {
        progress.Report(i, 0, 0);
        progress.Finish(i, {});
    }
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5);
}

TEST(Progress, EndsWithAllFinishedFailedOnesToo)
{
    Notes notes;
    Progress progress(notes, {{"a", 0}, {"b", 1000000}});
    ConversionReport good;
    good.input.format.rate = 100;
    good.input.frames = 500;
    ConversionReport bad;
    bad.error = "no";
    progress.Finish(1, bad);
    progress.Finish(0, good);
    const std::vector<std::pair<size_t, std::string>> expected = {{1, "no"}, {0, ""}};
    EXPECT_EQ(notes.finished, expected);
    ASSERT_GE(notes.states.size(), 1u);
    EXPECT_EQ(notes.states.back().finished, 2u);
    EXPECT_EQ(notes.states.back().done, 1);
    EXPECT_EQ(notes.states.back().audioSeconds, 5);
    EXPECT_TRUE(notes.states.back().inWork.empty());
}

TEST(ProgressJson, IsAnObjectInALine)
{
    const ProgressState state = {3, 1, 0.25, 60, 2, {{"a\n\u97f3.flac", 0.5}}};
    EXPECT_EQ(ProgressJsonLine(state),
              "{\"event\":\"progress\",\"files\":3,\"finished\":1,\"done\":0.25,\"seconds\":2.0,"
              "\"audioSeconds\":60.0,\"speed\":30.0,\"secondsLeft\":6.0,"
              "\"inWork\":[{\"name\":\"a\\n\u97f3.flac\",\"done\":0.5}]}");
    EXPECT_NE(ProgressJsonLine({1, 0, 0, 0, 0, {}}).find("\"secondsLeft\":null,\"inWork\":[]"),
              std::string::npos);
}

TEST(ProgressJson, TellsOfEachFinishedFile)
{
    ConversionReport report;
    report.input.path = "a.wav";
    report.input.format.rate = 10;
    report.input.frames = 100;
    report.output.path = "b.flac";
    report.seconds = 0.5;
    EXPECT_EQ(FinishedJsonLine(2, report),
              "{\"event\":\"finished\",\"index\":2,\"input\":\"a.wav\",\"output\":\"b.flac\",\"ok\":true,"
              "\"error\":null,\"skipped\":null,\"seconds\":0.5,\"speed\":20.0}");
    report.error = "broken";
    EXPECT_EQ(FinishedJsonLine(0, report),
              "{\"event\":\"finished\",\"index\":0,\"input\":\"a.wav\",\"output\":\"b.flac\",\"ok\":false,"
              "\"error\":\"broken\",\"skipped\":null,\"seconds\":null,\"speed\":null}");
}

} // namespace
} // namespace tonekit::host
