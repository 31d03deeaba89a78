// local_heap_posix.cpp: the tag block's memory from the C runtime.
#include "tags/local_heap.h"

#include <cstdlib>

namespace tonekit {

void *LocalAllocate(size_t bytes)
{
    return calloc(1, bytes);
}

void LocalRelease(void *memory)
{
    free(memory);
}

} // namespace tonekit
