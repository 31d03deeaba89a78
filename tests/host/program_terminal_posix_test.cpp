// program_terminal_posix_test.cpp: what people at a terminal and programs see of a batch.
#include "tests/host/audio_files.h"
#include "tests/host/run_program_posix.h"
#include "tests/host/screen.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace tonekit::host::test {
namespace {

using Json = nlohmann::json;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

std::vector<std::string> MakeInputs(const TemporaryFolder &folder)
{
    std::vector<std::string> names;
    for (const char *name : {"\u97f3\u697d\u306e\u6642\u9593 \u7b2c\u4e00\u756a.wav", "plain.wav",
                             "A name that is much longer than a narrow terminal is wide.wav"}) {
        names.push_back(folder / name);
        WriteSound(names.back(), Noise(kWav16, 44100, 2, 44100 * 20));
    }
    return names;
}

TEST(Terminal, ABatchShowsFilesInWorkAndTheWholeAtEveryWidth)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    TemporaryFolder folder;
    std::vector<std::string> arguments = MakeInputs(folder);
    arguments.insert(arguments.end(),
                     {"-j", "2", "-r", "96000", "--quality", "best", "--json", folder / "out/"});
    for (const unsigned columns : {25u, 40u, 80u, 200u}) {
        const Outcome outcome = RunOnTerminal(arguments, columns);
        ASSERT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_TRUE(std::regex_search(outcome.out, std::regex("[0-2] of 3  "))) << outcome.out;
        EXPECT_TRUE(std::regex_search(outcome.out, std::regex("  [0-9]+%  \u97f3\u697d"))) << outcome.out;
        // A line for each file on standard error, since JSON comes at the end, and nothing else stays.
        const std::string beforeJson = outcome.out.substr(0, outcome.out.find("{\r\n"));
        Screen screen(columns);
        screen.Feed(beforeJson);
        EXPECT_EQ(screen.unknown, "");
        std::string rows;
        for (const std::string &row : screen.Rows())
            rows += row;
        EXPECT_EQ(std::regex_replace(rows, std::regex("[^ ]*/out/"), "").find("%"), std::string::npos)
            << rows;
        EXPECT_EQ(rows.find(" of 3"), std::string::npos) << rows;
        EXPECT_NE(rows.find("plain.wav: 0:20 of audio in"), std::string::npos) << rows;
        // No line of the progress reaches the last column.
        const std::regex drawn("[^\r\n\x1b\\[][^\r\n\x1b]*(?=\x1b\\[K)");
        size_t lines = 0;
        for (std::sregex_iterator line(outcome.out.begin(), outcome.out.end(), drawn), end; line != end;
             ++line, ++lines) {
            std::string text = line->str();
            if (text.starts_with("?7l"))
                text.erase(0, 3);
            Screen screenOfLine(1000);
            screenOfLine.Feed(text);
            EXPECT_LT(screenOfLine.widest(), columns) << text;
        }
        EXPECT_GT(lines, 4u);
    }
}

TEST(Terminal, WithoutControlSequencesHasNoProgress)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 10));
    setenv("TERM", "dumb", 1);
    const Outcome outcome = RunOnTerminal({"-r", "48000", folder / "a.wav", folder / "b.flac"});
    unsetenv("TERM");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("times real time"), std::string::npos) << outcome.out;
}

TEST(Terminal, ProgressCanBeSwitchedOff)
{
    if (!TerminalsCanBeOpened())
        GTEST_SKIP() << "pseudo-terminals can't be opened here";
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Noise(kWav16, 44100, 2, 44100 * 10));
    const Outcome outcome =
        RunOnTerminal({"--progress", "off", "-r", "48000", folder / "a.wav", folder / "b.flac"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("times real time"), std::string::npos) << outcome.out;
}

TEST(ProgressForPrograms, IsJsonOnStandardErrorAlone)
{
    TemporaryFolder folder;
    std::vector<std::string> arguments = MakeInputs(folder);
    WriteText(folder / "bad.wav", "no audio");
    arguments.insert(arguments.end(), {folder / "bad.wav", "-q", "--progress", "json", folder / "out/"});
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    std::istringstream lines(outcome.err);
    std::vector<bool> finished(4);
    double done = 0;
    int messages = 0;
    Json last;
    for (std::string line; std::getline(lines, line);) {
        if (line[0] != '{') {
            ++messages;
            continue;
        }
        const Json json = Json::parse(line);
        if (json["event"] == "finished") {
            const size_t index = json["index"];
            EXPECT_FALSE(finished[index]);
            finished[index] = true;
            EXPECT_EQ(json["input"], arguments[index]);
            EXPECT_EQ(json["ok"], index != 3);
            EXPECT_EQ(json["error"].is_null(), index != 3);
            continue;
        }
        EXPECT_EQ(json["event"], "progress");
        EXPECT_EQ(json["files"], 4);
        EXPECT_GE(json["done"].get<double>(), done);
        done = json["done"];
        last = json;
    }
    EXPECT_EQ(messages, 1) << outcome.err;
    EXPECT_EQ(finished, std::vector<bool>(4, true));
    EXPECT_EQ(last["finished"], 4);
    EXPECT_EQ(last["done"], 1);
    EXPECT_TRUE(last["inWork"].empty());
}

} // namespace
} // namespace tonekit::host::test
