// local_heap.h: the tag block's own memory: zero-filled, and null when there is none left.
#pragma once

#include <cstddef>

namespace tonekit {

// Zero-filled bytes for LocalRelease; null if memory ran out. The caller tests it, every time.
void *LocalAllocate(size_t bytes);

// Releases memory of LocalAllocate; null is ignored.
void LocalRelease(void *memory);

} // namespace tonekit
