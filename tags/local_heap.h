// local_heap.h: the tag block's own memory: zero-filled, and null when there is none left.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace tonekit {

// Zero-filled bytes for LocalRelease; null if memory ran out. The caller tests it, every time.
static inline void *LocalAllocate(std::size_t bytes)
{
    return calloc(1, bytes);
}

// Gives memory of LocalAllocate back; null is ignored.
static inline void LocalRelease(void *memory)
{
    free(memory);
}

} // namespace tonekit
