// loudspeakers_test.cpp: channels that are for other loudspeakers than the converter's.
#include "host/audio/loudspeakers.h"
#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit::host::test {
namespace {

std::string Number(uint64_t number, int bytes, bool bigFirst)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(number >> 8 * (bigFirst ? bytes - 1 - i : i));
    return text;
}

std::string Little(uint64_t number, int bytes)
{
    return Number(number, bytes, false);
}

std::string Big(uint64_t number, int bytes)
{
    return Number(number, bytes, true);
}

// A WAV file of 16 bits whose header names the loudspeakers: frames of 1, 2, 3, ... times 1000.
std::string Wav(unsigned channels, uint32_t mask, unsigned frames = 100)
{
    std::string data;
    for (unsigned i = 0; i < frames; ++i) {
        for (unsigned c = 0; c < channels; ++c)
            data += Little(1000 * (c + 1), 2);
    }
    const std::string format = Little(0xFFFE, 2) + Little(channels, 2) + Little(48000, 4) +
                               Little(48000 * channels * 2, 4) + Little(channels * 2, 2) + Little(16, 2) +
                               Little(22, 2) + Little(16, 2) + Little(mask, 4) + Little(1, 2) +
                               std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
    return "RIFF" + Little(20 + format.size() + data.size(), 4) + "WAVEfmt " + Little(format.size(), 4) +
           format + "data" + Little(data.size(), 4) + data;
}

// The loudspeakers in the header of a WAV file.
uint32_t MaskOf(const std::string &wav)
{
    uint32_t mask = 0;
    for (size_t i = 0; i < 4; ++i)
        mask |= static_cast<uint32_t>(static_cast<unsigned char>(wav.at(40 + i))) << 8 * i;
    return mask;
}

// A CAF file of one frame of 1, 2, 3, ... times 1000, with a tag that says what its channels are for.
std::string Caf(unsigned channels, uint32_t tag)
{
    std::string data;
    for (unsigned c = 0; c < channels; ++c)
        data += Big(1000 * (c + 1), 2);
    const std::string rate("\x40\xE7\x70\0\0\0\0\0", 8); // 48000 as a double
    const std::string about =
        rate + "lpcm" + Big(0, 4) + Big(channels * 2, 4) + Big(1, 4) + Big(channels, 4) + Big(16, 4);
    return "caff" + Big(1, 2) + Big(0, 2) + "desc" + Big(about.size(), 8) + about + "chan" + Big(12, 8) +
           Big(tag, 4) + Big(0, 8) + "data" + Big(4 + data.size(), 8) + Big(0, 4) + data;
}

TEST(Loudspeakers, OfTheConverterAreNotUnlikeIt)
{
    EXPECT_EQ(UnlikeConverter(0, 6), 0U);
    EXPECT_EQ(UnlikeConverter(0x4, 1), 0U);
    EXPECT_EQ(UnlikeConverter(0x600, 2), 0U);
    for (const Loudspeakers usual : {0x33U, 0x603U})
        EXPECT_EQ(UnlikeConverter(usual, 4), 0U);
    for (const Loudspeakers usual : {0x37U, 0x607U})
        EXPECT_EQ(UnlikeConverter(usual, 5), 0U);
    for (const Loudspeakers usual : {0x3FU, 0x60FU})
        EXPECT_EQ(UnlikeConverter(usual, 6), 0U);
    for (const Loudspeakers usual : {0x70FU, 0x13FU})
        EXPECT_EQ(UnlikeConverter(usual, 7), 0U);
    EXPECT_EQ(UnlikeConverter(0x63F, 8), 0U);
}

TEST(Loudspeakers, OfOtherLayoutsAre)
{
    EXPECT_EQ(UnlikeConverter(0x7, 3), 0x7U);
    EXPECT_EQ(UnlikeConverter(0xB, 3), 0xBU);
    EXPECT_EQ(UnlikeConverter(0x107, 4), 0x107U); // 4.0
    EXPECT_EQ(UnlikeConverter(0xF, 4), 0xFU);     // 3.1
    EXPECT_EQ(UnlikeConverter(0x10F, 5), 0x10FU); // 4.1
    EXPECT_EQ(UnlikeConverter(0x137, 6), 0x137U); // hexagonal
    EXPECT_EQ(UnlikeConverter(0x637, 7), 0x637U); // 7.0
    EXPECT_EQ(UnlikeConverter(0xFF, 8), 0xFFU);   // five in front
    EXPECT_TRUE(CanBeMixed(0xB));
    EXPECT_FALSE(CanBeMixed(0x7));
    EXPECT_FALSE(CanBeMixed(0x107));
    // A header that names more or fewer than there are says nothing.
    EXPECT_EQ(UnlikeConverter(0x107, 6), 0U);
    EXPECT_EQ(NamesOf(0x107), "front left, front right, front centre, rear centre");
}

class LoudspeakersOfFiles : public testing::Test {
protected:
    std::string Run(std::vector<std::string> arguments, int status = 0)
    {
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        return outcome.err;
    }

    TemporaryFolder folder;
};

TEST_F(LoudspeakersOfFiles, StayNamedInWav)
{
    for (const auto &[channels, mask] :
         {std::pair(4U, 0x107U), std::pair(4U, 0xFU), std::pair(6U, 0x137U), std::pair(8U, 0xFFU)}) {
        WriteText(folder / "in.wav", Wav(channels, mask));
        EXPECT_EQ(Run({"-q", "-b", "24", folder / "in.wav", folder / "out.wav"}), "");
        EXPECT_EQ(MaskOf(ReadText(folder / "out.wav")), mask);
        EXPECT_EQ(ReadSound(folder / "out.wav").samples, ReadSound(folder / "in.wav").samples);
    }
    WriteText(folder / "in.wav", Wav(4, 0x603));
    EXPECT_EQ(Run({"-q", "-b", "24", folder / "in.wav", folder / "out.wav"}), "");
    EXPECT_EQ(MaskOf(ReadText(folder / "out.wav")), 0x33U);
}

