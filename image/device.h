// device.h: the seam between the resampler and the platform's bitmaps, memory and last-error value.
#pragma once

#include <tonekit/image.h>

namespace tonekit {

static_assert(sizeof(TonekitBitmapHeader) == 40);

// False on failure.
bool DescribeBitmap(TonekitDeviceContext dc, TonekitBitmap bitmap, TonekitBitmapDescription &description);

// Null on failure.
TonekitBitmap CreateTargetBitmap(TonekitDeviceContext dc, int32_t width, int32_t height);

// Copies or stores all lines that the header names, from line 0 on. False if fewer made it.
bool FetchPixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 void *pixels);
bool StorePixels(TonekitDeviceContext dc, TonekitBitmap bitmap, const TonekitBitmapHeader &header,
                 const void *pixels);

void DiscardBitmap(TonekitDeviceContext dc, TonekitBitmap bitmap);

// Plain memory for pixels and tables; null when there is none. Releasing null does nothing.
void *AllocateBlock(size_t bytes) noexcept;
void ReleaseBlock(void *block) noexcept;

// For std::unique_ptr.
struct BlockReleaser {
    void operator()(void *block) const noexcept { ReleaseBlock(block); }
};

// The calling thread's last-error value.
uint32_t ReadLastError() noexcept;
void WriteLastError(uint32_t value) noexcept;

} // namespace tonekit
