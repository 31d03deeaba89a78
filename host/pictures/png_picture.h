// png_picture.h: reads and writes PNG pictures with libspng.
#pragma once

#include "host/pictures/pixel_image.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tonekit::host {

// A picture whose pixels may be transparent.
struct PngPicture {
    PixelImage image;
    std::vector<uint8_t> alpha; // of each pixel, 255 is opaque; empty: all of them are
    bool gray = false;          // blue, green and red are the same everywhere
};

// A picture of up to 256 colours: for each pixel, rows from the top, a place in the palette of red, green and
// blue.
struct IndexedPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;
    std::vector<std::array<uint8_t, 3>> palette;
};

bool IsPng(const std::vector<uint8_t> &file);

// All of them throw Failure with the reason alone, std::bad_alloc and Interrupted.

PictureSize SizeOfPng(const std::vector<uint8_t> &file);
// Any PNG, at 8 bits a colour. One of a palette has the palette's colours.
PngPicture DecodePng(const std::vector<uint8_t> &file);
// Gray, or red, green and blue, with alpha where there is any.
std::vector<uint8_t> EncodePng(const PngPicture &picture);
std::vector<uint8_t> EncodePng(const IndexedPicture &picture);

} // namespace tonekit::host
