// scale_picture.h: scales pictures with the library's bitmap resampler, by the bitmaps of the system.
#pragma once

#include "host/pictures/pixel_image.h"

#include <cstdint>

namespace tonekit::host {

// The picture at another size, of at most 4096 by 4096 pixels, by Lanczos with three lobes. Throws Failure
// with the reason alone.
PixelImage ScalePicture(const PixelImage &image, uint32_t width, uint32_t height);

} // namespace tonekit::host
