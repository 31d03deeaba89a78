// bmp_picture.h: reads BMP pictures.
#pragma once

#include "host/pictures/pixel_image.h"

#include <cstdint>
#include <vector>

namespace tonekit::host {

bool IsBmp(const std::vector<uint8_t> &file);

// Decodes an uncompressed BMP of 1, 4, 8, 16, 24 or 32 bits a pixel. Throws Failure with the reason alone.
PixelImage DecodeBmp(const std::vector<uint8_t> &file);

} // namespace tonekit::host
