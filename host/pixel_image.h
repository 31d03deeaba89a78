// pixel_image.h: a decoded picture.
#pragma once

#include <cstdint>
#include <vector>

namespace tonekit::host {

// Rows from the top, four bytes a pixel: blue, green, red and one that means nothing.
struct PixelImage {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;
};

// More than any sleeve was ever scanned with; beyond it lie broken headers. 1 GiB of pixels.
constexpr uint64_t kMostPixels = uint64_t{1} << 28;

} // namespace tonekit::host
