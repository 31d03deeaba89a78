// spelling_test.cpp: what misspelt words may have meant.
#include "host/command_line/spelling.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(Misspellings, CountLettersMissingTooManyWrongAndSwapped)
{
    EXPECT_EQ(Misspellings("", ""), 0u);
    EXPECT_EQ(Misspellings("rate", "rate"), 0u);
    EXPECT_EQ(Misspellings("rte", "rate"), 1u);
    EXPECT_EQ(Misspellings("ratee", "rate"), 1u);
    EXPECT_EQ(Misspellings("rade", "rate"), 1u);
    EXPECT_EQ(Misspellings("raet", "rate"), 1u);
    EXPECT_EQ(Misspellings("", "rate"), 4u);
    EXPECT_EQ(Misspellings("kitten", "sitting"), 3u);
    EXPECT_EQ(Misspellings("ca", "abc"), 3u);
}

TEST(ClosestName, IsTheNearestOrNone)
{
    const std::vector<std::string> names = {"rate", "bitrate", "dither", "dither-mode", "no-tags", "info"};
    EXPECT_EQ(ClosestName("rat", names), "rate");
    EXPECT_EQ(ClosestName("raet", names), "rate");
    EXPECT_EQ(ClosestName("bit-rate", names), "bitrate");
    EXPECT_EQ(ClosestName("ditherMode", names), "dither-mode");
    EXPECT_EQ(ClosestName("dither_mod", names), "dither-mode");
    EXPECT_EQ(ClosestName("notag", names), "no-tags");
    EXPECT_EQ(ClosestName("bitr", names), "bitrate");
    EXPECT_EQ(ClosestName("sample-rate", names), "rate");
    EXPECT_EQ(ClosestName("loud", names), "");
    EXPECT_EQ(ClosestName("inxy", names), ""); // half of the letters
    EXPECT_EQ(ClosestName("trend", {"end"}), "");
    EXPECT_EQ(ClosestName("", names), "");
    EXPECT_EQ(ClosestName("x", names), "");
    EXPECT_EQ(ClosestName(std::string(100000, 'r'), names), "");
}

} // namespace
} // namespace tonekit::host
