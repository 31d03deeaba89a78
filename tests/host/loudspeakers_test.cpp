// loudspeakers_test.cpp: channels that are for other loudspeakers than the converter's.
#include "host/audio/header_channels.h"
#include "host/audio/loudspeakers.h"
#include "host/system/memory_bytes.h"
#include "tests/host/audio_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

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

// The labels of a CAF or AIFF layout; an angle and other numbers of places come after each.
std::string Labels(const std::vector<uint32_t> &labels)
{
    std::string text;
    for (const uint32_t label : labels)
        text += Big(label, 4) + std::string(16, '\1');
    return text;
}

std::string Layout(uint32_t tag, uint32_t bitmap, const std::vector<uint32_t> &labels)
{
    return Big(tag, 4) + Big(bitmap, 4) + Big(labels.size(), 4) + Labels(labels);
}

// A CAF file of one frame of 1, 2, 3, ... times 1000, with a layout that says what its channels are for.
std::string Caf(unsigned channels, uint32_t tag, uint32_t bitmap = 0,
                const std::vector<uint32_t> &labels = {})
{
    const std::string layout = Layout(tag, bitmap, labels);
    std::string data;
    for (unsigned c = 0; c < channels; ++c)
        data += Big(1000 * (c + 1), 2);
    const std::string rate("\x40\xE7\x70\0\0\0\0\0", 8); // 48000 as a double
    const std::string about =
        rate + "lpcm" + Big(0, 4) + Big(channels * 2, 4) + Big(1, 4) + Big(channels, 4) + Big(16, 4);
    return "caff" + Big(1, 2) + Big(0, 2) + "desc" + Big(about.size(), 8) + about + "chan" +
           Big(layout.size(), 8) + layout + "data" + Big(4 + data.size(), 8) + Big(0, 4) + data;
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

TEST_F(LoudspeakersOfFiles, MakeNoOtherTypeOfWav)
{
    WriteText(folder / "in.wav", Wav(4, 0x107));
    const std::string info = RunHost({"--info", folder / "in.wav"}).out;
    EXPECT_NE(info.find("  Type        WAV, Signed 16 bit PCM\n"), std::string::npos) << info;
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
    const std::string err = Run({"-q", folder / "in.wav", folder / "out.au"});
    EXPECT_NE(err.find("out.au: doesn't say that its channels are for front left, front right, front "
                       "centre, rear centre"),
              std::string::npos)
        << err;
    EXPECT_EQ(ReadSound(folder / "out.au").samples, ReadSound(folder / "in.wav").samples);
    const Outcome piped = RunHostOnPipes(Wav(4, 0x107), {"-q", "-t", "flac", "-", "-"});
    EXPECT_NE(piped.err.find("doesn't say that its channels are for"), std::string::npos) << piped.err;
}

// FLAC has a comment for layouts that aren't its own.
TEST_F(LoudspeakersOfFiles, StayNamedInFlac)
{
    for (const auto &[channels, mask, text] :
         {std::tuple(4U, 0x107U, "0x0107"), std::tuple(4U, 0xFU, "0x000F"), std::tuple(3U, 0xBU, "0x000B"),
          std::tuple(8U, 0xFFU, "0x00FF")}) {
        WriteText(folder / "in.wav", Wav(channels, mask));
        EXPECT_EQ(Run({"-q", "--set", "TITLE=a", folder / "in.wav", folder / "out.flac"}), "");
        const std::string comment = std::string("WAVEFORMATEXTENSIBLE_CHANNEL_MASK=") + text;
        EXPECT_NE(ReadText(folder / "out.flac").find(comment), std::string::npos) << comment;
        EXPECT_EQ(ReadSound(folder / "out.flac").samples, ReadSound(folder / "in.wav").samples);
        // And on to other types, which say it in their own way.
        EXPECT_EQ(Run({"-q", folder / "out.flac", folder / "back.wav"}), "");
        EXPECT_EQ(MaskOf(ReadText(folder / "back.wav")), mask);
        EXPECT_EQ(ReadText(folder / "back.wav").find("CHANNEL_MASK"), std::string::npos);
        EXPECT_EQ(Run({"-q", "-t", "flac", "--compression", "3", folder / "out.flac", folder / "more.flac"}),
                  "");
        EXPECT_NE(ReadText(folder / "more.flac").find(comment), std::string::npos) << comment;
        // Copies without tags are still for the same loudspeakers.
        EXPECT_EQ(Run({"-q", "--no-tags", folder / "out.flac", folder / "bare.flac"}), "");
        const std::string bare = ReadText(folder / "bare.flac");
        EXPECT_NE(bare.find(comment), std::string::npos) << comment;
        EXPECT_EQ(bare.find("TITLE=a"), std::string::npos);
        EXPECT_EQ(Run({"-q", "--in-place", "--no-tags", folder / "out.flac"}), "");
        const std::string inPlace = ReadText(folder / "out.flac");
        EXPECT_NE(inPlace.find(comment), std::string::npos) << comment;
        EXPECT_EQ(inPlace.find("TITLE=a"), std::string::npos);
    }
    for (const auto &[channels, mask] : {std::pair(3U, 0x7U), std::pair(4U, 0x33U), std::pair(6U, 0x60FU)}) {
        WriteText(folder / "in.wav", Wav(channels, mask));
        EXPECT_EQ(Run({"-q", folder / "in.wav", folder / "out.flac"}), "");
        EXPECT_EQ(ReadText(folder / "out.flac").find("CHANNEL_MASK"), std::string::npos) << mask;
    }
}

TEST_F(LoudspeakersOfFiles, OfFlacAreNotMixedAsOthers)
{
    WriteText(folder / "in.wav", Wav(4, 0x107));
    Run({"-q", folder / "in.wav", folder / "a.flac"});
    const std::string named = ReadText(folder / "a.flac");
    const std::string what = "its channels are for front left, front right, front centre, rear centre, and";
    EXPECT_NE(Run({"-c", "2", folder / "a.flac", folder / "out.wav"}, 1).find(what), std::string::npos);
    const Outcome piped = RunHostOnPipes(named, {"-c", "2", "-t", "wav", "-", "-"});
    EXPECT_EQ(piped.status, 1);
    EXPECT_NE(piped.err.find(what), std::string::npos) << piped.err;
    // Of its own layout, or where the comment makes no sense, it is mixed as ever.
    Run({"-q", "-c", "2", "-b", "24", folder / "in.wav", folder / "none.wav"}, 1);
    WriteText(folder / "quad.wav", Wav(4, 0x33));
    Run({"-q", "-c", "2", "-b", "24", folder / "quad.wav", folder / "quad2.wav"});
    for (const std::string text : {"0x0033", "0x0603", "0x0007", "263   ", "0x01g7", "0x0000"}) {
        std::string changed = named;
        changed.replace(changed.find("0x0107"), 6, text);
        WriteText(folder / "b.flac", changed);
        EXPECT_EQ(Run({"-q", "-c", "2", "-b", "24", folder / "b.flac", folder / "b2.wav"}), "") << text;
        EXPECT_TRUE(ReadText(folder / "b2.wav") == ReadText(folder / "quad2.wav")) << text;
    }
    std::string small = named;
    small.replace(small.find("WAVEFORMAT"), 10, "waveformat");
    WriteText(folder / "b.flac", small);
    Run({"-c", "2", folder / "b.flac", folder / "out.wav"}, 1);
}

std::optional<NamedChannels> InHeader(const std::string &text)
{
    const std::vector<unsigned char> kept(text.begin(), text.end());
    MemoryBytes bytes(kept);
    return ChannelsInHeader(bytes);
}

// A FLAC header of so many channels: its first block, another, and one of comments.
std::string FlacHeader(unsigned channels, const std::vector<std::string> &comments)
{
    std::string block = Little(4, 4) + "name" + Little(comments.size(), 4);
    for (const std::string &comment : comments)
        block += Little(comment.size(), 4) + comment;
    std::string first(34, '\0');
    first[12] = static_cast<char>((channels - 1) << 1);
    return "fLaC" + Big(34, 4) + first + Big(1U << 24 | 3, 4) + "\0\0\0"s +
           Big(0x84U << 24 | block.size(), 4) + block;
}

TEST(HeaderChannels, OfFlacAreInItsComments)
{
    const std::string mask = "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=";
    const auto loudspeakers = [&](unsigned channels, const std::vector<std::string> &comments) {
        const std::optional<NamedChannels> named = InHeader(FlacHeader(channels, comments));
        return named ? named->loudspeakers : 0;
    };
    EXPECT_EQ(loudspeakers(4, {"TITLE=a", mask + "0x0107", "ARTIST=b"}), 0x107U);
    EXPECT_EQ(loudspeakers(4, {std::string(65, 'a') + "=", std::string(70000, 'b'), mask + "0X10f"}), 0x10FU);
    EXPECT_EQ(loudspeakers(3, {mask + "0x0000000000000007"}), 7U);
    EXPECT_EQ(loudspeakers(2, {mask + "0x0030"}), 0U);
    EXPECT_EQ(loudspeakers(4, {"A" + mask + "0x0107"}), 0U);
    EXPECT_EQ(loudspeakers(4, {mask + "0x"}), 0U);
    EXPECT_EQ(loudspeakers(4, {mask + "0x00000000000000107"}), 0U);
    EXPECT_EQ(loudspeakers(4, {mask + "0107"}), 0U);
    EXPECT_EQ(loudspeakers(4, {}), 0U);
    // The first one counts.
    EXPECT_EQ(loudspeakers(4, {mask + "0x0033", mask + "0x0107"}), 0x33U);
    // A file can have any number of blocks.
    std::string many = FlacHeader(4, {mask + "0x0107"});
    const auto insert = [&](size_t count) {
        for (; count > 0; --count)
            many.insert(42, "\1\0\0\0"s);
        return InHeader(many);
    };
    EXPECT_EQ(insert(9997).value().loudspeakers, 0x107U);
    EXPECT_FALSE(insert(1));
    // At each byte a cut header is no more than one without names.
    const std::string whole = FlacHeader(4, {mask + "0x0107"});
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(InHeader(whole.substr(0, size))) << size;
}

TEST(HeaderChannels, MaskTextsHaveFourDigitsOrMore)
{
    EXPECT_EQ(ChannelMaskText(0x7), "0x0007");
    EXPECT_EQ(ChannelMaskText(0x10F), "0x010F");
    EXPECT_EQ(ChannelMaskText(0x2A063F), "0x2A063F");
}

TEST(HeaderChannels, OfAiffAreInALayout)
{
    const auto aiff = [](const std::string &layout) {
        return "FORM" + Big(0, 4) + "AIFFCOMM" + Big(1, 4) + "xx" + "CHAN" + Big(layout.size(), 4) + layout +
               "SSND";
    };
    EXPECT_EQ(InHeader(aiff(Layout(1U << 16, 0x107, {}))).value().loudspeakers, 0x107U);
    EXPECT_EQ(InHeader(aiff(Layout(0, 0, {1, 2, 3, 9}))).value().loudspeakers, 0x107U);
    EXPECT_EQ(InHeader(aiff(Layout(0, 0, {1, 2, 3, 18}))).value().loudspeakers, 0x20007U);
    EXPECT_FALSE(InHeader(aiff(Layout(2U << 16, 0x107, {}))));
    EXPECT_FALSE(InHeader(aiff(Layout(1U << 16, 0x107, {}).substr(0, 11))));
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

// A bitmap, or a label for each channel, where no tag names the layout.
TEST_F(LoudspeakersOfFiles, OfCafCanBeABitmapOrLabels)
{
    constexpr uint32_t kBitmap = 1U << 16;
    const auto expect = [&](const std::string &caf, uint32_t mask, const std::vector<int32_t> &order) {
        WriteText(folder / "in.caf", caf);
        EXPECT_EQ(Run({"-q", "-b", "24", folder / "in.caf", folder / "out.wav"}), "");
        EXPECT_EQ(MaskOf(ReadText(folder / "out.wav")), mask);
        std::vector<int32_t> expected;
        for (const int32_t channel : order)
            expected.push_back(channel * 1000 << 16);
        EXPECT_EQ(ReadSound(folder / "out.wav").samples, expected) << mask;
        EXPECT_EQ(MaskOf(RunHostOnPipes(caf, {"-q", "-b", "24", "-t", "wav", "-", "-"}).out), mask);
    };
    expect(Caf(4, kBitmap, 0x107), 0x107, {1, 2, 3, 4});
    expect(Caf(4, kBitmap, 0x33), 0x33, {1, 2, 3, 4});
    expect(Caf(7, kBitmap, 0x13F), 0x70F, {1, 2, 3, 4, 7, 5, 6});
    expect(Caf(4, 0, 0, {3, 1, 2, 9}), 0x107, {2, 3, 1, 4});
    expect(Caf(6, 0, 0, {1, 2, 5, 6, 3, 4}), 0x3F, {1, 2, 5, 6, 3, 4});
    // Surround loudspeakers are at the side where others are at the rear.
    expect(Caf(8, 0, 0, {1, 2, 3, 4, 5, 6, 33, 34}), 0x63F, {1, 2, 3, 4, 7, 8, 5, 6});
    expect(Caf(8, 0, 0, {1, 2, 3, 4, 5, 6, 10, 11}), 0x63F, {1, 2, 3, 4, 5, 6, 7, 8});
    // What makes no sense says nothing.
    expect(Caf(4, kBitmap, 0x7), 0x33, {1, 2, 3, 4});
    expect(Caf(4, 0, 0, {1, 2, 2, 9}), 0x33, {1, 2, 3, 4});
    expect(Caf(4, 0, 0, {1, 2, 3, 19}), 0x33, {1, 2, 3, 4});
    expect(Caf(4, 0, 0, {0, 1, 2, 3}), 0x33, {1, 2, 3, 4});
    WriteText(folder / "in.caf", Caf(4, kBitmap, 0x107));
    Run({"-c", "2", folder / "in.caf", folder / "none.wav"}, 1);
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
