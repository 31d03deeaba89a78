// device_windows.cpp: GDI bitmaps; memory from the global heap; the last-error value is the thread's own.
#include "image/device.h"

namespace tonekit {

namespace {

const BITMAPINFO *Info(const TonekitBitmapHeader &header)
{
    static_assert(sizeof(BITMAPINFOHEADER) == sizeof(TonekitBitmapHeader));
    return reinterpret_cast<const BITMAPINFO *>(&header);
}

} // namespace

bool DescribeBitmap(TonekitDeviceContext, TonekitBitmap bitmap, TonekitBitmapDescription &description)
{
    BITMAP object = {};
    if (GetObjectA(bitmap, sizeof(object), &object) == 0)
        return false;
    description = {static_cast<int32_t>(object.bmWidth), static_cast<int32_t>(object.bmHeight),
                   object.bmPlanes, object.bmBitsPixel};
    return true;
}

TonekitBitmap CreateTargetBitmap(TonekitDeviceContext dc, int32_t width, int32_t height)
{
    return CreateCompatibleBitmap(dc, width, height);
}

bool FetchPixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 void *pixels)
{
    TonekitBitmapHeader filled = header; // GetDIBits may write to it
    auto *info = const_cast<BITMAPINFO *>(Info(filled));
    return GetDIBits(dc, bitmap, 0, static_cast<UINT>(header.height), pixels, info, DIB_RGB_COLORS) >=
           header.height;
}

bool StorePixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 const void *pixels)
{
    const auto lines = static_cast<UINT>(header.height);
    return SetDIBits(dc, bitmap, 0, lines, pixels, Info(header), DIB_RGB_COLORS) >= header.height;
}

void DiscardBitmap(TonekitDeviceContext, TonekitBitmap bitmap)
{
    DeleteObject(bitmap);
}

void *AllocateBlock(size_t bytes) noexcept
{
    return GlobalAlloc(GMEM_FIXED, bytes);
}

void ReleaseBlock(void *block) noexcept
{
    if (block)
        GlobalFree(block);
}

uint32_t ReadLastError() noexcept
{
    return GetLastError();
}

void WriteLastError(uint32_t value) noexcept
{
    SetLastError(value);
}

} // namespace tonekit
