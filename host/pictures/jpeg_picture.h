// jpeg_picture.h: reads and writes JPEG pictures with the library's codec.
#pragma once

#include "host/pictures/pixel_image.h"

#include <cstdint>
#include <vector>

namespace tonekit::host {

bool IsJpeg(const std::vector<uint8_t> &file);

// All three throw Failure with the reason alone; so does each of them if the library was built without its
// codec.

PictureSize SizeOfJpeg(const std::vector<uint8_t> &file);
// A picture much larger than `size` by `size` pixels is decoded at a half, a quarter or an eighth of its
// size, still at least twice as large; 0 decodes it whole.
PixelImage DecodeJpeg(const std::vector<uint8_t> &file, uint32_t size);
std::vector<uint8_t> EncodeJpeg(const PixelImage &image, int quality);

} // namespace tonekit::host
