// opus_length_test.cpp: lengths of Opus by the positions of its pages.
#include "host/audio/opus_length.h"
#include "tests/host/number_bytes.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

struct Page {
    int flags = 0;
    int64_t position = -1;
    std::vector<std::string> parts; // of up to 255 bytes; one of 255 goes on with the next
    char serial = 'a';
};

std::string HeaderOf(const Page &page)
{
    std::string header = "OggS\0"s + static_cast<char>(page.flags) +
                         Little(static_cast<uint64_t>(page.position), 8) + page.serial + "\0\0\0"s +
                         Little(0) + Little(0) + static_cast<char>(page.parts.size());
    for (const std::string &part : page.parts)
        header += static_cast<char>(part.size());
    return header;
}

std::span<const unsigned char> Bytes(const std::string &text)
{
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

std::optional<uint64_t> FramesOf(const std::vector<Page> &pages)
{
    OpusLength length;
    for (const Page &page : pages) {
        std::string content;
        for (const std::string &part : page.parts)
            content += part;
        const std::string header = HeaderOf(page);
        if (!length.Needs(Bytes(header)))
            content.clear();
        length.TakePage(Bytes(header), Bytes(content));
    }
    return length.frames();
}

const Page kHead = {2, 0, {"OpusHead\1\2"s + Little(312, 2) + Little(48000) + "\0\0\0"s}};
const Page kTags = {0, 0, {"OpusTags"}};

// A packet of so many bytes, whose first says what kind it is and how many frames it has.
std::string Packet(int kind, int code, size_t size = 9, char count = 0)
{
    std::string packet(size, 'x');
    packet[0] = static_cast<char>(kind << 3 | code);
    if (size > 1)
        packet[1] = count;
    return packet;
}

const std::string kOf960 = Packet(31, 0);

TEST(OpusLength, LeavesOutWhatTheDecoderNeedsToBegin)
{
    for (const int64_t start : {int64_t{0}, int64_t{1}, int64_t{144000}, int64_t{1} << 40}) {
        const Page first = {0, start + 1920, {kOf960, kOf960}};
        EXPECT_EQ(FramesOf({kHead, kTags, first, {4, start + 2880, {kOf960}}}), 2880u - 312) << start;
        EXPECT_EQ(FramesOf({kHead, kTags, first, {4, start + 2000, {kOf960}}}), 2000u - 312) << start;
        EXPECT_EQ(FramesOf({kHead, kTags, first, {4, -1, {}}}), 1920u - 312) << start;
        EXPECT_EQ(FramesOf({kHead, kTags, first, {4, start + 100, {kOf960}}}), 0u) << start;
        EXPECT_EQ(FramesOf({kHead, kTags, first, {0, start + 2880, {kOf960}}}), std::nullopt) << start;
    }
    EXPECT_EQ(FramesOf({kHead, kTags, {4, 1920, {kOf960, kOf960}}}), 1920u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags, {4, 500, {kOf960, kOf960}}}), 500u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags}), std::nullopt);
}

TEST(OpusLength, KnowsTheFramesOfAPacket)
{
    const struct {
        int kind;
        int64_t frames;
    } kinds[] = {{0, 480},  {1, 960},  {2, 1920}, {3, 2880}, {4, 480},  {7, 2880}, {11, 2880},
                 {12, 480}, {13, 960}, {14, 480}, {15, 960}, {16, 120}, {17, 240}, {18, 480},
                 {19, 960}, {20, 120}, {28, 120}, {30, 480}, {31, 960}};
    const auto startIs = [](const std::string &packet, int64_t frames) {
        return FramesOf({kHead, kTags, {0, 100000 + frames, {packet}}, {4, 110000, {kOf960}}}) ==
               10000u - 312;
    };
    for (const auto &row : kinds) {
        EXPECT_TRUE(startIs(Packet(row.kind, 0), row.frames)) << row.kind;
        EXPECT_TRUE(startIs(Packet(row.kind, 1), 2 * row.frames)) << row.kind;
        EXPECT_TRUE(startIs(Packet(row.kind, 2), 2 * row.frames)) << row.kind;
        EXPECT_TRUE(startIs(Packet(row.kind, 3, 9, '\xC5'), 5 * row.frames)) << row.kind;
    }
    EXPECT_TRUE(startIs("", 0));
    EXPECT_TRUE(startIs(Packet(31, 3, 1), 0));
    EXPECT_TRUE(startIs(Packet(31, 1, 1), 1920));
}

// The end of one whose start isn't there is left out; the others count where they end.
TEST(OpusLength, KnowsPacketsThatGoOnWithTheNextPage)
{
    const Page last = {4, 110000, {kOf960}};
    const std::string large = Packet(31, 0, 255);
    const std::string rest(255, '\x03');
    EXPECT_EQ(FramesOf({kHead, kTags, {1, 100960, {rest, "\1", kOf960}}, last}), 10000u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags, {1, -1, {rest, rest}}, {1, 100960, {"", kOf960}}, last}), 10000u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags, {0, -1, {large, rest}}, {1, 101920, {"\3", kOf960}}, last}),
              10000u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags, {0, -1, {large}}, {0, 100960, {kOf960}}, last}), 10000u - 312);
    EXPECT_EQ(FramesOf({kHead, kTags, {0, 101920, {kOf960, large, rest, "\3"}}, last}), 10000u - 312);
    EXPECT_EQ(FramesOf({kHead, {0, -1, {rest, rest}}, {1, 0, {"xx"}}, {0, 100960, {kOf960}}, last}),
              10000u - 312);
}

TEST(OpusLength, IsUnknownOfOtherStreams)
{
    const Page first = {0, 100960, {kOf960}};
    const Page last = {4, 110000, {kOf960}};
    const Page other = {2, 0, {"\1vorbis and more"}, 'b'};
    EXPECT_EQ(FramesOf({kHead, kTags, {0, 900, {kOf960}}, last}), std::nullopt); // before position 0
    EXPECT_EQ(FramesOf({{2, 0, {"\1vorbis and more"}}, kTags, first, last}), std::nullopt);
    EXPECT_EQ(FramesOf({{2, 0, {"OpusHead\1\2"}}, kTags, first, last}), std::nullopt);
    EXPECT_EQ(FramesOf({kTags, first, last}), std::nullopt);
    EXPECT_EQ(FramesOf({}), std::nullopt);
    EXPECT_EQ(FramesOf({other,
                        kHead,
                        {0, 7, {"x"}, 'b'},
                        kTags,
                        {0, 77777, {"x"}, 'b'},
                        first,
                        last,
                        {4, 99999999, {"x"}, 'b'}}),
              10000u - 312);
}

} // namespace
} // namespace tonekit::host::test
