// library_memory_posix.cpp: malloc, calloc and realloc of the whole process, over the system's.
#include "host/system/library_memory.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <new>

namespace tonekit::host {

namespace {

thread_local bool allocationsThrow = false;

// A function of the next object that has one of this name: the C library's, or that of another heap which
// the user has loaded before it.
template <class Function>
class Next {
public:
    explicit constexpr Next(const char *name) : name_(name) {}

    Function *Get()
    {
        Function *function = function_.load(std::memory_order_relaxed);
        if (!function) {
            function = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name_));
            function_.store(function, std::memory_order_relaxed);
        }
        return function;
    }

private:
    const char *name_;
    std::atomic<Function *> function_{nullptr};
};

constinit Next<void *(size_t)> nextMalloc("malloc");
constinit Next<void *(size_t, size_t)> nextCalloc("calloc");
constinit Next<void *(void *, size_t)> nextRealloc("realloc");

void *Checked(void *memory)
{
    if (memory || !allocationsThrow)
        return memory;
    allocationsThrow = false; // the exception takes memory too
    throw std::bad_alloc();
}

} // namespace

CheckedLibraryMemory::CheckedLibraryMemory()
{
    allocationsThrow = true;
}

CheckedLibraryMemory::~CheckedLibraryMemory()
{
    allocationsThrow = false;
}

} // namespace tonekit::host

// Under names of their own, since the headers promise that those of C never throw.
extern "C" {

#define TONEKIT_IN_PLACE_OF(name) __asm__(name) __attribute__((visibility("default")))
void *CheckedMalloc(size_t size) TONEKIT_IN_PLACE_OF("malloc");
void *CheckedCalloc(size_t count, size_t size) TONEKIT_IN_PLACE_OF("calloc");
void *CheckedRealloc(void *memory, size_t size) TONEKIT_IN_PLACE_OF("realloc");
#undef TONEKIT_IN_PLACE_OF

void *CheckedMalloc(size_t size)
{
    return tonekit::host::Checked(tonekit::host::nextMalloc.Get()(size));
}

void *CheckedCalloc(size_t count, size_t size)
{
    return tonekit::host::Checked(tonekit::host::nextCalloc.Get()(count, size));
}

void *CheckedRealloc(void *memory, size_t size)
{
    void *const moved = tonekit::host::nextRealloc.Get()(memory, size);
    return size == 0 ? moved : tonekit::host::Checked(moved); // of size 0 it only frees
}
}
