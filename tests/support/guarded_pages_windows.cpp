// guarded_pages_windows.cpp: guarded pages from VirtualAlloc.
#include "tests/support/guarded_pages.h"

#include <new>
#include <windows.h>

namespace tonekit {

namespace {

size_t PageBytes()
{
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    return system.dwPageSize;
}

} // namespace

GuardedPages::GuardedPages(size_t bytes)
{
    const size_t page = PageBytes();
    size_ = (bytes + page - 1) / page * page;
    void *memory = VirtualAlloc(nullptr, size_ + 2 * page, MEM_RESERVE, PAGE_NOACCESS);
    if (!memory)
        throw std::bad_alloc();
    begin_ = static_cast<uint8_t *>(memory) + page;
    if (size_ > 0 && !VirtualAlloc(begin_, size_, MEM_COMMIT, PAGE_READWRITE))
        throw std::bad_alloc();
}

GuardedPages::~GuardedPages()
{
    VirtualFree(begin_ - PageBytes(), 0, MEM_RELEASE);
}

} // namespace tonekit
