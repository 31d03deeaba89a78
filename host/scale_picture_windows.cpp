// scale_picture_windows.cpp: scales pictures by way of GDI bitmaps.
#include "host/failure.h"
#include "host/scale_picture.h"

#include <cstring>
#include <memory>
#include <tonekit/image.h>

namespace tonekit::host {

namespace {

constexpr uint32_t kLanczos3 = 7;

struct DeleteBitmap {
    void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using BitmapPointer = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteBitmap>;

struct ReleaseScreen {
    void operator()(HDC screen) const { ReleaseDC(nullptr, screen); }
};
using ScreenPointer = std::unique_ptr<std::remove_pointer_t<HDC>, ReleaseScreen>;

[[noreturn]] void Fail()
{
    throw Failure("not enough memory to scale a picture");
}

BITMAPINFO Header(uint32_t width, uint32_t height)
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = -static_cast<LONG>(height); // rows from the top
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

} // namespace

PixelImage ScalePicture(const PixelImage &image, uint32_t width, uint32_t height)
{
    const ScreenPointer screen(GetDC(nullptr));
    const BITMAPINFO sourceHeader = Header(image.width, image.height);
    void *pixels = nullptr;
    const BitmapPointer source(
        CreateDIBSection(screen.get(), &sourceHeader, DIB_RGB_COLORS, &pixels, nullptr, 0));
    if (!screen || !source)
        Fail();
    std::memcpy(pixels, image.pixels.data(), image.pixels.size());
    const BitmapPointer scaled(CreateResampledBitmap(screen.get(), source.get(), width, height, kLanczos3));
    if (!scaled)
        Fail();
    PixelImage result{width, height, {}};
    result.pixels.resize(size_t{width} * height * 4);
    BITMAPINFO header = Header(width, height);
    const int lines =
        GetDIBits(screen.get(), scaled.get(), 0, height, result.pixels.data(), &header, DIB_RGB_COLORS);
    if (lines != static_cast<int>(height))
        Fail();
    return result;
}

} // namespace tonekit::host
