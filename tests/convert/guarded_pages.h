// guarded_pages.h: memory with an unreadable page right before and right behind it.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace tonekit {

// A read or write on either side ends the program. Begin() stands behind the first unreadable page; End() is
// the first byte of the second.
class GuardedPages {
public:
    explicit GuardedPages(size_t bytes)
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (bytes + page - 1) / page * page;
        mapped_ = size_ + 2 * page;
        void *memory = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::runtime_error("mmap");
        memory_ = static_cast<uint8_t *>(memory);
        begin_ = memory_ + page;
        if (mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0)
            throw std::runtime_error("mprotect");
    }
    ~GuardedPages() { munmap(memory_, mapped_); }
    GuardedPages(const GuardedPages &) = delete;
    GuardedPages &operator=(const GuardedPages &) = delete;

    uint8_t *Begin() { return begin_; }
    uint8_t *End() { return begin_ + size_; }
    size_t size() const { return size_; }

private:
    uint8_t *memory_;
    uint8_t *begin_;
    size_t mapped_;
    size_t size_;
};

} // namespace tonekit
