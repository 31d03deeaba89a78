// memory_limit.h: how much memory one input may make the program take.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit::host {

// Bytes that pictures and tags of one file may take together; 256 MiB unless set.
uint64_t MemoryLimit();
void SetMemoryLimit(uint64_t bytes);

// While it exists, what this thread allocates by operator new, libraries' allocations too, may not grow by
// more than so many bytes: an allocation beyond throws std::bad_alloc. Budgets don't nest.
class AllocationBudget {
public:
    explicit AllocationBudget(uint64_t bytes);
    AllocationBudget(const AllocationBudget &) = delete;
    AllocationBudget &operator=(const AllocationBudget &) = delete;
    ~AllocationBudget();

    // Whether an allocation was refused.
    bool exceeded() const { return exceeded_; }

    // For operator new and delete.
    void Take(size_t bytes);
    void Count(size_t bytes) { left_ -= static_cast<int64_t>(bytes); }
    void GiveBack(size_t bytes) { left_ += static_cast<int64_t>(bytes); }

private:
    int64_t left_;
    bool exceeded_ = false;
};

// Memory that is kept back for this thread: where operator new finds none for a request that is smaller than
// this while it exists, it returns this to the system, once, and tries again. For the work of TagLib, whose
// lists and strings an exception in the midst of a change leaves broken; what it does without pictures takes
// a small part of what is kept back. A picture that is larger fails before it is in any list.
class AllocationReserve {
public:
    // Throws std::bad_alloc.
    AllocationReserve();
    AllocationReserve(const AllocationReserve &) = delete;
    AllocationReserve &operator=(const AllocationReserve &) = delete;
    ~AllocationReserve();

    // For operator new: returns the memory to the system; false if that was done before.
    bool GiveBack();

private:
    AllocationReserve *const outer_;
    void *memory_;
};

} // namespace tonekit::host
