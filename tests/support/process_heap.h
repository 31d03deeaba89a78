// process_heap.h: the heap of the whole process, which fails where a test asks for it.
//
// A program that links process_heap.cpp has its malloc, calloc, realloc and free in place of the C library's,
// for the shared libraries that it loads too. Not for use by several threads at once, nor with a sanitizer,
// which has a heap of its own.
#pragma once

#include <cstdint>

namespace tonekit::process_heap {

// Lets the n-th allocation from now fail (1 is the next one), and only that one; 0 lets none fail, and what
// has failed is still known.
void Fail(uint64_t n);

// Whether a failure has occurred since one was last asked for.
bool HasFailed();

// Blocks that are not yet freed.
int64_t Live();

} // namespace tonekit::process_heap
