// text_memory_test.cpp: null and empty texts, the one release routine, failing memory, and threads.
#include <clocale>
#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <thread>
#include <vector>

#include "encode/character_set.h"
#include "tests/encode/text_support.h"
#include "tests/support/failing_malloc.h"

namespace {

using tonekit::Take;

int handlerCalls = 0;

void AllowOnTheSecondCall()
{
    if (++handlerCalls == 2)
        tonekit::AllowAllocations();
}

// Lets each allocation of an action fail in turn: it must throw and leak nothing.
template <class Action>
int FailEachAllocation(Action action)
{
    for (int n = 1;; n++) {
        const int64_t live = tonekit::LiveAllocations();
        tonekit::FailAllocation(n);
        bool thrown = false;
        try {
            UNC_freeStr(action());
        } catch (const std::bad_alloc &) {
            thrown = true;
        }
        const bool failed = tonekit::AllocationHasFailed();
        tonekit::AllowAllocations();
        EXPECT_EQ(tonekit::LiveAllocations(), live) << "allocation " << n;
        EXPECT_EQ(thrown, failed) << "allocation " << n;
        if (!failed)
            return n - 1;
    }
}

} // namespace

TEST(TextMemory, NullGivesNull)
{
    EXPECT_EQ(UNC_AnsiToUnicode(nullptr), nullptr);
    EXPECT_EQ(UNC_UnicodeToAnsi(nullptr), nullptr);
    EXPECT_EQ(UNC_UnicodeToUtf8(nullptr), nullptr);
    EXPECT_EQ(UNC_Utf8ToUnicode(nullptr), nullptr);
    EXPECT_EQ(UNC_AnsiToUtf8(nullptr), nullptr);
    EXPECT_EQ(UNC_Utf8ToAnsi(nullptr), nullptr);
}

TEST(TextMemory, EmptyGivesANewEmptyText)
{
    for (const char *locale : {"C", "C.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        EXPECT_EQ(Take(UNC_AnsiToUnicode("")), u"");
        EXPECT_EQ(Take(UNC_UnicodeToAnsi(u"")), "");
        EXPECT_EQ(Take(UNC_UnicodeToUtf8(u"")), "");
        EXPECT_EQ(Take(UNC_Utf8ToUnicode("")), u"");
        EXPECT_EQ(Take(UNC_AnsiToUtf8("")), "");
        EXPECT_EQ(Take(UNC_Utf8ToAnsi("")), "");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(TextMemory, FourNamesAreOneRoutine)
{
    EXPECT_EQ(&UNC_freeWStr, &UNC_freeStr);
    EXPECT_EQ(&UUFreeMem, &UNC_freeStr);
    EXPECT_EQ(&BASE64FreeMem, &UNC_freeStr);
}

TEST(TextMemory, EveryNameReleasesAnyResultAndIgnoresNull)
{
    const int64_t live = tonekit::LiveAllocations();
    for (auto *release : {UNC_freeStr, UNC_freeWStr, UUFreeMem, BASE64FreeMem}) {
        release(nullptr);
        release(UNC_UnicodeToUtf8(u"abc"));
        release(UNC_Utf8ToUnicode("abc"));
    }
    EXPECT_EQ(tonekit::LiveAllocations(), live);
}

TEST(TextMemory, EveryFailingAllocationThrowsAndLeaksNothing)
{
    EXPECT_EQ(FailEachAllocation([] { return UNC_AnsiToUnicode("abc\xe9"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToAnsi(u"abc"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToAnsi(u"abce\u0301"); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToUtf8(u"abc\u4e2d"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToUnicode("abc\xc3\xa9"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToUnicode("abc\xff"); }), 3);
    EXPECT_EQ(FailEachAllocation([] { return UNC_AnsiToUtf8("abc"); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToAnsi("abc"); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_RemoveUnicodeAPIPath(u"\\\\?\\C:\\x"); }), 1);
}

TEST(TextMemory, EveryFailingAllocationThrowsThroughTheSystemsConverter)
{
    EXPECT_GE(FailEachAllocation([] { return tonekit::DecodeText("EUC-JP", "abc\xc6\xfc\xff"); }), 2);
    EXPECT_GE(FailEachAllocation([] { return tonekit::EncodeText("GB18030", u"\u0081\u0082\u0083\u0084"); }),
              3);
    EXPECT_GE(FailEachAllocation([] { return tonekit::EncodeText("ISO-8859-1", u"e\u0301\u4e2d"); }), 3);
}

TEST(TextMemory, NewHandlerIsAskedAsLongAsMemoryFails)
{
    handlerCalls = 0;
    const std::new_handler before = std::set_new_handler(AllowOnTheSecondCall);
    tonekit::FailEveryAllocation();
    char *text = UNC_UnicodeToUtf8(u"abc");
    std::set_new_handler(before);
    EXPECT_EQ(handlerCalls, 2);
    EXPECT_EQ(Take(text), "abc");
}

TEST(TextMemory, ManyThreadsConvertAtOnce)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; thread++)
        threads.emplace_back([] {
            for (int round = 0; round < 500; round++) {
                EXPECT_EQ(Take(UNC_AnsiToUtf8("caf\xe9")), "caf\xc3\xa9");
                EXPECT_EQ(Take(UNC_Utf8ToAnsi("cafe\xcc\x81")), "caf\xe9");
            }
        });
    for (std::thread &thread : threads)
        thread.join();
}
