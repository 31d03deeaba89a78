// allocator_test.cpp: the throwing allocator on exhaustion.
#include "frame/allocator.h"
#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <new>

namespace tonekit {
namespace {

int handlerCalls = 0;

class AllocatorTest : public testing::Test {
protected:
    void SetUp() override { handlerCalls = 0; }
    void TearDown() override
    {
        AllowAllocations();
        std::set_new_handler(nullptr);
    }
};

TEST_F(AllocatorTest, GivesWritableMemoryAndTakesItBack)
{
    const int64_t before = LiveAllocations();
    auto *bytes = static_cast<uint8_t *>(Allocate(1000));
    for (int i = 0; i < 1000; ++i)
        bytes[i] = 1;
    Release(bytes);
    Release(nullptr);
    EXPECT_EQ(LiveAllocations(), before);
}

TEST_F(AllocatorTest, GivesZeroBytesAnAddress)
{
    void *memory = Allocate(0);
    EXPECT_NE(memory, nullptr);
    Release(memory);
}

TEST_F(AllocatorTest, GivesZeroesWhereAsked)
{
    for (int round = 0; round < 3; ++round) {
        auto *dirty = static_cast<uint8_t *>(Allocate(5000));
        std::memset(dirty, 0xEE, 5000);
        Release(dirty);
        auto *bytes = static_cast<uint8_t *>(AllocateZeroed(5000));
        EXPECT_EQ(std::count(bytes, bytes + 5000, 0), 5000);
        Release(bytes);
    }
}

TEST_F(AllocatorTest, ThrowsWithoutHandler)
{
    FailAllocation(1);
    EXPECT_THROW(AllocateZeroed(10), std::bad_alloc);
    EXPECT_THROW(AllocateZeroed(SIZE_MAX), std::bad_array_new_length);
    FailAllocation(1);
    EXPECT_THROW(Allocate(10), std::bad_alloc);
    EXPECT_THROW(Allocate(SIZE_MAX), std::bad_array_new_length);
    EXPECT_THROW(Allocate(SIZE_MAX - 1), std::bad_alloc);
}

TEST_F(AllocatorTest, RetriesAsLongAsTheHandlerReturns)
{
    std::set_new_handler([] {
        if (++handlerCalls == 3)
            AllowAllocations();
    });
    FailEveryAllocation();
    void *memory = Allocate(10);
    EXPECT_NE(memory, nullptr);
    EXPECT_EQ(handlerCalls, 3);
    Release(memory);
}

TEST_F(AllocatorTest, PassesTheHandlersExceptionOn)
{
    std::set_new_handler([] { throw 7; });
    FailEveryAllocation();
    EXPECT_THROW(Allocate(10), int);
}

} // namespace
} // namespace tonekit
