// text_memory_test.cpp: null and empty texts, the one release routine, failing memory, and threads.
#include "tests/encode/text_support.h"
#include "tests/support/failing_malloc.h"

#include <clocale>
#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <thread>
#include <vector>

namespace {

using tonekit::FailEachAllocation;
using tonekit::Take;

int handlerCalls = 0;

void AllowOnTheSecondCall()
{
    if (++handlerCalls == 2)
        tonekit::AllowAllocations();
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
        EXPECT_EQ(Take(UNC_AnsiToUnicode("")), UTF16(""));
        EXPECT_EQ(Take(UNC_UnicodeToAnsi(UTF16(""))), "");
        EXPECT_EQ(Take(UNC_UnicodeToUtf8(UTF16(""))), "");
        EXPECT_EQ(Take(UNC_Utf8ToUnicode("")), UTF16(""));
        EXPECT_EQ(Take(UNC_AnsiToUtf8("")), "");
        EXPECT_EQ(Take(UNC_Utf8ToAnsi("")), "");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(TextMemory, FourNamesAreOneRoutine)
{
    // Addresses read at run time: a compiler may take it that two names are two functions, and compare
    // nothing.
    void (*volatile released[])(void *) = {UNC_freeStr, UNC_freeWStr, UUFreeMem, BASE64FreeMem};
    for (int i = 1; i < 4; ++i) {
        void (*const other)(void *) = released[i];
        EXPECT_EQ(other, released[0]) << i;
    }
}

TEST(TextMemory, EveryNameReleasesAnyResultAndIgnoresNull)
{
    const int64_t live = tonekit::LiveAllocations();
    for (auto *release : {UNC_freeStr, UNC_freeWStr, UUFreeMem, BASE64FreeMem}) {
        release(nullptr);
        release(UNC_UnicodeToUtf8(UTF16("abc")));
        release(UNC_Utf8ToUnicode("abc"));
    }
    EXPECT_EQ(tonekit::LiveAllocations(), live);
}

TEST(TextMemory, EveryFailingAllocationThrowsAndLeaksNothing)
{
    EXPECT_EQ(FailEachAllocation([] { return UNC_AnsiToUnicode("abc\xe9"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToAnsi(UTF16("abc")); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_UnicodeToUtf8(UTF16("abc\u4e2d")); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToUnicode("abc\xc3\xa9"); }), 1);
    EXPECT_EQ(FailEachAllocation([] { return UNC_AnsiToUtf8("abc"); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_Utf8ToAnsi("abc"); }), 2);
    EXPECT_EQ(FailEachAllocation([] { return UNC_RemoveUnicodeAPIPath(UTF16("\\\\?\\C:\\x")); }), 1);
}

TEST(TextMemory, NewHandlerIsAskedAsLongAsMemoryFails)
{
    handlerCalls = 0;
    const std::new_handler before = std::set_new_handler(AllowOnTheSecondCall);
    tonekit::FailEveryAllocation();
    char *text = UNC_UnicodeToUtf8(UTF16("abc"));
    std::set_new_handler(before);
    EXPECT_EQ(handlerCalls, 2);
    EXPECT_EQ(Take(text), "abc");
}

TEST(TextMemory, ManyThreadsConvertAtOnce)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                EXPECT_EQ(Take(UNC_AnsiToUtf8("caf\xe9")), "caf\xc3\xa9");
                EXPECT_EQ(Take(UNC_Utf8ToAnsi("cafe\xcc\x81")), "caf\xe9");
            }
        });
    for (std::thread &thread : threads)
        thread.join();
}
