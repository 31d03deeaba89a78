// program_batch_test.cpp: many files at once, and tags through the whole program.
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Names = std::vector<std::string>;

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

std::vector<std::string> MakeInputs(const TemporaryFolder &folder, int count)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        names.push_back(folder / ("in" + std::to_string(i) + ".wav"));
        WriteSound(names.back(), Noise(kWav16, 44100, 2, 20000, static_cast<uint32_t>(i)));
    }
    return names;
}

TEST(Batch, ManyFilesGoIntoAFolderAtOnce)
{
    TemporaryFolder folder;
    std::vector<std::string> arguments = MakeInputs(folder, 12);
    arguments.insert(arguments.end(), {"-j", "4", "-t", "flac", folder / "out"});
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (int i = 0; i < 12; ++i) {
        const std::string stem = "in" + std::to_string(i);
        EXPECT_EQ(ReadSound(folder / ("out/" + stem + ".flac")).samples,
                  ReadSound(folder / (stem + ".wav")).samples);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "out"), fs::directory_iterator()), 12);
}

TEST(Batch, JobsDontChangeTheResults)
{
    TemporaryFolder folder;
    const std::vector<std::string> inputs = MakeInputs(folder, 4);
    for (const char *jobs : {"1", "4"}) {
        std::vector<std::string> arguments = inputs;
        arguments.insert(arguments.end(),
                         {"-j", jobs, "-r", "48000", "-b", "24", folder / (std::string("out") + jobs)});
        EXPECT_EQ(RunHost(arguments).status, 0);
    }
    for (int i = 0; i < 4; ++i) {
        const std::string name = "/in" + std::to_string(i) + ".wav";
        EXPECT_EQ(ReadText(folder / ("out1" + name)), ReadText(folder / ("out4" + name)));
    }
}

TEST(Batch, OneBadFileDoesntStopTheOthers)
{
    TemporaryFolder folder;
    std::vector<std::string> arguments = MakeInputs(folder, 3);
    WriteText(arguments[1], "not audio");
    arguments.insert(arguments.end(), {"--json", folder / "out/"});
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("in1.wav: not an audio file"), std::string::npos);
    EXPECT_TRUE(fs::exists(folder / "out/in0.wav"));
    EXPECT_FALSE(fs::exists(folder / "out/in1.wav"));
    EXPECT_TRUE(fs::exists(folder / "out/in2.wav"));
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ(json["ok"], false);
    ASSERT_EQ(json["files"].size(), 3u);
    EXPECT_EQ(json["files"][0]["output"]["path"], folder / "out/in0.wav");
    EXPECT_EQ(json["files"][1]["input"]["path"], arguments[1]);
    EXPECT_EQ(json["files"][2]["ok"], true);
}

TEST(Batch, TwoInputsCantBecomeOneOutput)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "a");
    fs::create_directory(folder / "b");
    for (const char *name : {"a/x.wav", "b/x.wav"})
        WriteSound(folder / name, Noise(kWav16, 44100, 2, 10));
    const Outcome outcome = RunHost({folder / "a/x.wav", folder / "b/x.wav", folder / "out"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_FALSE(fs::exists(folder / "out"));
}

TEST(Batch, OneInputGoesIntoAnExistingFolderToo)
{
    TemporaryFolder folder;
    const std::string input = MakeInputs(folder, 1)[0];
    fs::create_directory(folder / "out");
    EXPECT_EQ(RunHost({input, folder / "out"}).status, 0);
    EXPECT_EQ(ReadSound(folder / "out/in0.wav").samples, ReadSound(input).samples);
}

TEST(Batch, InfoOfManyFilesIsOneObject)
{
    TemporaryFolder folder;
    std::vector<std::string> arguments = MakeInputs(folder, 2);
    arguments.insert(arguments.end(), {"--info", "--json"});
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 0);
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ(json["ok"], true);
    ASSERT_EQ(json["files"].size(), 2u);
    EXPECT_EQ(json["files"][1]["path"], arguments[1]);
}

