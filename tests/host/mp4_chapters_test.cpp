// mp4_chapters_test.cpp: the list of chapters in MP4 files of odd forms, box by box.
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/tags/mp4_chapters.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

std::string Box(const std::string &name, const std::string &content)
{
    return "\0\0\0"s + static_cast<char>(content.size() + 8) + name + content;
}

const std::string kList = Box("chpl", "\1\0\0\0\0\0\0\0\1"s + std::string(8, '\0') + "\3One");
const std::string kOther = Box("chpl", "\1\0\0\0\0\0\0\0\1"s + std::string(8, '\0') + "\3Old");

class Mp4Chapters : public testing::Test {
protected:
    // What becomes of a file of these boxes.
    std::string With(const std::string &boxes, const std::vector<Chapter> &chapters)
    {
        WriteText(folder_ / "a", boxes);
        File file;
        EXPECT_FALSE(file.OpenToChange(PathFromUtf8(folder_ / "a")));
        SetMp4Chapters(file, chapters);
        return ReadText(folder_ / "a");
    }

    void ExpectRefusal(const std::string &boxes)
    {
        EXPECT_THROW(With(boxes, {{0, "One"}}), Failure);
        EXPECT_EQ(ReadText(folder_ / "a"), boxes);
    }

    const std::vector<Chapter> one_ = {{0, "One"}};
    TemporaryFolder folder_;
};

TEST_F(Mp4Chapters, TakeThePlaceOfAllThatThereAre)
{
    const std::string other = Box("meta", "x");
    const std::string old = Box("moov", Box("udta", kOther + other + kOther));
    EXPECT_EQ(With(old, one_), Box("moov", Box("udta", kList + other)));
    EXPECT_EQ(With(old, {}), Box("moov", Box("udta", other)));
}

TEST_F(Mp4Chapters, ComeBeforeWhatEndsAListOfBoxes)
{
    const std::string zeros(4, '\0');
    EXPECT_EQ(With(Box("moov", zeros), one_), Box("moov", Box("udta", kList) + zeros));
    EXPECT_EQ(With(Box("moov", "abc"), one_), Box("moov", Box("udta", kList) + "abc"));
    EXPECT_EQ(With(Box("moov", Box("udta", kOther + zeros)), one_), Box("moov", Box("udta", kList + zeros)));
}

TEST_F(Mp4Chapters, LeaveSamplesWhereTheyAre)
{
    const std::string samples = Box("mdat", "samples");
    EXPECT_EQ(With(Box("moov", "") + samples, one_),
              Box("free", "") + samples + Box("moov", Box("udta", kList)));
    EXPECT_EQ(With(samples + Box("moov", ""), one_), samples + Box("moov", Box("udta", kList)));
}

// Also where only what comes after a track's link to its chapters makes no sense: the next change would see
// it.
TEST_F(Mp4Chapters, AreRefusedWhereAnyBoxOfTheHeaderMakesNoSense)
{
    const std::string nonsense = "12345678";
    ExpectRefusal(Box("moov", Box("trak", Box("tref", "") + nonsense)));
    ExpectRefusal(Box("moov", Box("trak", "") + nonsense));
    ExpectRefusal(Box("moov", Box("udta", kOther + nonsense)));
    ExpectRefusal(Box("moov", Box("udta", "") + nonsense));
    const std::string link = Box("trak", Box("tref", "linklink") + std::string(4, '\0'));
    const std::string freed = Box("trak", Box("free", "linklink") + std::string(4, '\0'));
    EXPECT_EQ(With(Box("moov", link + link), one_), Box("moov", freed + freed + Box("udta", kList)));
}

// The next change would find the other.
TEST_F(Mp4Chapters, AreRefusedWhereTheHeaderIsThereTwice)
{
    ExpectRefusal(Box("moov", "") + Box("moov", ""));
    ExpectRefusal(Box("moov", Box("udta", kOther)) + Box("mdat", "samples") + Box("moov", ""));
}

// No player finds the tracks of fragments that come before the movie.
TEST_F(Mp4Chapters, AreRefusedWhereFragmentsFollowTheHeader)
{
    const std::string fragment = Box("moof", "track") + Box("mdat", "samples");
    ExpectRefusal(Box("moov", "") + fragment);
    ExpectRefusal(Box("ftyp", "iso5") + Box("moov", Box("udta", kOther)) + fragment + fragment);
    EXPECT_EQ(With(Box("moov", Box("udta", kList)) + fragment, one_),
              Box("moov", Box("udta", kList)) + fragment);
    EXPECT_EQ(With(Box("moov", Box("udta", "")) + fragment, {}), Box("moov", Box("udta", "")) + fragment);
    EXPECT_EQ(With(fragment + Box("moov", ""), one_), fragment + Box("moov", Box("udta", kList)));
}

// A movie after these couldn't be found.
TEST_F(Mp4Chapters, AreRefusedWhereNothingCanBePutAtTheEnd)
{
    const std::string movie = Box("moov", Box("udta", ""));
    ExpectRefusal(movie + "\0\0\0\0mdatsamples"s); // up to the end of the file
    ExpectRefusal(movie + "abc");
    ExpectRefusal(movie + "TAG" + std::string(125, ' '));
    ExpectRefusal(movie + "\0\0\1\0mdatsamples"s);
    ExpectRefusal(Box("mdat", "samples"));
    ExpectRefusal("");
}

} // namespace
} // namespace tonekit::host::test
