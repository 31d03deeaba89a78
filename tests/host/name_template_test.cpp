// name_template_test.cpp: names of files out of tags, and what file systems don't take.
#include "host/name_template.h"
#include "host/system/failure.h"
#include "host/system/paths.h"

#include <gtest/gtest.h>
#include <map>

namespace tonekit::host {
namespace {

using Tags = std::map<std::string, std::string>;

std::string Named(const std::string &text, const Tags &tags)
{
    const auto lookup = [&](const std::string &key) {
        const auto place = tags.find(key);
        return place != tags.end() ? std::optional(place->second) : std::nullopt;
    };
    return NameTemplate(text).NameOf(lookup, "stem").generic_string();
}

TEST(NameTemplate, FieldsAreTagsInAnyCase)
{
    const Tags tags = {
        {"ALBUMARTIST", "Trio"}, {"ALBUM", "First"}, {"TRACKNUMBER", "3/12"}, {"TITLE", "Song"}};
    EXPECT_EQ(Named("{albumartist}/{Album}/{track:02} {TITLE}", tags), "Trio/First/03 Song");
}

TEST(NameTemplate, NumbersAreFilledUp)
{
    EXPECT_EQ(Named("{track:02}", {{"TRACKNUMBER", "7"}}), "07");
    EXPECT_EQ(Named("{track:02}", {{"TRACKNUMBER", "007"}}), "07");
    EXPECT_EQ(Named("{track:02}", {{"TRACKNUMBER", "123"}}), "123");
    EXPECT_EQ(Named("{disc:01}-{track:03}", {{"TRACKNUMBER", "x"}}), "0-000");
}

TEST(NameTemplate, MissingTagsHaveStandIns)
{
    EXPECT_EQ(Named("{albumartist}", {{"ARTIST", "Solo"}}), "Solo");
    EXPECT_EQ(Named("{albumartist}", {}), "Unknown Albumartist");
    EXPECT_EQ(Named("{title}", {{"TITLE", ""}}), "stem");
    EXPECT_EQ(Named("{year}", {{"DATE", "1997-05-21"}}), "1997");
}

TEST(NameTemplate, ValuesNeverMakeFolders)
{
    EXPECT_EQ(Named("{artist}/{title}", {{"ARTIST", "AC/DC"}, {"TITLE", "../../etc/passwd"}}),
              "AC_DC/_._.._etc_passwd");
    EXPECT_EQ(Named("{artist}/{title}", {{"ARTIST", ".."}, {"TITLE", "."}}), "_/_");
}

TEST(NameTemplate, ThatLeaveTheFolderAreRefused)
{
    for (const char *text : {"", "/x", "../x", "a/../x", "a/..", "./x", "a//x", "a/", "C:x", "a\\x", "x}",
                             "{x", "{}", "{a{b}}", "{track:2}", "{track:0x}", "{track:00}", "{a/b}", ".."})
        EXPECT_THROW(NameTemplate{text}, UsageError) << text;
    EXPECT_NO_THROW(NameTemplate{"..{title}/x"});
}

TEST(SafeName, IsTakenByEveryFileSystem)
{
    EXPECT_EQ(SafeName("What? \"Yes\" <a|b>: *"), "What_ _Yes_ _a_b__ _");
    EXPECT_EQ(SafeName("tab\there\x7F"), "tab_here_");
    EXPECT_EQ(SafeName(" Wait...  "), "Wait");
    EXPECT_EQ(SafeName("...And Justice"), "_..And Justice");
    EXPECT_EQ(SafeName(""), "_");
    EXPECT_EQ(SafeName("con"), "con_");
    EXPECT_EQ(SafeName("LPT1.x"), "LPT1_.x");
    EXPECT_EQ(SafeName("nul.tar.x"), "nul_.tar.x");
    EXPECT_EQ(SafeName("Com\u00b2"), "Com\u00b2_");
    EXPECT_EQ(SafeName("COM\u00bd"), "COM\u00bd");
    EXPECT_EQ(SafeName("COM0"), "COM0_");
    EXPECT_EQ(SafeName("COM12"), "COM12");
    EXPECT_EQ(SafeName("conout$"), "conout$_");
    EXPECT_EQ(SafeName("LPT9 .x"), "LPT9 _.x");
    EXPECT_EQ(SafeName("Contact"), "Contact");
    EXPECT_EQ(SafeName("Gr\u00fc\u00dfe \u65e5\u672c"), "Gr\u00fc\u00dfe \u65e5\u672c");
}

// Neither orders to a terminal nor marks that show another extension than there is.
TEST(SafeName, HasNothingThatATerminalObeys)
{
    EXPECT_EQ(SafeName("a\u009B31m\u0085b"), "a_31m_b");
    EXPECT_EQ(SafeName("\u202Egpj.flac"), "_gpj.flac");
    EXPECT_EQ(SafeName("a\u2028b\u2066c\u200Ed"), "a_b_c_d");
    EXPECT_EQ(SafeName("a\xFF\xC3"), "a__");
    EXPECT_EQ(SafeName(std::string(300, '\xA8')), std::string(200, '_')); // none of it begins a character
    EXPECT_EQ(SafeName("\u200D\u00A0x"), "\u200D\u00A0x");
}

TEST(SafeName, IsCutBetweenCharacters)
{
    std::string text = "x";
    for (int i = 0; i < 150; ++i)
        text += "\u00fc";
    EXPECT_EQ(SafeName(text), text.substr(0, 199));
    EXPECT_EQ(SafeName(std::string(300, 'a')), std::string(200, 'a'));
    EXPECT_EQ(SafeName("con." + std::string(300, 'a')), "con_." + std::string(195, 'a'));
    EXPECT_EQ(SafeName(std::string(150, 'a') + std::string(100, '.') + "b"), std::string(150, 'a'));
}

} // namespace
} // namespace tonekit::host
