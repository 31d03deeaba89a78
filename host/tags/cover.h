// cover.h: makes pictures that music files can take.
#pragma once

#include "host/tags/tag_block.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tonekit::host {

// A front cover from a picture file: BMP, JPEG and PNG of any size, GIF and WebP as they are. A BMP becomes a
// JPEG. One larger than `size` by `size` pixels is scaled to fit, if `size` isn't 0: a PNG stays a PNG, of 8
// bits a colour, and as transparent as it was. Throws Failure, with `name` in front.
Picture MakeCover(std::vector<uint8_t> file, const std::string &name, uint32_t size, int quality);

// Scales a picture of a file's tags in the same way, if it is a BMP, JPEG or PNG; any other, and one that
// can't be decoded, stays as it is, with a line in `warnings` if it should have been looked at.
void FitPicture(Picture &picture, const std::string &name, uint32_t size, int quality,
                std::vector<std::string> &warnings);

} // namespace tonekit::host
