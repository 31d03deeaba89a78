// cue_sheet_test.cpp: what cue sheets say, and what is wrong with them.
#include "host/system/failure.h"
#include "host/tags/cue_sheet.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

std::string MistakeIn(const std::string &text)
{
    try {
        ParseCueSheet(text, "a.cue");
    } catch (const Failure &failure) {
        return failure.what();
    }
    return "";
}

constexpr const char *kSheet = "REM GENRE \"Early Music\"\r\n"
                               "REM DATE 1999\r\n"
                               "REM DISCID 860B640B\r\n"
                               "PERFORMER \"The Trio\"\r\n"
                               "TITLE \"All of It\"\r\n"
                               "FILE \"C:\\rips\\All.wav\" WAVE\r\n"
                               "  TRACK 01 AUDIO\r\n"
                               "    TITLE \"One\"\r\n"
                               "    INDEX 01 00:00:00\r\n"
                               "  TRACK 02 AUDIO\r\n"
                               "    TITLE Two\r\n"
                               "    PERFORMER \"A Guest\"\r\n"
                               "    INDEX 00 00:59:70\r\n"
                               "    INDEX 01 01:00:01\r\n"
                               "    INDEX 02 01:10:00\r\n"
                               "  TRACK 3 AUDIO\r\n"
                               "    INDEX 01 100:02:74\r\n";

TEST(CueSheet, HasTracksAtTheirFirstIndex)
{
    const CueSheet sheet = ParseCueSheet(kSheet, "a.cue");
    EXPECT_EQ(sheet.title, "All of It");
    EXPECT_EQ(sheet.performer, "The Trio");
    ASSERT_EQ(sheet.remarks.size(), 2u);
    EXPECT_EQ(sheet.remarks[0].second, "Early Music");
    EXPECT_EQ(sheet.remarks[1], (std::pair<std::string, std::string>{"DATE", "1999"}));
    const std::vector<CueTrack> tracks = TracksOf(sheet, "other.flac", "a.cue");
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[0].title, "One");
    EXPECT_EQ(tracks[0].position, 0u);
    EXPECT_EQ(tracks[1].performer, "A Guest");
    EXPECT_EQ(tracks[1].title, "Two");
    EXPECT_EQ(tracks[1].position, 600133333u);
    EXPECT_EQ(tracks[2].number, 3u);
    EXPECT_EQ(tracks[2].position, 60029866667u);
}

TEST(CueSheet, ComesInSeveralEncodings)
{
    const std::string rest = "\"\nFILE a WAVE\nTRACK 1 AUDIO\nINDEX 01 00:00:00\n";
    EXPECT_EQ(ParseCueSheet("TITLE \"Caf\xC3\xA9" + rest, "a").title, "Caf\xC3\xA9");
    EXPECT_EQ(ParseCueSheet("\xEF\xBB\xBFTITLE \"Caf\xC3\xA9" + rest, "a").title, "Caf\xC3\xA9");
    EXPECT_EQ(ParseCueSheet("TITLE \"Caf\xE9" + rest, "a").title, "Caf\xC3\xA9");
    std::string wide = "\xFF\xFE";
    for (const char c : "TITLE \"Cafe" + rest)
        wide += std::string(1, c) + std::string(1, '\0');
    EXPECT_EQ(ParseCueSheet(wide, "a").title, "Cafe");
}

TEST(CueSheet, OfSeveralFilesHasTracksForEach)
{
    const CueSheet sheet = ParseCueSheet("FILE \"Side A.wav\" WAVE\nTRACK 1 AUDIO\nINDEX 01 00:00:00\n"
                                         "FILE \"side b.wav\" WAVE\nTRACK 2 AUDIO\nINDEX 01 00:00:00\n"
                                         "TRACK 3 AUDIO\nINDEX 01 00:01:00\n",
                                         "a.cue");
    EXPECT_EQ(TracksOf(sheet, "side a.flac", "a.cue").size(), 1u);
    EXPECT_EQ(TracksOf(sheet, "Side B.flac", "a.cue").size(), 2u);
    EXPECT_THROW(TracksOf(sheet, "side c.flac", "a.cue"), Failure);
}

TEST(CueSheet, KnowsFilesByTheirNamesWithoutFolders)
{
    const CueSheet sheet = ParseCueSheet("FILE \"C:\\Rips\\one.wav\" WAVE\nTRACK 1 AUDIO\nINDEX 01 00:00:00\n"
                                         "FILE \"/rips/two.wav\" WAVE\nTRACK 2 AUDIO\nINDEX 01 00:00:00\n",
                                         "a.cue");
    EXPECT_EQ(TracksOf(sheet, "one.flac", "a.cue")[0].number, 1u);
    EXPECT_EQ(TracksOf(sheet, "two.flac", "a.cue")[0].number, 2u);
}

TEST(CueSheet, TakesRemarksOfATrackForNothing)
{
    const CueSheet sheet = ParseCueSheet("REM DATE 1999\nREM COMMENT x\nFILE a.wav WAVE\nTRACK 1 AUDIO\n"
                                         "REM DATE 2001\nINDEX 01 00:00:00\nTRACK 2 AUDIO\nREM GENRE Noise\n"
                                         "INDEX 01 00:01:00\n",
                                         "a.cue");
    ASSERT_EQ(sheet.remarks.size(), 1u);
    EXPECT_EQ(sheet.remarks[0].second, "1999");
}

TEST(CueSheet, LeavesOutTracksThatAreNoAudio)
{
    const CueSheet sheet = ParseCueSheet("FILE a.bin BINARY\nTRACK 1 MODE1/2352\nINDEX 01 00:00:00\n"
                                         "TRACK 2 AUDIO\nINDEX 01 00:01:00\n",
                                         "a.cue");
    ASSERT_EQ(sheet.files[0].tracks.size(), 1u);
    EXPECT_EQ(sheet.files[0].tracks[0].number, 2u);
}

TEST(CueSheet, MistakesAreNamedWithTheirLine)
{
    const std::string start = "FILE a.wav WAVE\nTRACK 1 AUDIO\n";
    EXPECT_EQ(MistakeIn(""), "a.cue: holds no tracks");
    EXPECT_EQ(MistakeIn("RIFF\x01\x02\n"), "a.cue: holds no tracks");
    EXPECT_EQ(MistakeIn("TRACK 1 AUDIO\n"), "a.cue, line 1: a FILE comes before its tracks");
    EXPECT_EQ(MistakeIn("FILE a WAVE\nTRACK one AUDIO\n"),
              "a.cue, line 2: a track has a number and a type, as in TRACK 01 AUDIO");
    EXPECT_EQ(MistakeIn("FILE a WAVE\nINDEX 01 00:00:00\n"),
              "a.cue, line 2: a TRACK comes before its indexes");
    EXPECT_EQ(MistakeIn(start), "a.cue: track 1 has no INDEX 01");
    EXPECT_EQ(MistakeIn(start + "INDEX 00 00:00:00\n"), "a.cue: track 1 has no INDEX 01");
    for (const char *time :
         {"", "1:2", "00:60:00", "00:00:75", "00:00:00:00", "-1:00:00", "00:0a:00", "9999999:00:00"})
        EXPECT_EQ(MistakeIn(start + "INDEX 01 " + time + "\n"),
                  "a.cue, line 3: an index has a number and a time, as in INDEX 01 03:21:74")
            << time;
    EXPECT_EQ(MistakeIn(start + "INDEX 01 00:02:00\nTRACK 2 AUDIO\nINDEX 01 00:02:00\n"),
              "a.cue: track 2 doesn't begin after the one before it");
}

} // namespace
} // namespace tonekit::host
