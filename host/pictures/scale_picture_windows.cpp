// scale_picture_windows.cpp: scales pictures by way of GDI bitmaps.
#include "host/pictures/scale_picture.h"

#include "host/system/failure.h"

#include <cstring>
#include <memory>
#include <tonekit/image.h>

namespace tonekit::host {

namespace {

struct DeleteBitmap {
    void operator()(HBITMAP bitmap) const { DeleteObject(bitmap); }
};
using BitmapPointer = std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteBitmap>;

struct DeleteContext {
    void operator()(HDC context) const { DeleteDC(context); }
};
using ContextPointer = std::unique_ptr<std::remove_pointer_t<HDC>, DeleteContext>;

[[noreturn]] void Fail()
{
    throw Failure("not enough memory to scale a picture");
}

// The library asks for the rows of a bitmap from the bottom. A picture is passed upside down, its top
// row as the lowest, so that the library reads its rows in the same order as on other systems.
BITMAPINFO Header(uint32_t width, uint32_t height)
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = static_cast<LONG>(height);
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

// A picture in the place where GDI keeps it.
BitmapPointer MakeBitmap(uint32_t width, uint32_t height, void *&pixels)
{
    const BITMAPINFO header = Header(width, height);
    BitmapPointer bitmap(CreateDIBSection(nullptr, &header, DIB_RGB_COLORS, &pixels, nullptr, 0));
    if (!bitmap)
        Fail();
    return bitmap;
}

// A context in memory. Bitmaps that are compatible with it have 32 bits a pixel, as the one that is selected,
// whatever the screen has.
class MemoryContext {
public:
    MemoryContext() : context_(CreateCompatibleDC(nullptr))
    {
        if (!context_)
            Fail();
        void *pixels = nullptr;
        form_ = MakeBitmap(1, 1, pixels);
        before_ = SelectObject(context_.get(), form_.get());
    }
    MemoryContext(const MemoryContext &) = delete;
    MemoryContext &operator=(const MemoryContext &) = delete;
    ~MemoryContext() { SelectObject(context_.get(), before_); }

    HDC get() const { return context_.get(); }

private:
    BitmapPointer form_;
    ContextPointer context_;
    HGDIOBJ before_ = nullptr;
};

} // namespace

PixelImage ScalePicture(const PixelImage &image, uint32_t width, uint32_t height)
{
    const MemoryContext context;
    void *pixels = nullptr;
    const BitmapPointer source = MakeBitmap(image.width, image.height, pixels);
    std::memcpy(pixels, image.pixels.data(), image.pixels.size());
    const BitmapPointer scaled(
        CreateResampledBitmap(context.get(), source.get(), width, height, TONEKIT_SCALE_LANCZOS_3));
    if (!scaled)
        Fail();
    PixelImage result{width, height, {}};
    result.pixels.resize(size_t{width} * height * 4);
    BITMAPINFO header = Header(width, height);
    const int lines =
        GetDIBits(context.get(), scaled.get(), 0, height, result.pixels.data(), &header, DIB_RGB_COLORS);
    if (lines != static_cast<int>(height))
        Fail();
    return result;
}

} // namespace tonekit::host
