// failing_malloc.h: makes a chosen allocation of the library fail, and counts what it holds.
//
// Test programs are linked so that malloc, calloc, realloc and free of the objects in the program, the
// library's own among them, come here; those of shared libraries do not. Not for use by several threads at
// once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

// Lets the n-th allocation from now fail (1 is the next one), and only that one.
void FailAllocation(uint64_t n);

// Lets every allocation from now on fail.
void FailEveryAllocation();

// Back to normal.
void AllowAllocations();

// Whether a failure has been dealt out since it was asked for.
bool AllocationHasFailed();

// Allocations not yet freed, and all allocations so far.
int64_t LiveAllocations();
uint64_t AllocationsSoFar();

// A request of the C runtime's heap that was granted.
struct AllocationRequest {
    void *memory;
    size_t bytes;
};

// Appends each granted request from now on to *requests, and fills what malloc returns with bytes of 0xEE;
// null ends that.
void RecordAllocations(std::vector<AllocationRequest> *requests);

} // namespace tonekit
