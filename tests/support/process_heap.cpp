// process_heap.cpp: takes the place of the C library's heap, and passes on to it what is not to fail.
#include "tests/support/process_heap.h"

#include <atomic>
#include <cstddef>

extern "C" {
void *__libc_malloc(std::size_t bytes);
void *__libc_calloc(std::size_t count, std::size_t bytes);
void *__libc_realloc(void *memory, std::size_t bytes);
void __libc_free(void *memory);
}

namespace tonekit::process_heap {

namespace {

std::atomic<std::uint64_t> untilFailure{0}; // 0: none is due
std::atomic<bool> hasFailed{false};
std::atomic<std::int64_t> live{0};

} // namespace

void Fail(std::uint64_t n)
{
    hasFailed = hasFailed && n == 0;
    untilFailure = n;
}

bool HasFailed()
{
    return hasFailed;
}

std::int64_t Live()
{
    return live;
}

bool IsDue()
{
    if (untilFailure == 0 || --untilFailure != 0)
        return false;
    hasFailed = true;
    return true;
}

void *Counted(void *memory)
{
    if (memory)
        ++live;
    return memory;
}

} // namespace tonekit::process_heap

using namespace tonekit::process_heap;

extern "C" void *malloc(std::size_t bytes)
{
    return IsDue() ? nullptr : Counted(__libc_malloc(bytes));
}

extern "C" void *calloc(std::size_t count, std::size_t bytes)
{
    return IsDue() ? nullptr : Counted(__libc_calloc(count, bytes));
}

extern "C" void *realloc(void *memory, std::size_t bytes)
{
    if (!memory)
        return malloc(bytes);
    return IsDue() ? nullptr : __libc_realloc(memory, bytes);
}

extern "C" void free(void *memory)
{
    if (memory)
        --live;
    __libc_free(memory);
}
