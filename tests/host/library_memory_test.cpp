// library_memory_test.cpp: what failed allocations do in calls into libraries, and only there; what heaps
// reserve.
#include "host/system/library_memory.h"
#include "host/system/memory_limit.h"
#include "host/system/platform.h"

#include <barrier>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <new>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace tonekit::host {
namespace {

// Through pointers, since compilers take the C library's word that these never throw.
void *(*volatile allocate)(size_t) = std::malloc;
void *(*volatile allocateZeros)(size_t, size_t) = std::calloc;
void *(*volatile reallocate)(void *, size_t) = std::realloc;
void *(*volatile newMemory)(size_t) = ::operator new;

constexpr size_t kTooMuch = PTRDIFF_MAX / 2;

// Bytes that the process has now.
rlim_t AddressSpace()
{
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

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
    AllocationReserve reserve;
    ::operator delete(newMemory(1000));
    EXPECT_TRUE(reserve.GiveBack()) << "released where there was memory";
    EXPECT_FALSE(reserve.GiveBack());
}

// Ends the process with 0 if the inner reserve was released where memory had ended, and the outer one
// wasn't.
[[noreturn]] void EndMemory()
{
    AllocationReserve outer;
    AllocationReserve reserve;
    rlimit limit{};
    limit.rlim_cur = limit.rlim_max = AddressSpace();
    setrlimit(RLIMIT_AS, &limit);
    try {
        for (;;)
            newMemory(50'000);
    } catch (const std::bad_alloc &) {
        std::_Exit(!reserve.GiveBack() && outer.GiveBack() ? 0 : 1);
    }
}

TEST(AllocationReserve, IsGivenBackWhereMemoryHasEnded)
{
    EXPECT_EXIT(EndMemory(), testing::ExitedWithCode(0), "");
}

// Ends the process with 0 if three threads that take a little memory reserve less than a heap of 64 MiB.
[[noreturn]] void TakeMemoryOnThreads()
{
    rlimit limit{};
    limit.rlim_cur = limit.rlim_max = AddressSpace() + (rlim_t{300} << 20);
    setrlimit(RLIMIT_AS, &limit);
    SpareAddressSpace();
    std::barrier step(4);
    for (int i = 0; i < 3; ++i)
        std::thread([&step] {
            step.arrive_and_wait();
            newMemory(1000);
            step.arrive_and_wait();
            pause();
        }).detach();
    const rlim_t before = AddressSpace();
    step.arrive_and_wait();
    step.arrive_and_wait();
    std::_Exit(AddressSpace() - before < rlim_t{64} << 20 ? 0 : 1);
}

TEST(AddressSpaceOfHeaps, IsSparedWhereItIsLimited)
{
    EXPECT_EXIT(TakeMemoryOnThreads(), testing::ExitedWithCode(0), "");
}

// What follows a picture that is too large, such as the end of its list, needs it more.
TEST(AllocationReserve, IsKeptFromRequestsThatItCannotMeet)
{
    AllocationReserve reserve;
    EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc);
    EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc);
    EXPECT_TRUE(reserve.GiveBack());
}

TEST(AllocationReserve, IsOfOneThread)
{
    AllocationReserve reserve;
    std::thread([] { EXPECT_THROW(newMemory(kTooMuch), std::bad_alloc); }).join();
    EXPECT_TRUE(reserve.GiveBack());
}

} // namespace
} // namespace tonekit::host
