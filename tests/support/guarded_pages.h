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
    explicit GuardedPages(std::size_t bytes);
    ~GuardedPages();
    GuardedPages(const GuardedPages &) = delete;
    GuardedPages &operator=(const GuardedPages &) = delete;

    std::uint8_t *Begin() { return begin_; }
    std::uint8_t *End() { return begin_ + size_; }
    std::size_t size() const { return size_; }

private:
    std::uint8_t *begin_;
    std::size_t size_;
};

} // namespace tonekit
