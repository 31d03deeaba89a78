// readme_jobs_test.cpp: runs the one-line jobs of the README.
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

// The lines of the block of code in the section "Convert".
std::vector<std::string> JobsOfReadme()
{
    const std::string readme = ReadText(TONEKIT_SOURCE_DIR "/README.md");
    const size_t section = readme.find("\n## Convert\n");
    const size_t start = readme.find("```\n", section) + 4;
    std::istringstream block(readme.substr(start, readme.find("```", start) - start));
    std::vector<std::string> lines;
    for (std::string line; std::getline(block, line);)
        lines.push_back(line);
    return lines;
}

// The words of a line as a shell has them: 'one word', and no more after #.
std::vector<std::string> WordsOf(const std::string &line)
{
    std::vector<std::string> words(1);
    bool quoted = false;
    for (const char c : line) {
        if (c == '\'')
            quoted = !quoted;
        else if (c == '#' && !quoted)
            break;
        else if (c != ' ' || quoted)
            words.back() += c;
        else if (!words.back().empty())
            words.emplace_back();
    }
    if (words.back().empty())
        words.pop_back();
    return words;
}

// Runs a line, with files at its standard streams where it says so.
Outcome RunLine(std::vector<std::string> words)
{
    const auto taken = [&](const char *sign) {
        const auto place = std::find(words.begin(), words.end(), sign);
        if (place == words.end())
            return std::string();
        const std::string name = place[1];
        words.erase(place, place + 2);
        return name;
    };
    const std::string in = taken("<");
    const std::string out = taken(">");
    words.erase(words.begin());
    if (in.empty())
        return RunHost(words);
    Outcome outcome = RunHostOnPipes(ReadText(in), words);
    WriteText(out, outcome.out);
    // There the line goes that has its place on standard output.
    if (outcome.err.starts_with("standard input"))
        outcome.err.clear();
    return outcome;
}

// The files that the jobs name, in the working folder of this process, which is that of the program.
class ReadmeJobs : public testing::Test {
protected:
    void SetUp() override
    {
        before_ = fs::current_path();
        fs::current_path(folder_.path());
        WriteSound("song.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 30000));
        WriteSound("master.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_24, 96000, 2, 30000));
        WriteText("front.png", std::string("\x89PNG\r\n\x1A\n", 8) + "picture");
        fs::create_directories("music/live");
        WriteSound("music/live/1.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 30000));
        WriteSound("music/live/2.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 40000));
        WriteText("music/live/front.jpg", "picture");
    }

    void TearDown() override { fs::current_path(before_); }

    TemporaryFolder folder_;
    fs::path before_;
};

TEST_F(ReadmeJobs, DoWhatTheySay)
{
    const std::vector<std::string> lines = JobsOfReadme();
    // What each leaves.
    const std::vector<std::vector<std::string>> results = {
        {"song.flac"},
        {"cd.wav"},
        {"song.mp3"},
        {"tagged.flac"},
        {"even.flac"},
        {"song.png", "song.mp3"},
        {"phone/live/1.opus", "phone/live/2.opus", "phone/live/front.jpg"},
        {"music/live/1.wav", "music/live/2.wav"},
        {"sorted/Trio/Live/00 1.flac", "sorted/Trio/Live/00 2.flac"},
        {"concert.flac"},
        {"tracks/01 1.flac", "tracks/02 2.flac"},
        {"song48.wav"},
    };
    ASSERT_EQ(lines.size(), results.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        std::vector<std::string> words = WordsOf(lines[i]);
        ASSERT_FALSE(words.empty());
        EXPECT_EQ(words[0], "tonekit-convert") << lines[i];
        const Outcome outcome = RunLine(words);
        EXPECT_EQ(outcome.status, 0) << lines[i] << "\n" << outcome.err;
        EXPECT_EQ(outcome.err, "") << lines[i];
        for (const std::string &name : results[i])
            EXPECT_TRUE(fs::exists(name)) << lines[i] << ": " << name;
    }
    EXPECT_EQ(ReadSound("song.flac").samples, ReadSound("song.wav").samples);
    EXPECT_EQ(ReadSound("cd.wav").rate, 44100);
    EXPECT_EQ(ReadSound("song48.wav").rate, 48000);
    EXPECT_EQ(ReadSound("concert.flac").Frames(), 70000u);
    EXPECT_EQ(ReadSound("cd.wav").format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string tagged = RunHost({"--info", "tagged.flac"}).out;
    EXPECT_NE(tagged.find("TITLE       Morning"), std::string::npos) << tagged;
    EXPECT_NE(tagged.find("front cover, image/png"), std::string::npos) << tagged;
    EXPECT_EQ(ReadText("song.png").substr(1, 3), "PNG");
    EXPECT_EQ(ReadSound("tracks/02 2.flac").samples, ReadSound("music/live/2.wav").samples);
    EXPECT_NE(ReadSound("even.flac").samples, ReadSound("song.wav").samples);
    EXPECT_NE(RunHost({"--info", "music/live/2.wav"}).out.find("REPLAYGAIN_ALBUM_GAIN"), std::string::npos);
}

} // namespace
} // namespace tonekit::host::test
