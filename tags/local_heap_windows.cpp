// local_heap_windows.cpp: the tag block's memory from the local heap.
#include "tags/local_heap.h"

#include <windows.h>

namespace tonekit {

void *LocalAllocate(size_t bytes)
{
    return LocalAlloc(LMEM_FIXED | LMEM_ZEROINIT, bytes);
}

void LocalRelease(void *memory)
{
    LocalFree(memory);
}

} // namespace tonekit
