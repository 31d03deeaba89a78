// program_cover_test.cpp: covers out of whole files, and kinds of picture that are kept.
#include "tests/host/failures.h"

namespace tonekit::host::test {
namespace {

class CoverOfTheProgram : public Failures {
protected:
    // A file of this name with these bytes as its cover.
    std::string Covered(const std::string &name, const std::string &picture)
    {
        WriteText(folder / "picture", picture);
        const Outcome outcome = RunHost({"--cover", folder / "picture", folder / "good.wav", folder / name});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return folder / name;
    }
};

// The start of a lossless WebP of 640 by 480 pixels: 639 and 479 in 14 bits each.
const std::string kWebP = std::string("RIFF\x1A\0\0\0WEBPVP8L\x0D\0\0\0\x2F\x7F\xC2\x77\0rest", 29);
const std::string kPng = std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x02\x08\x02\0\0\0", 29);

TEST_F(CoverOfTheProgram, ComesOutOfEveryTypeAsItWentIn)
{
    for (const char *name : {"a.flac", "a.mp3", "a.ogg", "a.opus", "a.aiff", "a.wav"}) {
        const std::string in = Covered(name, kPng);
        const Outcome outcome = RunHost({"--extract-cover", folder / "out.png", in});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, in + " -> " + folder / "out.png" + " (image/png, 3 by 2 pixels, 29 bytes)\n");
        EXPECT_EQ(ReadText(folder / "out.png"), kPng) << name;
    }
}

TEST_F(CoverOfTheProgram, IsKeptAsWebP)
{
    const std::string in = Covered("a.flac", kWebP);
    EXPECT_NE(RunHost({"--info", in}).out.find("front cover, image/webp, 29 bytes"), std::string::npos);
    const Outcome outcome = RunHost({"--extract-cover", folder / "out.webp", in});
    EXPECT_NE(outcome.out.find("(image/webp, 640 by 480 pixels, 29 bytes)"), std::string::npos)
        << outcome.out;
    EXPECT_EQ(ReadText(folder / "out.webp"), kWebP);
}

TEST_F(CoverOfTheProgram, ThatGetsAnotherKindsNameIsToldOf)
{
    const Outcome outcome = RunHost({"-q", "--extract-cover", folder / "out.jpg", Covered("a.flac", kPng)});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tonekit-convert: warning: " + folder / "out.jpg" +
                               ": the picture is kept as it is, which is image/png\n");
}

TEST_F(CoverOfTheProgram, ThatIsntThereIsAFailure)
{
    const std::string in = Covered("a.flac", kPng);
    ExpectFailure(1, "holds no picture", {"--extract-cover", folder / "old.wav", folder / "good.wav"});
    ExpectFailure(1, "no such file", {"--extract-cover", folder / "old.wav", folder / "none.wav"});
    ExpectFailure(1, "same file", {"--extract-cover", in, in});
    ExpectFailure(1, "there is no folder", {"--extract-cover", folder / "none/out.png", in});
}

TEST_F(CoverOfTheProgram, TakesOneInputAlone)
{
    const std::string good = folder / "good.wav";
    ExpectFailure(2, "takes one INPUT", {"--extract-cover", folder / "x.png", good, folder / "y.wav"});
    ExpectFailure(2, "takes one INPUT", {"--extract-cover", folder / "x.png"});
    ExpectFailure(2, "leave --json out", {"--json", "--extract-cover", folder / "x.png", good});
    ExpectFailure(2, "leave --extract-cover out",
                  {"--in-place", "--set", "A=b", "--extract-cover", folder / "x.png", good});
}

} // namespace
} // namespace tonekit::host::test
