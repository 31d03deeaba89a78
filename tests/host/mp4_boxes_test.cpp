// mp4_boxes_test.cpp: MP4 files that TagLib would damage, or that would exhaust its stack.
#include "host/system/failure.h"
#include "host/tags/mp4_boxes.h"
#include "host/tags/tag_editor.h"
#include "host/tags/tag_file.h"
#include "tests/host/number_bytes.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

std::string Box(const std::string &name, const std::string &content)
{
    return Big(content.size() + 8) + name + content;
}

std::string Table(const std::string &name, size_t count, const std::string &places)
{
    return Box(name, Big(0) + Big(count) + places);
}

std::string Track(const std::string &table)
{
    return Box("trak", Box("mdia", Box("minf", Box("stbl", table))));
}

std::string Fragment(const std::string &content)
{
    return Box("moof", Box("traf", Box("tfhd", content)));
}

// Lists of boxes in each other, so many.
std::string Nested(size_t depth)
{
    std::string boxes;
    for (size_t left = depth; left > 0; --left)
        boxes += Big(16 * left) + "stsd"s + Big(0) + Big(1);
    return boxes;
}

const std::string kStart = Box("ftyp", "M4A \0\0\0\0"s);
const std::string kSamples = Box("mdat", "samples and samples");
const std::string kOfOne = Track(Table("stco", 1, "abcd"));

class Mp4BoxesTest : public testing::Test {
protected:
    Mp4Boxes Look(const std::string &boxes)
    {
        WriteText(name_, boxes);
        TagStream stream(PathFromUtf8(name_), TagStream::Access::Read);
        const Mp4Boxes found = LookAtMp4Boxes(stream);
        EXPECT_EQ(stream.tell(), 0);
        EXPECT_FALSE(stream.error());
        return found;
    }

    void ExpectTooMany(const std::string &boxes) { EXPECT_EQ(Look(boxes), Mp4Boxes::TooManyPlaces); }
    void ExpectTooLong(const std::string &boxes) { EXPECT_EQ(Look(boxes), Mp4Boxes::TooLong); }
    void ExpectSound(const std::string &boxes) { EXPECT_EQ(Look(boxes), Mp4Boxes::Sound); }

    // What a change of the title says, and nothing if it was made.
    std::string Refusal(const std::string &boxes)
    {
        WriteText(name_, boxes);
        TagEdit edit;
        edit.texts = {{"TITLE", "A title"}};
        std::vector<std::string> warnings;
        try {
            EditTags(PathFromUtf8(name_), TagKind::Mp4, edit, 1, "file", warnings);
        } catch (const Failure &failure) {
            EXPECT_EQ(ReadText(name_), boxes);
            return failure.what();
        }
        return "";
    }

    TemporaryFolder folder_;
    const std::string name_ = folder_ / "a.m4a";
};

TEST_F(Mp4BoxesTest, AreSoundWhereTablesHoldAllThatTheyCount)
{
    ExpectSound("");
    ExpectSound(kStart + Box("moov", kOfOne) + kSamples);
    ExpectSound(kStart + Box("moov", Track(Table("stco", 0, ""))) + kSamples);
    ExpectSound(kStart + Box("moov", Track(Table("stco", 1, "abcdrest"))) + kSamples);
    ExpectSound(kStart + Box("moov", Track(Table("co64", 2, "abcdefghabcdefgh"))) + kSamples);
    // A box of this name that TagLib doesn't look into.
    ExpectSound(Box("moov", Box("free", Table("stco", 2, "abcd"))));
}

