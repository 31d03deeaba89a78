// failing_malloc.cpp: takes the place of the C runtime's heap for the program's objects.
#include "tests/support/failing_malloc.h"

#include "tests/support/allocation_count.h"

#include <atomic>
#include <cstddef>
#include <cstring>

extern "C" {
void *__real_malloc(size_t bytes);
void *__real_calloc(size_t count, size_t bytes);
void *__real_realloc(void *memory, size_t bytes);
void __real_free(void *memory);
void *__wrap_malloc(size_t bytes);
void *__wrap_calloc(size_t count, size_t bytes);
void *__wrap_realloc(void *memory, size_t bytes);
void __wrap_free(void *memory);
}

namespace tonekit {

namespace {

std::atomic<uint64_t> untilFailure{0}; // 0: none is due
std::atomic<bool> failEvery{false};
std::atomic<bool> hasFailed{false};
std::atomic<int64_t> live{0};
std::atomic<uint64_t> total{0};
std::vector<AllocationRequest> *recorded = nullptr;

void *Record(void *memory, size_t bytes)
{
    if (memory && recorded)
        recorded->push_back({memory, bytes});
    return memory;
}

// The same for memory that may come with anything in it.
void *Dirty(void *memory, size_t bytes)
{
    if (memory && recorded)
        std::memset(memory, 0xEE, bytes);
    return Record(memory, bytes);
}

} // namespace

bool CountRequest()
{
    total.fetch_add(1, std::memory_order_relaxed);
    bool fail = failEvery.load(std::memory_order_relaxed);
    if (untilFailure.load(std::memory_order_relaxed) > 0)
        fail |= untilFailure.fetch_sub(1, std::memory_order_relaxed) == 1;
    if (fail)
        hasFailed = true;
    return fail;
}

void *CountGiven(void *memory)
{
    if (memory)
        live.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void CountReturned(void *memory)
{
    if (memory)
        live.fetch_sub(1, std::memory_order_relaxed);
}

void FailAllocation(uint64_t n)
{
    hasFailed = false;
    untilFailure = n;
}

void FailEveryAllocation()
{
    hasFailed = false;
    failEvery = true;
}

void AllowAllocations()
{
    untilFailure = 0;
    failEvery = false;
}

bool AllocationHasFailed()
{
    return hasFailed;
}

int64_t LiveAllocations()
{
    return live;
}

uint64_t AllocationsSoFar()
{
    return total;
}

void RecordAllocations(std::vector<AllocationRequest> *requests)
{
    recorded = requests;
}

} // namespace tonekit

void *__wrap_malloc(size_t bytes)
{
    return tonekit::CountRequest() ? nullptr
                                   : tonekit::Dirty(tonekit::CountGiven(__real_malloc(bytes)), bytes);
}

void *__wrap_calloc(size_t count, size_t bytes)
{
    return tonekit::CountRequest()
               ? nullptr
               : tonekit::Record(tonekit::CountGiven(__real_calloc(count, bytes)), count * bytes);
}

void *__wrap_realloc(void *memory, size_t bytes)
{
    if (!memory)
        return __wrap_malloc(bytes);
    return tonekit::CountRequest() ? nullptr : __real_realloc(memory, bytes);
}

void __wrap_free(void *memory)
{
    tonekit::CountReturned(memory);
    __real_free(memory);
}
