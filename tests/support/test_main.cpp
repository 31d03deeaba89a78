// test_main.cpp: runs the tests of a program, with the tier that TONEKIT_TEST_TIER names selected.
#include "tests/support/selected_tier.h"

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    return tonekit::SelectTestTier() ? RUN_ALL_TESTS() : 2;
}
