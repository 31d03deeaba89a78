// device_posix.cpp: bitmaps that the host lends through a TonekitDevice; the last-error value is errno.
#include "image/device.h"

#include <cerrno>
#include <cstdlib>

namespace tonekit {

bool DescribeBitmap(TonekitDeviceContext dc, TonekitBitmap bitmap, TonekitBitmapDescription &description)
{
    return dc && dc->getObject && dc->getObject(dc, bitmap, &description) != 0;
}

TonekitBitmap CreateTargetBitmap(TonekitDeviceContext dc, int32_t width, int32_t height)
{
    return dc->createCompatibleBitmap ? dc->createCompatibleBitmap(dc, width, height) : nullptr;
}

bool FetchPixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 void *pixels)
{
    const auto lines = static_cast<uint32_t>(header.height);
    return dc->getDIBits && dc->getDIBits(dc, bitmap, 0, lines, pixels, &header, 0) >= header.height;
}

bool StorePixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 const void *pixels)
{
    const auto lines = static_cast<uint32_t>(header.height);
    return dc->setDIBits && dc->setDIBits(dc, bitmap, 0, lines, pixels, &header, 0) >= header.height;
}

void DiscardBitmap(TonekitDeviceContext dc, TonekitBitmap bitmap)
{
    if (dc->deleteObject)
        dc->deleteObject(dc, bitmap);
}

void *AllocateBlock(size_t bytes) noexcept
{
    return std::malloc(bytes);
}

void ReleaseBlock(void *block) noexcept
{
    std::free(block);
}

uint32_t ReadLastError() noexcept
{
    return static_cast<uint32_t>(errno);
}

void WriteLastError(uint32_t value) noexcept
{
    errno = static_cast<int>(value);
}

} // namespace tonekit
