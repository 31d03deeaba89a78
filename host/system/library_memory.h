// library_memory.h: a failed allocation inside a library that doesn't check its own ends the call into it.
#pragma once

namespace tonekit::host {

// While one exists, an allocation of this thread by malloc, calloc or realloc that fails throws
// std::bad_alloc instead of returning null, out of whichever library asked for it. For calls into C
// libraries that would go on with the null pointer and crash, or leave a part of their output away without a
// word. What the library was at work on is in an unknown state then, and must not be used again, nor
// released. Where the program can't take the place of the system's heap, as on Windows, nothing is changed.
class CheckedLibraryMemory {
public:
    CheckedLibraryMemory();
    CheckedLibraryMemory(const CheckedLibraryMemory &) = delete;
    CheckedLibraryMemory &operator=(const CheckedLibraryMemory &) = delete;
    ~CheckedLibraryMemory();
};

} // namespace tonekit::host