TEST_F(Mp4BoxesTest, CountNoMorePlacesThanTheyList)
{
    ExpectTooMany(kStart + Box("moov", Track(Table("stco", 2, "abcd"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Table("stco", 0x40000001, "abcd"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Table("stco", 0xFFFFFFFF, "abcd"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Table("stco", 1, "abc"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Table("co64", 2, "abcdefghabcdefg"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Table("co64", 0x20000001, "abcdefgh"))) + kSamples);
    ExpectTooMany(kStart + Box("moov", Track(Box("stco", "1234567"))) + kSamples); // no whole count
}

std::string WithTags(const std::string &boxes)
{
    return Box("moov", kOfOne + Box("udta", Box("meta", Big(0) + boxes)));
}

TEST_F(Mp4BoxesTest, EndWithinTheBoxesAroundThem)
{
    ExpectSound(kStart + WithTags(Box("ilst", "") + Box("free", "12")) + kSamples);
    ExpectTooLong(kStart + WithTags(Big(9) + "ilst"s) + kSamples);
    ExpectTooLong(kStart + WithTags(Box("ilst", "") + Big(0x7FFFFFFF) + "free"s) + kSamples);
    ExpectTooLong(kStart + WithTags(Box("ilst", "") + Big(1) + "free"s + Big(0) + Big(17)) + kSamples);
    ExpectSound(kStart + WithTags(Box("ilst", "") + Big(1) + "free"s + Big(0) + Big(16)) + kSamples);
    ExpectTooLong(kStart + WithTags(Box("ilst", Big(9) + "name"s)) + kSamples);
    // The last one of a file that was cut.
    ExpectTooLong(kStart + kSamples + Big(0x7FFFFFFF) + "moov"s + Box("udta", ""));
    ExpectTooLong(kStart + WithTags("") + Big(100) + "mdat"s);
    // A size of 0 means all up to the end of the file.
    ExpectSound(kStart + WithTags("") + Big(0) + "mdat"s + "samples");
    ExpectTooLong(kStart + WithTags(Big(0) + "ilst"s) + kSamples);
}

// A header with tags and room, and samples there, of which the second place is so many bytes from its start.
std::string WithRoom(const std::string &table, uint64_t second, int size)
{
    const auto boxes = [&](uint64_t place) {
        return Box("moov", Track(Table(table, 2, Big(place + 10000, size) + Big(place, size))) +
                               Box("udta", Box("meta", Big(0) + Box("ilst", "") + Box("free", kSamples))));
    };
    return boxes(kStart.size() + second);
}

// TagLib would write over the room after the list of tags.
TEST_F(Mp4BoxesTest, HoldNoSamplesAmongTheTags)
{
    for (const auto &[table, size] : {std::pair("stco", 4), std::pair("co64", 8)}) {
        const uint64_t all = WithRoom(table, 0, size).size();
        ExpectSound(kStart + WithRoom(table, all, size) + kSamples);
        ExpectSound(kStart + WithRoom(table, UINT64_MAX, size) + kSamples); // right before it
        for (const uint64_t place : {uint64_t{0}, all - 27, all - 1})
            EXPECT_EQ(Look(kStart + WithRoom(table, place, size) + kSamples), Mp4Boxes::AmongTags) << place;
    }
    EXPECT_EQ(Refusal(kStart + WithRoom("stco", 100, 4) + kSamples),
              "file: some of its sound is among its tags, which can't be changed");
    EXPECT_EQ(Refusal(kStart + WithRoom("stco", 10000, 4) + kSamples), "");
    // Many places are looked at in parts.
    std::string places(400'000, '\x7F');
    places.replace(399'996, 4, Big(kStart.size() + 399'000));
    EXPECT_EQ(Look(kStart + Box("moov", Track(Table("stco", 100'000, places))) + kSamples),
              Mp4Boxes::AmongTags);
}

// Some files have zeros where a list of boxes ends.
TEST_F(Mp4BoxesTest, AreFollowedByZerosInSomeFiles)
{
    ExpectSound(kStart + Box("moov", kOfOne + Box("udta", Box("meta", Big(0)) + Big(0))) + kSamples);
    ExpectSound(kStart + WithTags(Box("ilst", "") + std::string(20, '\0')) + kSamples);
    EXPECT_EQ(Refusal(kStart + Box("moov", kOfOne + Box("udta", Box("meta", Big(0)) + Big(0))) + kSamples),
              "");
}

TEST_F(Mp4BoxesTest, ThatAreTooLongAreNotWrittenOver)
{
    const std::string refusal =
        "file: a box of its header is longer than the one around it: its tags can't be changed";
    EXPECT_EQ(Refusal(kStart + WithTags(Big(8 + kSamples.size()) + "ilst"s) + kSamples), refusal);
    EXPECT_EQ(Refusal(kStart + WithTags(Box("ilst", "") + Big(8 + kSamples.size()) + "free"s) + kSamples),
              refusal);
    EXPECT_EQ(Refusal(kStart + kSamples + WithTags(Big(150'000'000) + "ilst"s)), refusal);
    // It is only told where that keeps a change from being made.
    WriteText(name_, kStart + WithTags(Big(9) + "ilst"s) + kSamples);
    EXPECT_TRUE(TagFile(PathFromUtf8(name_), TagKind::Mp4, TagStream::Access::Read).IsValid());
}

TEST_F(Mp4BoxesTest, AreLookedAtInAllTracksWhereverTheHeaderIs)
{
    const std::string second = kOfOne + Track(Table("stco", 2, "abcd"));
    ExpectTooMany(kStart + Box("moov", second) + kSamples);
    ExpectTooMany(kStart + kSamples + Box("free", "") + Box("moov", second + kOfOne));
    ExpectTooMany(kStart + Box("moov", kOfOne + Box("udta", Table("co64", 1, ""))) + kSamples);
    ExpectTooMany(kStart + Box("moov", kOfOne + Box("meta", Big(0) + Table("stco", 1, ""))));
    ExpectTooMany(Box("moov", Box("meta", Box("hdlr", "") + Table("stco", 1, "")))); // without its version
    ExpectTooMany(Box("moov", Box("stsd", Big(0) + Big(1) + Table("stco", 1, ""))));
    // Up to the end of the file, and with a size of eight bytes.
    ExpectTooMany(kStart + Big(0) + "moov"s + second);
    ExpectTooMany(kStart + Big(1) + "moov"s + Big(0) + Big(second.size() + 16) + second + kSamples);
    ExpectTooMany(Big(1) + "mdat"s + Big(0) + Big(20) + "abcd" + Box("moov", second));
}

// TagLib takes the file's end for the box's, and would write the rest after it.
TEST_F(Mp4BoxesTest, ListNoPlacesAfterTheFile)
{
    const std::string tracks = Track(Table("stco", 2, "abcd"));
    ExpectTooMany(Big(tracks.size() + 1000) + "moov"s + tracks);
    ExpectTooMany(Big(1000) + "moov"s + Big(1000) + "stco"s + Big(0) + Big(2) + "abcd");
    ExpectTooLong(Big(1000) + "moov"s + Big(992) + "stco"s + Big(0) + Big(1) + "abcd");
}

// TagLib takes the size of eight bytes for the count.
TEST_F(Mp4BoxesTest, HaveNoLargeHeadersWhereTablesAre)
{
    const std::string table = Big(1) + "stco"s + Big(0) + Big(24) + Big(0) + Big(0);
    ExpectTooMany(Box("moov", Track(table)));
    ExpectTooMany(Box("moov", Track(Big(1) + "stco"s + Big(1) + Big(1) + Big(0) + Big(0))));
}

TEST_F(Mp4BoxesTest, HoldThePlacesOfFragments)
{
    ExpectSound(Box("moov", kOfOne) + Fragment("\0\0\0\0track"s));
    ExpectSound(Box("moov", kOfOne) + Fragment("\0\0\0\1trac12345678"s));
    ExpectSound(Box("moov", kOfOne) + Fragment("\0\0\0\x3Etrac1234567"s));
    ExpectTooMany(Box("moov", kOfOne) + Fragment("\0\0\0\1trac1234567"s));
    ExpectTooMany(Box("moov", kOfOne) + Fragment("\0\0\0"s));
    ExpectTooMany(Box("moov", kOfOne) + Fragment("\0\0\0\0trac"s) + Fragment("\0\0\0\1trac"s));
}

TEST_F(Mp4BoxesTest, AreNotTooDeep)
{
    ExpectSound(Nested(32));
    EXPECT_EQ(Look(Nested(33)), Mp4Boxes::TooDeep);
    ExpectSound(kStart + Nested(20) + Nested(20));
    EXPECT_EQ(Look(kStart + Box("moov", Track(Nested(1'000'000)))), Mp4Boxes::TooDeep);
}

// What TagLib finds no sense in it refuses to change.
TEST_F(Mp4BoxesTest, EndWhereASizeMakesNoSense)
{
    const std::string bad = Box("moov", Track(Table("stco", 2, "abcd")));
    ExpectSound(Big(7) + "free"s + bad);
    ExpectTooLong(Big(1000) + "free"s + bad);
    ExpectSound(Big(1) + "free"s + Big(0) + Big(7) + bad);
    ExpectSound(Big(1) + "free"s + Big(0xFFFFFFFF) + Big(0xFFFFFFFF) + bad);
    ExpectSound("1234567");
}

TEST_F(Mp4BoxesTest, AreNotChangedWhereMorePlacesAreCountedThanListed)
{
    EXPECT_EQ(Refusal(kStart + Box("moov", kOfOne) + kSamples), "");
    const std::string refusal =
        "file: its header counts more places of samples than it lists: its tags can't be changed";
    EXPECT_EQ(Refusal(kStart + Box("moov", Track(Table("stco", 4, "abcd"))) + kSamples), refusal);
    EXPECT_EQ(Refusal(kStart + Box("moov", kOfOne + Track(Table("co64", 1, "abcd"))) + kSamples), refusal);
    EXPECT_EQ(Refusal(kStart + Box("moov", kOfOne) + Fragment("\0\0\0\1trac"s) + kSamples), refusal);
}

TEST_F(Mp4BoxesTest, AreReadThoughMorePlacesAreCountedThanListed)
{
    WriteText(name_, kStart + Box("moov", Track(Table("stco", 4, "abcd"))) + kSamples);
    EXPECT_TRUE(TagFile(PathFromUtf8(name_), TagKind::Mp4, TagStream::Access::Read).IsValid());
    EXPECT_FALSE(TagFile(PathFromUtf8(name_), TagKind::Mp4, TagStream::Access::Change).IsValid());
}

// A function call for each of them would exhaust the stack.
TEST_F(Mp4BoxesTest, ThatAreTooDeepAreRefused)
{
    const std::string deep = kStart + kSamples + Box("moov", kOfOne + Track(Nested(1'000'000)));
    EXPECT_EQ(Refusal(deep), "file: the tags are broken and can't be changed");
    EXPECT_FALSE(TagFile(PathFromUtf8(name_), TagKind::Mp4, TagStream::Access::Read).IsValid());
}

} // namespace
} // namespace tonekit::host::test
