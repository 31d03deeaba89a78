// options_test.cpp: the command line and its mistakes.
#include "host/command_line/options.h"
#include "host/system/failure.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <regex>
#include <sstream>

namespace tonekit::host {
namespace {

std::string MistakeIn(const std::vector<std::string> &arguments)
{
    try {
        ParseOptions(arguments);
    } catch (const UsageError &error) {
        return error.what();
    }
    return "";
}

TEST(Options, WithoutAnyTheOutputIsAsTheInput)
{
    const Options options = ParseOptions({"in.wav", "out.flac"});
    EXPECT_EQ(options.command, Command::Convert);
    EXPECT_EQ(options.inputs, std::vector<std::string>{"in.wav"});
    EXPECT_EQ(options.output, "out.flac");
    EXPECT_FALSE(options.rate);
    EXPECT_FALSE(options.channels);
    EXPECT_FALSE(options.format);
    EXPECT_EQ(options.dither, DitherChoice::Auto);
    EXPECT_EQ(options.quality, Quality::High);
    EXPECT_EQ(options.hdcd, HdcdChoice::Off);
    EXPECT_TRUE(options.limiter);
    EXPECT_TRUE(options.tags);
    EXPECT_FALSE(options.jobs);
}

TEST(Options, ValuesStandBehindABlankOrAnEqualsSign)
{
    EXPECT_EQ(ParseOptions({"--rate", "48000", "a", "b"}).rate, 48000u);
    EXPECT_EQ(ParseOptions({"--rate=48000", "a", "b"}).rate, 48000u);
    EXPECT_EQ(ParseOptions({"-r48000", "a", "b"}).rate, 48000u);
    EXPECT_EQ(ParseOptions({"a", "b", "-r", "48000"}).rate, 48000u);
}

TEST(Options, LettersCanStandTogether)
{
    const Options options = ParseOptions({"-qj4", "a", "b"});
    EXPECT_TRUE(options.quiet);
    EXPECT_EQ(options.jobs, 4u);
}

TEST(Options, RatesCanBeKilohertz)
{
    EXPECT_EQ(ParseOptions({"-r", "44.1k", "a", "b"}).rate, 44100u);
    EXPECT_EQ(ParseOptions({"-r", "96K", "a", "b"}).rate, 96000u);
    EXPECT_EQ(ParseOptions({"-r", "11.025k", "a", "b"}).rate, 11025u);
}

TEST(Options, RatesGoFromOneKilohertzTo1536)
{
    EXPECT_EQ(ParseOptions({"-r", "1000", "a", "b"}).rate, 1000u);
    EXPECT_EQ(ParseOptions({"-r", "1k", "a", "b"}).rate, 1000u);
    EXPECT_EQ(ParseOptions({"-r", "1536000", "a", "b"}).rate, 1536000u);
    EXPECT_EQ(ParseOptions({"-r", "1536k", "a", "b"}).rate, 1536000u);
    for (const char *rate : {"999", "0.999k", "1536001", "1536.001k"})
        EXPECT_EQ(MistakeIn({"--rate", rate, "a", "b"}),
                  "--rate must be a rate from 1000 to 1536000 Hz, such as 48000 or 44.1k, not '" +
                      std::string(rate) + "'");
}

TEST(Options, ImpossibleRatesAreRefused)
{
    for (const char *rate : {"0", "-1", "999", "1536001", "44100.5", "44.1kk", "fast", "", "1e5", "nan"})
        EXPECT_NE(MistakeIn({"--rate", rate, "a", "b"}), "") << rate;
}

TEST(Options, EverySampleFormatHasAName)
{
    EXPECT_EQ(ParseOptions({"-b", "8", "a", "b"}).format, SampleFormat::Int8);
    EXPECT_EQ(ParseOptions({"-b", "16", "a", "b"}).format, SampleFormat::Int16);
    EXPECT_EQ(ParseOptions({"-b", "24", "a", "b"}).format, SampleFormat::Int24);
    EXPECT_EQ(ParseOptions({"-b", "32", "a", "b"}).format, SampleFormat::Int32);
    EXPECT_EQ(ParseOptions({"-b", "32f", "a", "b"}).format, SampleFormat::Float32);
    EXPECT_EQ(ParseOptions({"-b", "64f", "a", "b"}).format, SampleFormat::Float64);
}

TEST(Options, ThreeChannelsCantBeMade)
{
    EXPECT_EQ(MistakeIn({"-c", "3", "a", "b"}), "--channels must be one of: 1, 2, 4, 5, 6, 7, 8, not '3'");
    EXPECT_EQ(ParseOptions({"-c", "6", "a", "b"}).channels, 6u);
}

TEST(Options, MistakesAreNamed)
{
    EXPECT_EQ(MistakeIn({"--loud", "a", "b"}), "there is no option --loud");
    EXPECT_EQ(MistakeIn({"--samplerate=48000", "a", "b"}),
              "there is no option --samplerate; did you mean --rate?");
    EXPECT_EQ(MistakeIn({"--ditehr=on", "a", "b"}), "there is no option --ditehr; did you mean --dither?");
    EXPECT_EQ(MistakeIn({"-z", "a", "b"}), "there is no option -z");
    EXPECT_EQ(MistakeIn({"a", "b", "--rate"}), "--rate needs a value");
    EXPECT_EQ(MistakeIn({"--quiet=1", "a", "b"}), "--quiet takes no value");
    EXPECT_EQ(MistakeIn({"--quality", "bad", "a", "b"}),
              "--quality must be one of: normal, high, very-high, best, not 'bad'");
    EXPECT_EQ(MistakeIn({"--hdcd-gain", "7", "a", "b"}),
              "--hdcd-gain must be a whole number from 0 to 6, not '7'");
    EXPECT_EQ(
        MistakeIn({"--raw", "s16le,0,2", "a", "b"}),
        "--raw must have, as RATE, a rate from 1000 to 1536000 Hz, such as 48000 or 44.1k, not 's16le,0,2'");
    EXPECT_EQ(MistakeIn({"--raw-output", "s16le,8000,9", "a", "b"}),
              "--raw-output must have, as CHANNELS, a whole number from 1 to 8, not 's16le,8000,9'");
    for (const std::vector<std::string> &change : std::vector<std::vector<std::string>>{
             {"--in-place"}, {"--set", "A=b"}, {"--cover", "c.jpg"}, {"--chapters", "c.txt"}}) {
        std::vector<std::string> arguments = {"--info", "a"};
        arguments.insert(arguments.end(), change.begin(), change.end());
        EXPECT_EQ(MistakeIn(arguments), "--info and --extract-cover change nothing: leave --in-place, --set, "
                                        "--cover and --chapters out");
    }
    EXPECT_EQ(MistakeIn({"--set", "=x", "a", "b"}), "--set must have the form KEY=VALUE, not '=x'");
    // As a shell with another encoding sends it. Such a tag would be lost, and with it the one that was
    // there.
    EXPECT_EQ(MistakeIn({"--set", "TITLE=J\xFCrgen", "a", "b"}),
              "--set must be well-formed UTF-8, not 'TITLE=J\xFCrgen'");
    EXPECT_EQ(MistakeIn({"--set", "K\xC3=v", "a", "b"}), "--set must be well-formed UTF-8, not 'K\xC3=v'");
    EXPECT_NE(MistakeIn({"-j", "0", "a", "b"}), "");
    EXPECT_NE(MistakeIn({"a", ""}), "");
    EXPECT_NE(MistakeIn({"a"}), "");
    EXPECT_NE(MistakeIn({}), "");
    EXPECT_NE(MistakeIn({"--info"}), "");
}

TEST(Options, BehindTwoDashesAllAreNames)
{
    const Options options = ParseOptions({"--", "-r", "--quiet"});
    EXPECT_EQ(options.inputs, std::vector<std::string>{"-r"});
    EXPECT_EQ(options.output, "--quiet");
}

TEST(Options, TheLastValueSetForAKeyCounts)
{
    const Options options = ParseOptions({"--set", "title=a", "--set", "B=x=y", "--set", "TITLE=", "a", "b"});
    ASSERT_EQ(options.set.size(), 2u);
    EXPECT_EQ(options.set[0], (std::pair<std::string, std::string>{"B", "x=y"}));
    EXPECT_EQ(options.set[1], (std::pair<std::string, std::string>{"TITLE", ""}));
}

TEST(Options, TruePeakAsksForTheMeasurementToo)
{
    const Options options = ParseOptions({"--true-peak", "a", "b"});
    EXPECT_TRUE(options.replayGain);
    EXPECT_TRUE(options.truePeak);
}

TEST(Options, HelpNamesEveryOptionOfItsTable)
{
    const std::string help = HelpText();
    for (const char *option :
         {"--rate",       "--channels",  "--bits",        "--type",          "--quality",  "--filter",
          "--aliasing",   "--dither",    "--dither-mode", "--limiter",       "--hdcd",     "--hdcd-gain",
          "--set",        "--cover",     "--cover-size",  "--cover-quality", "--chapters", "--no-tags",
          "--replaygain", "--true-peak", "--hash",        "--jobs",          "--memory",   "--info",
          "--json",       "--quiet",     "--version",     "--help"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
}

TEST(Options, TheManualTellsOfEveryOptionInTheHelp)
{
    const std::string manual = test::ReadText(TONEKIT_SOURCE_DIR "/docs/tonekit-convert.1");
    const std::string help = HelpText();
    size_t options = 0;
    for (size_t start = help.find("--"); start != std::string::npos; start = help.find("--", start + 2)) {
        const size_t end = help.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", start);
        std::string name;
        for (const char c : help.substr(start, end - start))
            name += c == '-' ? std::string("\\-") : std::string(1, c);
        EXPECT_NE(manual.find(name), std::string::npos) << name;
        ++options;
    }
    EXPECT_GT(options, 25u);
}

// The text of a manual's line without its marks: .BR \-r ", " \-\-rate " \fIHZ\fR" is -r, --rate HZ.
std::string WithoutMarks(std::string line)
{
    const std::regex blank(" +(?=(?:[^\"]*\"[^\"]*\")*[^\"]*$)"); // outside of quotes
    line = std::regex_replace(line.substr(line.find(' ') + 1), blank, "");
    return std::regex_replace(line, std::regex(R"(\\f[A-Z]|\\(?=-)|")"), "");
}

TEST(Options, TheHelpHasEveryOptionOfTheManualWithItsValue)
{
    const std::string manual = test::ReadText(TONEKIT_SOURCE_DIR "/docs/tonekit-convert.1");
    const size_t start = manual.find(".SH OPTIONS");
    std::istringstream lines(manual.substr(start, manual.find(".SH EXIT STATUS") - start));
    const std::string help = HelpText();
    size_t options = 0;
    for (std::string line, last; std::getline(lines, line); last = line) {
        if (last != ".TP" || line.find("\\-") == std::string::npos)
            continue;
        const std::string option = WithoutMarks(line);
        // What the help says of it follows after blanks or in a line of its own.
        const bool found =
            help.find(option + "  ") != std::string::npos || help.find(option + "\n") != std::string::npos;
        EXPECT_TRUE(found) << option;
        ++options;
    }
    EXPECT_GT(options, 30u);
}

TEST(Options, HelpFitsIntoEightyColumns)
{
    const std::string help = HelpText();
    size_t start = 0;
    while (start < help.size()) {
        const size_t end = help.find('\n', start);
        EXPECT_LE(end - start, 80u) << help.substr(start, end - start);
        start = end + 1;
    }
}

} // namespace
} // namespace tonekit::host
