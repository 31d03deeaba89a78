// picture_facts.h: what the header of a picture file says of it.
#pragma once

#include <cstdint>
#include <vector>

namespace tonekit::host {

enum class PictureKind { Unknown, Jpeg, Png, Gif, Bmp, WebP };

struct PictureFacts {
    PictureKind kind = PictureKind::Unknown;
    uint32_t width = 0;  // pixels; 0: not known
    uint32_t height = 0; // pixels
    uint32_t depth = 0;  // bits of a pixel
    uint32_t colors = 0; // of the palette; 0 without one
};

// Reads the header alone; the rest of the picture may be broken.
PictureFacts FactsOf(const std::vector<uint8_t> &file);

// "image/jpeg", ...; empty for an unknown kind
const char *MimeTypeOf(PictureKind kind);

} // namespace tonekit::host
