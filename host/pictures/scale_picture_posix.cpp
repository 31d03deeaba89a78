// scale_picture_posix.cpp: passes the program's pictures to the library as bitmaps of a device.
#include "host/pictures/scale_picture.h"

#include "host/system/failure.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <tonekit/image.h>

namespace tonekit::host {

namespace {

PixelImage &Image(TonekitBitmap bitmap)
{
    return *static_cast<PixelImage *>(bitmap);
}

int32_t Describe(TonekitDevice *, TonekitBitmap bitmap, TonekitBitmapDescription *description)
{
    *description = {static_cast<int32_t>(Image(bitmap).width), static_cast<int32_t>(Image(bitmap).height), 1,
                    32};
    return 1;
}

TonekitBitmap Make(TonekitDevice *, int32_t width, int32_t height)
{
    // No exception may pass through the library.
    try {
        auto image = std::make_unique<PixelImage>();
        image->width = static_cast<uint32_t>(width);
        image->height = static_cast<uint32_t>(height);
        image->pixels.resize(size_t{image->width} * image->height * 4);
        return image.release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

// The rows of both sides are in the same order and without padding, as all rows of 32 bit pixels do.
size_t LineBytes(const PixelImage &image, uint32_t lines)
{
    return size_t{image.width} * 4 * lines;
}

uint32_t LinesWithin(const PixelImage &image, uint32_t firstLine, uint32_t lines)
{
    return firstLine < image.height ? std::min(lines, image.height - firstLine) : 0;
}

int32_t Fetch(TonekitDevice *, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines, void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    const PixelImage &image = Image(bitmap);
    const uint32_t count = LinesWithin(image, firstLine, lines);
    std::memcpy(pixels, image.pixels.data() + LineBytes(image, firstLine), LineBytes(image, count));
    return static_cast<int32_t>(count);
}

int32_t Store(TonekitDevice *, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines, const void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    PixelImage &image = Image(bitmap);
    const uint32_t count = LinesWithin(image, firstLine, lines);
    std::memcpy(image.pixels.data() + LineBytes(image, firstLine), pixels, LineBytes(image, count));
    return static_cast<int32_t>(count);
}

void Discard(TonekitDevice *, TonekitBitmap bitmap)
{
    delete static_cast<PixelImage *>(bitmap);
}

} // namespace

PixelImage ScalePicture(const PixelImage &image, uint32_t width, uint32_t height)
{
    TonekitDevice device{Describe, Make, Fetch, Store, Discard};
    const std::unique_ptr<PixelImage> result(static_cast<PixelImage *>(CreateResampledBitmap(
        &device, const_cast<PixelImage *>(&image), width, height, TONEKIT_SCALE_LANCZOS_3)));
    if (!result)
        throw Failure("not enough memory to scale a picture");
    return std::move(*result);
}

} // namespace tonekit::host
