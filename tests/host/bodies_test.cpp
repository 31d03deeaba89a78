// bodies_test.cpp: which bodies the program calls, and that all of them write the same bytes.
#include "host/processing/bodies.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <regex>

namespace tonekit::host::test {
namespace {

std::string RefusalOf(const std::string &word, const std::string &letters)
{
    try {
        BodyLetter(word, letters);
    } catch (const UsageError &error) {
        return error.what();
    }
    return "";
}

TEST(Bodies, AutoIsTheLastLetterOfTheProcessor)
{
    EXPECT_EQ(BodyLetter("auto", "A"), 'A');
    EXPECT_EQ(BodyLetter("auto", "ALMNPR"), 'R');
    EXPECT_EQ(BodyLetter("auto", "ALMNPRSV"), 'V');
}

TEST(Bodies, PlainIsNoLetter)
{
    EXPECT_EQ(BodyLetter("plain", "ALMNPRSV"), 0);
}

TEST(Bodies, EveryLetterOfTheProcessorCanBeChosen)
{
    const std::string letters = "ALMNPRSV";
    for (const char letter : letters)
        EXPECT_EQ(BodyLetter(std::string(1, letter), letters), letter);
    EXPECT_EQ(BodyLetter("N", "ALMN"), 'N');
}

TEST(Bodies, LettersBeyondTheProcessorAreRefused)
{
    EXPECT_EQ(RefusalOf("V", "ALMNPR"), "can be no more than R on this processor");
    EXPECT_EQ(RefusalOf("L", "A"), "can be no more than A on this processor");
}

TEST(Bodies, OtherWordsAreRefused)
{
    for (const char *word : {"", "v", "B", "AL", "Auto", "avx2"})
        EXPECT_EQ(RefusalOf(word, "ALMNPRSV"), "must be auto, plain, or one of A, L, M, N, P, R, S and V")
            << word;
}

TEST(Bodies, TheProcessorsLettersBeginWithTheBaseline)
{
    const std::string letters = LettersOfProcessor();
    ASSERT_FALSE(letters.empty());
    EXPECT_EQ(std::string("ALMNPRSV").substr(0, letters.size()), letters);
}

TEST(Bodies, PlainBodiesAreTheDeclaredFunctions)
{
    UseBodies(0);
    EXPECT_EQ(BodiesInUse().SRC4_Init, &::SRC4_Init);
    EXPECT_EQ(BodiesInUse().SRC4_Read, &::SRC4_Read);
    EXPECT_EQ(BodiesInUse().hdcd_scan16, &::hdcd_scan16);
    EXPECT_EQ(BodiesInUse().sha256_update, &::sha256_update);
    EXPECT_EQ(BodiesInUse().sha512_final, &::sha512_final);
}

TEST(Bodies, LettersHaveBodiesOfTheirOwn)
{
    UseBodies('A');
    const Bodies &baseline = BodiesInUse();
    EXPECT_NE(baseline.SRC4_Init, &::SRC4_Init);
    if (LettersOfProcessor().back() != 'V')
        GTEST_SKIP() << "this processor has no letter whose bodies all differ from the baseline's";
    UseBodies('V');
    EXPECT_NE(BodiesInUse().SRC4_Init, baseline.SRC4_Init);
    EXPECT_NE(BodiesInUse().SRC4_Read, baseline.SRC4_Read);
    EXPECT_NE(BodiesInUse().hdcd_scan16, baseline.hdcd_scan16);
    EXPECT_NE(BodiesInUse().sha256_update, baseline.sha256_update);
    EXPECT_NE(BodiesInUse().sha512_update, baseline.sha512_update);
    UseBodies('A');
    EXPECT_EQ(&BodiesInUse(), &baseline);
}

// "auto", "plain" and the letters that this processor has.
std::vector<std::string> Words()
{
    std::vector<std::string> words{"auto", "plain"};
    for (const char letter : LettersOfProcessor())
        words.emplace_back(1, letter);
    return words;
}

// The digest that a conversion by these bodies prints, and what it writes.
std::pair<std::string, std::string> ResultBy(const std::string &word, const std::vector<std::string> &options)
{
    TemporaryFolder folder;
    WriteSound(folder / "in.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_24, 44100, 2, 30011));
    std::vector<std::string> arguments{"--bodies",        word, "--dither", "off", folder / "in.wav",
                                       folder / "out.wav"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.status, 0) << word << ": " << outcome.err;
    std::smatch digest;
    EXPECT_TRUE(std::regex_search(outcome.out, digest, std::regex("sha[0-9]+ [0-9a-f]{64,128} "))) << word;
    return {digest.str(), ReadText(folder / "out.wav")};
}

TEST(Bodies, AllWriteTheSameBytes)
{
    for (const std::vector<std::string> &options : std::vector<std::vector<std::string>>{
             {"-r", "48000", "-b", "16", "--hash", "sha256"},
             {"-r", "96000", "-b", "32", "--quality", "best", "--hash", "sha512"},
             {"-r", "22050", "-b", "24", "-c", "1", "--quality", "normal", "--hash", "sha256"}}) {
        const auto plain = ResultBy("plain", options);
        EXPECT_GT(plain.second.size(), 10000u);
        for (const std::string &word : Words()) {
            const auto result = ResultBy(word, options);
            EXPECT_EQ(result.first, plain.first) << word;
            EXPECT_TRUE(result.second == plain.second) << word << " at " << options[1];
        }
    }
}

TEST(Bodies, TheProgramRefusesOthersWithALine)
{
    const Outcome outcome = RunHost({"--bodies", "W", "a.wav", "b.wav"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "tonekit-convert: --bodies must be auto, plain, or one of A, L, M, N, P, R, S and "
                           "V, not 'W' (see --help)\n");
}

} // namespace
} // namespace tonekit::host::test
