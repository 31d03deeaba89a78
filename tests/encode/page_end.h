// page_end.h: bytes that end where readable memory ends, so that a read past them stops the test program.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace tonekit {

class PageEndBytes {
public:
    explicit PageEndBytes(std::size_t count)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t readable = (count + page - 1) / page * page;
        size_ = readable + page;
        void *memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        memory_ = static_cast<std::uint8_t *>(memory);
        mprotect(memory_ + readable, page, PROT_NONE);
        data_ = memory_ + readable - count;
    }
    ~PageEndBytes() { munmap(memory_, size_); }
    PageEndBytes(const PageEndBytes &) = delete;
    PageEndBytes &operator=(const PageEndBytes &) = delete;

    std::uint8_t *data() { return data_; }

private:
    std::uint8_t *memory_;
    std::uint8_t *data_;
    std::size_t size_;
};

} // namespace tonekit