TEST_F(LoudspeakersOfFiles, OfSixPointOneComeIntoTheConvertersOrder)
{
    WriteText(folder / "in.wav", Wav(7, 0x13F, 1));
    EXPECT_EQ(Run({"-q", "-b", "24", folder / "in.wav", folder / "out.wav"}), "");
    EXPECT_EQ(MaskOf(ReadText(folder / "out.wav")), 0x70FU);
    std::vector<int32_t> expected;
    for (const int32_t channel : {1, 2, 3, 4, 7, 5, 6})
        expected.push_back(channel * 1000 << 16);
    EXPECT_EQ(ReadSound(folder / "out.wav").samples, expected);
}

TEST_F(LoudspeakersOfFiles, StayNamedInAPipe)
{
    const Outcome outcome = RunHostOnPipes(Wav(4, 0x107), {"-q", "-b", "24", "-t", "wav", "-", "-"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(MaskOf(outcome.out), 0x107U);
}

TEST_F(LoudspeakersOfFiles, AreNotMixedAsOthers)
{
    for (const char *channels : {"2", "1", "6"}) {
        WriteText(folder / "in.wav", Wav(4, 0x107));
        const std::string err = Run({"-c", channels, folder / "in.wav", folder / "out.wav"}, 1);
        EXPECT_NE(err.find("in.wav: its channels are for front left, front right, front centre, rear centre, "
                           "and there is no mix of these: leave --channels out"),
                  std::string::npos)
            << err;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.wav"});
}

TEST_F(LoudspeakersOfFiles, AtTheSideAreMixedAsThoseAtTheRear)
{
    for (const auto &[name, mask] : {std::pair("rear", 0x3FU), std::pair("side", 0x60FU)}) {
        WriteText(folder / (std::string(name) + ".wav"), Wav(6, mask));
        EXPECT_EQ(Run({"-q", "-c", "2", "-b", "24", folder / (std::string(name) + ".wav"),
                       folder / (std::string(name) + "2.wav")}),
                  "");
    }
    EXPECT_EQ(ReadText(folder / "rear2.wav"), ReadText(folder / "side2.wav"));
}

TEST_F(LoudspeakersOfFiles, ThatNoHeaderNamesGetAWarning)
{
    WriteText(folder / "in.wav", Wav(4, 0x107));
    const std::string err = Run({"-q", folder / "in.wav", folder / "out.flac"});
    EXPECT_NE(err.find("out.flac: doesn't say that its channels are for front left, front right, front "
                       "centre, rear centre"),
              std::string::npos)
        << err;
    EXPECT_EQ(ReadSound(folder / "out.flac").samples, ReadSound(folder / "in.wav").samples);
}

TEST_F(LoudspeakersOfFiles, OfThreeChannelsLoseTheThirdWithAWarning)
{
    WriteText(folder / "in.wav", Wav(3, 0xB));
    EXPECT_NE(Run({"-q", "-c", "2", folder / "in.wav", folder / "out.wav"})
                  .find("in.wav: the third of its channels is part of no mix, and is left out"),
              std::string::npos);
    EXPECT_EQ(ReadSound(folder / "out.wav").samples[1], 2000 << 16);
    WriteText(folder / "in.wav", Wav(3, 0x7));
    Run({"-c", "2", folder / "in.wav", folder / "none.wav"}, 1);
}

// Tags of layouts in files of this type, and the samples in the converter's order.
TEST_F(LoudspeakersOfFiles, OfCafComeIntoTheConvertersOrder)
{
    const struct {
        uint32_t tag;
        std::vector<int32_t> order;
    } layouts[] = {
        {121U << 16 | 6, {1, 2, 3, 4, 5, 6}}, // L R C LFE Ls Rs
        {122U << 16 | 6, {1, 2, 5, 6, 3, 4}}, // L R Ls Rs C LFE
        {123U << 16 | 6, {1, 3, 2, 6, 4, 5}}, // L C R Ls Rs LFE
        {124U << 16 | 6, {2, 3, 1, 6, 4, 5}}, // C L R Ls Rs LFE
        {113U << 16 | 3, {1, 2, 3}},          // L R C
        {114U << 16 | 3, {2, 3, 1}},          // C L R
    };
    for (const auto &layout : layouts) {
        WriteText(folder / "in.caf", Caf(layout.tag & 0xFF, layout.tag));
        EXPECT_EQ(Run({"-q", folder / "in.caf", folder / "out.wav"}), "");
        std::vector<int32_t> expected;
        for (const int32_t channel : layout.order)
            expected.push_back(channel * 1000 << 16);
        EXPECT_EQ(ReadSound(folder / "out.wav").samples, expected) << (layout.tag >> 16);
    }
}

TEST_F(LoudspeakersOfFiles, ThatDifferAreNotJoined)
{
    WriteText(folder / "a.wav", Wav(4, 0x107));
    WriteText(folder / "b.wav", Wav(4, 0x33));
    EXPECT_NE(Run({"--join", folder / "a.wav", folder / "b.wav", folder / "out.wav"}, 1)
                  .find("b.wav: has its channels for other loudspeakers than"),
              std::string::npos);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a.wav", "b.wav"}));
}

} // namespace
} // namespace tonekit::host::test
