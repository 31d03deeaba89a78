// version_test.cpp: the version that programs see in the headers, as numbers and as text.
#include <gtest/gtest.h>
#include <string>
#include <tonekit/frame.h>

namespace {

TEST(Version, TextAndNumbersAgree)
{
    const std::string numbers = std::to_string(TONEKIT_VERSION_MAJOR) + "." +
                                std::to_string(TONEKIT_VERSION_MINOR) + "." +
                                std::to_string(TONEKIT_VERSION_PATCH);
    EXPECT_EQ(TONEKIT_VERSION_STRING, numbers);
    EXPECT_EQ(TONEKIT_PROJECT_VERSION, numbers);
}

TEST(Version, IsOfTheFirstInterface)
{
    EXPECT_EQ(TONEKIT_VERSION_MAJOR, 1);
}

} // namespace
