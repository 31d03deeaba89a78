// library_memory_test.cpp: what failed allocations do in calls into libraries, and only there.
#include "host/library_memory.h"
#include "host/memory_limit.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace tonekit::host {
namespace {

// Through pointers, since compilers take the C library's word that these never throw.
void *(*volatile allocate)(size_t) = std::malloc;
void *(*volatile allocateZeros)(size_t, size_t) = std::calloc;
void *(*volatile reallocate)(void *, size_t) = std::realloc;
void *(*volatile newMemory)(size_t) = ::operator new;

constexpr size_t kTooMuch = PTRDIFF_MAX / 2;

TEST(CheckedLibraryMemory, ThrowsWhereNullWouldBeReturned)
{
    void *const block = allocate(10);
    {
        const CheckedLibraryMemory checked;
        EXPECT_THROW(allocate(kTooMuch), std::bad_alloc);
    }
    {
        const CheckedLibraryMemory checked;
        EXPECT_THROW(allocateZeros(2, kTooMuch), std::bad_alloc);
    }
    {
        const CheckedLibraryMemory checked;
        EXPECT_THROW(reallocate(block, kTooMuch), std::bad_alloc);
    }
    std::free(block);
}

TEST(CheckedLibraryMemory, ChangesNothingElse)
{
    EXPECT_EQ(allocate(kTooMuch), nullptr);
    {
        const CheckedLibraryMemory checked;
        void *block = allocate(10);
        EXPECT_NE(block, nullptr);
        block = reallocate(block, 100'000);
        EXPECT_NE(block, nullptr);
        EXPECT_EQ(reallocate(block, 0), nullptr);
        std::thread([] { EXPECT_EQ(allocate(kTooMuch), nullptr); }).join();
    }
    errno = 0;
    EXPECT_EQ(allocateZeros(2, kTooMuch), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(reallocate(nullptr, kTooMuch), nullptr);
}

TEST(AllocationReserve, IsGivenBackOnce)
{
    AllocationReserve outer;
    {
        AllocationReserve reserve;
        ::operator delete(newMemory(1000));
        EXPECT_TRUE(reserve.GiveBack()) << "given back where there was memory";
        EXPECT_FALSE(reserve.GiveBack());
    }
    EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc);
    EXPECT_FALSE(outer.GiveBack()) << "not given back where there was none";
    EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc);
}

TEST(AllocationReserve, IsOfOneThread)
{
    AllocationReserve reserve;
    std::thread([] { EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc); }).join();
    EXPECT_TRUE(reserve.GiveBack());
}

} // namespace
} // namespace tonekit::host
