// guarded_pages.h: memory with an unreadable page right before and right after it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit {

// A read or write on either side ends the program. Begin() is after the first unreadable page; End() is the
// first byte of the second.
class GuardedPages {
public:
    // At least that many bytes, all of them zero; throws std::bad_alloc.
    explicit GuardedPages(size_t bytes);
    ~GuardedPages();
    GuardedPages(const GuardedPages &) = delete;
    GuardedPages &operator=(const GuardedPages &) = delete;

    uint8_t *Begin() { return begin_; }
    uint8_t *End() { return begin_ + size_; }
    size_t size() const { return size_; }

private:
    uint8_t *begin_;
    size_t size_;
};

} // namespace tonekit
