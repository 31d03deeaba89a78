// resampler.h: the engine of the bitmap resampler, on plain arrays of 32-bit pixels.
#pragma once

#include <tonekit/image.h>

namespace tonekit {

extern "C" {

// Scales source_width times source_height pixels, row by row, to target_width times target_height pixels with
// a separable kernel. Each of a pixel's four bytes is filtered by itself. Returns 1, or 0 if a size is below
// 1, if there isn't the memory for the intermediate array and the contribution lists, or if the radius isn't
// a number. Equal sizes are a copy. An exception of the kernel's passes through, with everything released.
int32_t ResampleBitmapPixels(const uint32_t *source, int32_t source_width, int32_t source_height,
                             uint32_t *target, int32_t target_width, int32_t target_height,
                             TonekitKernel kernel, double radius);
}

} // namespace tonekit
