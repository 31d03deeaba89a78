// memory_limit.cpp: the limit, and the operators new and delete that hold a thread's budget.
#include "host/system/memory_limit.h"

#include "host/system/platform.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace tonekit::host {

namespace {

std::atomic<uint64_t> memoryLimit{uint64_t{256} << 20};
thread_local AllocationBudget *budgetOfThread = nullptr;
thread_local AllocationReserve *reserveOfThread = nullptr;

constexpr size_t kReserve = size_t{1} << 20;

} // namespace

uint64_t MemoryLimit()
{
    return memoryLimit.load(std::memory_order_relaxed);
}

void SetMemoryLimit(uint64_t bytes)
{
    memoryLimit.store(bytes, std::memory_order_relaxed);
}

AllocationBudget::AllocationBudget(uint64_t bytes)
    : left_(static_cast<int64_t>(std::min<uint64_t>(bytes, INT64_MAX / 2)))
{
    budgetOfThread = this;
}

AllocationBudget::~AllocationBudget()
{
    budgetOfThread = nullptr;
}

void AllocationBudget::Take(size_t bytes)
{
    if (left_ < 0 || bytes > static_cast<uint64_t>(left_)) {
        exceeded_ = true;
        throw std::bad_alloc();
    }
    left_ -= static_cast<int64_t>(bytes);
}

AllocationReserve::AllocationReserve() : outer_(reserveOfThread), memory_(std::malloc(kReserve))
{
    if (!memory_)
        throw std::bad_alloc();
    reserveOfThread = this;
}

AllocationReserve::~AllocationReserve()
{
    reserveOfThread = outer_;
    std::free(memory_);
}

bool AllocationReserve::GiveBack()
{
    const bool any = memory_ != nullptr;
    std::free(memory_);
    memory_ = nullptr;
    return any;
}

} // namespace tonekit::host

// These replace the standard library's in the whole process. Only a thread with a budget pays for more than
// one look at a variable.
void *operator new(size_t size)
{
    using namespace tonekit::host;
    AllocationBudget *const budget = budgetOfThread;
    if (budget)
        budget->Take(size);
    for (;;) {
        if (void *const memory = std::malloc(size ? size : 1)) {
            // With what the allocator rounded up by, which delete counts as well.
            if (budget)
                budget->Count(SizeOfAllocation(memory) - size);
            return memory;
        }
        if (size < kReserve && reserveOfThread && reserveOfThread->GiveBack())
            continue;
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}

// As the standard library has it; a sanitizer's would take memory that the delete below doesn't know.
void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void operator delete(void *memory) noexcept
{
    using namespace tonekit::host;
    if (budgetOfThread && memory)
        budgetOfThread->GiveBack(SizeOfAllocation(memory));
    std::free(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    operator delete(memory);
}
