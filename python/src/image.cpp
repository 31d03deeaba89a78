// image.cpp: passes NumPy's pictures to the library as bitmaps of a device.
#include "python/src/image.h"

#include "python/src/gil.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nanobind/ndarray.h>
#include <new>
#include <string>
#include <tonekit/image.h>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};

// Rows from the top without padding, 3 or 4 bytes a pixel.
struct Bitmap {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t pixelBytes = 0;
    const uint8_t *pixels = nullptr;
    std::unique_ptr<uint8_t, Free> own;

    size_t RowBytes() const { return size_t{width} * pixelBytes; }
    // The library's rows are padded to a multiple of 4 bytes.
    size_t PaddedRowBytes() const { return (RowBytes() + 3) / 4 * 4; }
};

// The library uses the device by its operations alone; the picture's pixel size is stored with it.
struct Device {
    TonekitDevice operations;
    uint32_t pixelBytes;
};

Bitmap &Of(TonekitBitmap bitmap)
{
    return *static_cast<Bitmap *>(bitmap);
}

int32_t Describe(TonekitDevice *, TonekitBitmap bitmap, TonekitBitmapDescription *description)
{
    const Bitmap &b = Of(bitmap);
    *description = {static_cast<int32_t>(b.width), static_cast<int32_t>(b.height), 1,
                    static_cast<uint16_t>(b.pixelBytes * 8)};
    return 1;
}

TonekitBitmap Make(TonekitDevice *device, int32_t width, int32_t height)
{
    std::unique_ptr<Bitmap> bitmap(new (std::nothrow) Bitmap);
    if (!bitmap)
        return nullptr;
    bitmap->width = static_cast<uint32_t>(width);
    bitmap->height = static_cast<uint32_t>(height);
    bitmap->pixelBytes = reinterpret_cast<Device *>(device)->pixelBytes;
    bitmap->own.reset(static_cast<uint8_t *>(std::malloc(bitmap->RowBytes() * bitmap->height)));
    bitmap->pixels = bitmap->own.get();
    return bitmap->own ? bitmap.release() : nullptr;
}

uint32_t LinesWithin(const Bitmap &bitmap, uint32_t firstLine, uint32_t lines)
{
    return firstLine < bitmap.height ? std::min(lines, bitmap.height - firstLine) : 0;
}

int32_t Fetch(TonekitDevice *, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines, void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    const Bitmap &b = Of(bitmap);
    const uint32_t count = LinesWithin(b, firstLine, lines);
    for (uint32_t line = 0; line < count; ++line)
        std::memcpy(static_cast<uint8_t *>(pixels) + b.PaddedRowBytes() * line,
                    b.pixels + b.RowBytes() * (firstLine + line), b.RowBytes());
    return static_cast<int32_t>(count);
}

int32_t Store(TonekitDevice *, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines, const void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    Bitmap &b = Of(bitmap);
    const uint32_t count = LinesWithin(b, firstLine, lines);
    for (uint32_t line = 0; line < count; ++line)
        std::memcpy(b.own.get() + b.RowBytes() * (firstLine + line),
                    static_cast<const uint8_t *>(pixels) + b.PaddedRowBytes() * line, b.RowBytes());
    return static_cast<int32_t>(count);
}

void Discard(TonekitDevice *, TonekitBitmap bitmap)
{
    delete static_cast<Bitmap *>(bitmap);
}

using Result = nb::ndarray<nb::numpy, uint8_t, nb::ndim<3>>;
using Picture = nb::ndarray<const uint8_t, nb::ndim<3>, nb::c_contig, nb::device::cpu>;

Result Resize(const Picture &picture, uint32_t width, uint32_t height, uint32_t filter)
{
    Bitmap source;
    source.height = static_cast<uint32_t>(picture.shape(0));
    source.width = static_cast<uint32_t>(picture.shape(1));
    source.pixelBytes = static_cast<uint32_t>(picture.shape(2));
    source.pixels = picture.data();
    Device device{{Describe, Make, Fetch, Store, Discard}, source.pixelBytes};
    std::unique_ptr<Bitmap> result;
    int error = 0;
    {
        const GilRelease released;
        result.reset(
            static_cast<Bitmap *>(CreateResampledBitmap(&device.operations, &source, width, height, filter)));
        error = errno;
    }
    if (!result) {
        constexpr int kNoTarget = 0x20000004;
        constexpr int kNoBuffer = 0x20000006;
        constexpr int kEngineFailed = 0x20000007; // the only cause left is memory
        if (error == kNoTarget || error == kNoBuffer || error == kEngineFailed)
            throw std::bad_alloc();
        throw nb::value_error(("the picture can't be scaled: code " + std::to_string(error)).c_str());
    }
    const size_t shape[3] = {result->height, result->width, result->pixelBytes};
    uint8_t *const pixels = result->own.release();
    nb::capsule owner(pixels, [](void *memory) noexcept { std::free(memory); });
    return Result(pixels, 3, shape, owner);
}

} // namespace

void BindImage(nb::module_ &module)
{
    module.def("resize", Resize, nb::arg("picture"), nb::arg("width"), nb::arg("height"), nb::arg("filter"),
               "Scales a picture of 3 or 4 bytes a pixel.");
}

} // namespace tonekit::python
