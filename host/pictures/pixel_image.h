// pixel_image.h: a decoded picture.
#pragma once

#include "host/system/memory_limit.h"

#include <cstdint>
#include <vector>

namespace tonekit::host {

// Rows from the top, four bytes a pixel: blue, green, red and one that means nothing.
struct PixelImage {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;
};

struct PictureSize {
    uint32_t width = 0;
    uint32_t height = 0;
};

// The pixels that a decoded picture may have under the limit of memory: 4 bytes each, and more than as much
// again for the file, for a smaller copy and for the codec's coefficients. 4096 by 4096 with 256 MiB.
inline uint64_t MostPixels()
{
    return MemoryLimit() / 16;
}

} // namespace tonekit::host
