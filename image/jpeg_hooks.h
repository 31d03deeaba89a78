// jpeg_hooks.h: compressed data of the codec's stdio source and destination goes through the application's
// two hooks.
#pragma once

#include <cstddef>

namespace tonekit {

// Call the hook that is set at this moment with an element size of 1. Without one the result is 0.
size_t ReadThroughHook(void *buffer, size_t count, void *stream);
size_t WriteThroughHook(const void *buffer, size_t count, void *stream);

} // namespace tonekit
