// allocator.cpp: the throwing allocator over the C runtime's heap.
#include "frame/allocator.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace tonekit {

namespace {

// Calls request() until it returns memory, the handler in between.
template <class Request>
void *Insist(size_t bytes, Request request)
{
    for (;;) {
        if (void *memory = request(bytes ? bytes : 1))
            return memory;
        const std::new_handler handler = std::get_new_handler();
        if (!handler && bytes == SIZE_MAX)
            throw std::bad_array_new_length();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}

} // namespace

void *Allocate(size_t bytes)
{
    return Insist(bytes, [](size_t size) { return std::malloc(size); });
}

void *AllocateZeroed(size_t bytes)
{
    return Insist(bytes, [](size_t size) { return std::calloc(size, 1); });
}

void *Reallocate(void *memory, size_t bytes)
{
    return Insist(bytes, [memory](size_t size) { return std::realloc(memory, size); });
}

void Release(void *memory) noexcept
{
    std::free(memory);
}

} // namespace tonekit
