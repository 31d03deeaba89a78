// text_memory_posix_test.cpp: failing memory where our own code or iconv does the conversion.
#include "encode/character_set.h"
#include "tests/encode/text_support.h"

#include <gtest/gtest.h>

using tonekit::FailEachAllocation;

TEST(TextMemory, EveryFailingAllocationThrowsWhereAConversionTakesSeveral)
{
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToAnsi(UTF16("abce\u0301")); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToUnicode("abc\xff"); }), 3);
}

TEST(TextMemory, EveryFailingAllocationThrowsThroughTheSystemsConverter)
{
    EXPECT_GE(FailEachAllocation([] { return tonekit::DecodeText("EUC-JP", "abc\xc6\xfc\xff"); }), 2);
    EXPECT_GE(
        FailEachAllocation([] { return tonekit::EncodeText("GB18030", UTF16("\u0081\u0082\u0083\u0084")); }),
        3);
    EXPECT_GE(FailEachAllocation([] { return tonekit::EncodeText("ISO-8859-1", UTF16("e\u0301\u4e2d")); }),
              3);
}