TEST(TagsOfTheProgram, TravelThroughAllTypesOfFile)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 44100, 440));
    WriteText(folder / "c.txt", "0 First\n0:00.5 Second\n");
    const std::string png = std::string("\x89PNG\r\n\x1A\n", 8) + "picture";
    WriteText(folder / "p.png", png);
    EXPECT_EQ(RunHost({"--set", "TITLE=Stra\u00dfe", "--set", "mood=calm", "--cover", folder / "p.png",
                       "--chapters", folder / "c.txt", folder / "a.wav", folder / "b.flac"})
                  .err,
              "");
    const Names road = {"b.flac", "c.ogg", "d.mp3", "e.opus", "f.wav", "g.aiff", "h.flac"};
    for (size_t i = 1; i < road.size(); ++i)
        EXPECT_EQ(RunHost({folder / road[i - 1], folder / road[i]}).err, "") << road[i];
    const std::string info = RunHost({"--info", folder / "h.flac"}).out;
    for (const char *line :
         {"TITLE       Stra\u00dfe", "MOOD        calm", "Picture     front cover, image/png, 15 bytes",
          "Chapter     00:00:00.000 First", "Chapter     00:00:00.500 Second"})
        EXPECT_NE(info.find(line), std::string::npos) << line << " in\n" << info;
    EXPECT_NE(ReadText(folder / "h.flac").find(png), std::string::npos);
}

// A BMP of one colour, 32 bits a pixel.
std::string Bmp(uint32_t width, uint32_t height)
{
    std::string file = "BM";
    const auto put = [&](uint32_t number, int bytes) {
        for (int i = 0; i < bytes; ++i)
            file += static_cast<char>(number >> 8 * i);
    };
    for (const uint32_t number : {54 + width * height * 4, 0u, 54u, 40u, width, height})
        put(number, 4);
    put(1, 2);
    put(32, 2);
    for (int i = 0; i < 6; ++i)
        put(0, 4);
    for (uint32_t i = 0; i < width * height; ++i)
        put(0x3264C8, 4);
    return file;
}

TEST(TagsOfTheProgram, CoversAreScaledToFit)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 4410, 440));
    WriteText(folder / "p.bmp", Bmp(300, 200));
    const Outcome made = RunHost({"--cover", folder / "p.bmp", folder / "a.wav", folder / "b.flac"});
    if (made.err.find("no JPEG codec") != std::string::npos)
        GTEST_SKIP() << made.err;
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(RunHost({"--cover-size", "50", folder / "b.flac", folder / "c.mp3"}).err, "");
    const auto pictureOf = [&](const char *name) {
        const std::string info = RunHost({"--info", folder / name}).out;
        const size_t start = info.find("front cover, image/jpeg, ");
        return start == std::string::npos ? 0 : std::stoi(info.substr(start + 25));
    };
    EXPECT_GT(pictureOf("c.mp3"), 0);
    EXPECT_LT(pictureOf("c.mp3"), pictureOf("b.flac"));
    // The frame header of a JPEG: height and width, 33 and 50 pixels.
    EXPECT_NE(ReadText(folder / "c.mp3").find(std::string("\x08\x00\x21\x00\x32", 5)), std::string::npos);
}

TEST(TagsOfTheProgram, AreLeftBehindWithAWarningWhereTheyCantGo)
{
    TemporaryFolder folder;
    WriteSound(folder / "a.wav", Tone(kWav16, 44100, 2, 44100, 440));
    const Outcome outcome = RunHost({"--set", "TITLE=A", folder / "a.wav", folder / "b.w64"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("can't hold tags"), std::string::npos);
    EXPECT_EQ(RunHost({folder / "a.wav", folder / "c.w64"}).err, "");
}

} // namespace
} // namespace tonekit::host::test
