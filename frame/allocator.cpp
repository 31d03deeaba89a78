// allocator.cpp: the throwing allocator over the C runtime's heap.
#include "frame/allocator.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace tonekit {

void *Allocate(std::size_t bytes)
{
    for (;;) {
        if (void *memory = std::malloc(bytes ? bytes : 1))
            return memory;
        const std::new_handler handler = std::get_new_handler();
        if (!handler && bytes == SIZE_MAX)
            throw std::bad_array_new_length();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}

void Release(void *memory) noexcept
{
    std::free(memory);
}

} // namespace tonekit
