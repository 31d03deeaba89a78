// guarded_pages_posix.cpp: guarded pages from mmap.
#include "tests/support/guarded_pages.h"

#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace tonekit {

namespace {

size_t PageBytes()
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

GuardedPages::GuardedPages(size_t bytes)
{
    const size_t page = PageBytes();
    size_ = (bytes + page - 1) / page * page;
    void *memory = mmap(nullptr, size_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    begin_ = static_cast<uint8_t *>(memory) + page;
    if (mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
}

GuardedPages::~GuardedPages()
{
    munmap(begin_ - PageBytes(), size_ + 2 * PageBytes());
}

} // namespace tonekit
