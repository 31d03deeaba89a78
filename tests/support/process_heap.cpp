// process_heap.cpp: takes the place of the C library's heap, and passes on to it what is not to fail.
#include "tests/support/process_heap.h"

#include <atomic>
#include <cstddef>

extern "C" {
void *__libc_malloc(size_t bytes);
void *__libc_calloc(size_t count, size_t bytes);
void *__libc_realloc(void *memory, size_t bytes);
void __libc_free(void *memory);
}

namespace tonekit::process_heap {

namespace {

std::atomic<uint64_t> untilFailure{0}; // 0: none is due
std::atomic<bool> hasFailed{false};
std::atomic<int64_t> live{0};

} // namespace

void Fail(uint64_t n)
{
    hasFailed = hasFailed && n == 0;
    untilFailure = n;
}

bool HasFailed()
{
    return hasFailed;
}

int64_t Live()
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

extern "C" void *malloc(size_t bytes)
{
    return IsDue() ? nullptr : Counted(__libc_malloc(bytes));
}

extern "C" void *calloc(size_t count, size_t bytes)
{
    return IsDue() ? nullptr : Counted(__libc_calloc(count, bytes));
}

extern "C" void *realloc(void *memory, size_t bytes)
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
