// allocator.h: the throwing allocator of the library.
#pragma once

#include <cstddef>

namespace tonekit {

// Memory for any use, aligned as malloc aligns. On exhaustion it calls the installed new-handler and tries
// again, as long as there is a handler; without one it throws std::bad_alloc, or std::bad_array_new_length
// for a request of the largest size. It never returns null, and 0 bytes get an address of their own.
void *Allocate(size_t bytes);

// The same with all bytes 0, which costs nothing for memory that comes fresh from the system.
void *AllocateZeroed(size_t bytes);

// Lengthens or shortens memory of either, which may move; it stays as it was if this throws.
void *Reallocate(void *memory, size_t bytes);

// Releases memory from any of them; null is ignored.
void Release(void *memory) noexcept;

} // namespace tonekit
