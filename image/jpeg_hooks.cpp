// jpeg_hooks.cpp: keeps the application's read and write hook.
#include "image/jpeg_hooks.h"

#include <atomic>
#include <tonekit/image.h>

namespace tonekit {

namespace {

// No lock, and no order between the two: they are to be set before codec work starts.
std::atomic<TonekitReadHook> read_hook;
std::atomic<TonekitWriteHook> write_hook;

} // namespace

size_t ReadThroughHook(void *buffer, size_t count, void *stream)
{
    const TonekitReadHook hook = read_hook.load(std::memory_order_relaxed);
    return hook ? hook(buffer, 1, count, stream) : 0;
}

size_t WriteThroughHook(const void *buffer, size_t count, void *stream)
{
    const TonekitWriteHook hook = write_hook.load(std::memory_order_relaxed);
    return hook ? hook(buffer, 1, count, stream) : 0;
}

} // namespace tonekit

extern "C" void JPEG_Init(TonekitReadHook read, TonekitWriteHook write)
{
    tonekit::read_hook.store(read, std::memory_order_relaxed);
    tonekit::write_hook.store(write, std::memory_order_relaxed);
}
