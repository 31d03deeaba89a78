// bitmap.cpp: resamples a bitmap of the platform's: reads its pixels, runs the engine and fills a new bitmap.
#include "image/device.h"
#include "image/filters.h"
#include "image/resampler.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace tonekit {

namespace {

constexpr uint32_t kLargestSide = 4096;
constexpr double kLargestRadius = 16.0;

// The pixels of one bitmap: as the device gives them, or as the engine's 32 bits, in the same memory.
class Pixels {
public:
    // Reads the bitmap's format; false if it isn't one plane of 24 or 32 bits.
    bool Describe(TonekitDeviceContext dc, TonekitBitmap bitmap)
    {
        TonekitBitmapDescription description = {};
        if (!DescribeBitmap(dc, bitmap, description) || description.planes != 1 ||
            (description.bitsPerPixel != 24 && description.bitsPerPixel != 32))
            return false;
        header_.size = sizeof(header_);
        header_.width = description.width;
        header_.height = description.height;
        header_.planes = 1;
        header_.bitCount = description.bitsPerPixel;
        return true;
    }

    // Takes the memory; false if there isn't any or the buffer's size is more than the header can hold.
    bool Allocate()
    {
        if (header_.width < 0 || header_.height < 0)
            return false;
        const auto width = static_cast<uint64_t>(header_.width);
        const auto height = static_cast<uint64_t>(header_.height);
        const uint64_t image = RowBytes() * height;
        if (image > std::numeric_limits<uint32_t>::max())
            return false;
        header_.imageSize = static_cast<uint32_t>(image);
        const uint64_t bytes = sizeof(uint32_t) * width * height; // padded rows of 24 bits need no more
        pixels_.reset(static_cast<uint32_t *>(AllocateBlock(std::max<uint64_t>(bytes, 1))));
        return pixels_ != nullptr;
    }

    // Spreads 24-bit pixels to 32 bits, the fourth byte 0. From the end, as a pixel's new place lies after
    // its old one.
    void Widen()
    {
        if (header_.bitCount == 32)
            return;
        auto *bytes = reinterpret_cast<uint8_t *>(pixels_.get());
        const auto width = static_cast<size_t>(header_.width);
        for (auto y = static_cast<size_t>(header_.height); y-- > 0;) {
            for (size_t x = width; x-- > 0;) {
                const uint8_t *from = bytes + y * RowBytes() + 3 * x;
                const uint8_t pixel[4] = {from[0], from[1], from[2], 0};
                std::copy_n(pixel, 4, bytes + 4 * (y * width + x));
            }
        }
    }

    // Packs 32-bit pixels to 24 bits and pads each row with zeros. From the start, as they move towards it.
    void Narrow()
    {
        if (header_.bitCount == 32)
            return;
        auto *bytes = reinterpret_cast<uint8_t *>(pixels_.get());
        const auto width = static_cast<size_t>(header_.width);
        for (size_t y = 0; y < static_cast<size_t>(header_.height); ++y) {
            uint8_t *row = bytes + y * RowBytes();
            for (size_t x = 0; x < width; ++x) {
                const uint8_t *from = bytes + 4 * (y * width + x);
                const uint8_t pixel[3] = {from[0], from[1], from[2]};
                std::copy_n(pixel, 3, row + 3 * x);
            }
            std::fill(row + 3 * width, row + RowBytes(), uint8_t{0});
        }
    }

    const TonekitBitmapHeader &header() const { return header_; }
    uint32_t *get() { return pixels_.get(); }

private:
    // Bytes of a row in the device's form.
    size_t RowBytes() const
    {
        return (static_cast<size_t>(header_.width) * (header_.bitCount / 8u) + 3) / 4 * 4;
    }

    TonekitBitmapHeader header_ = {};
    std::unique_ptr<uint32_t, BlockReleaser> pixels_;
};

// The new bitmap, discarded unless it is passed on.
class TargetBitmap {
public:
    explicit TargetBitmap(TonekitDeviceContext dc) : dc_(dc) {}
    TargetBitmap(const TargetBitmap &) = delete;
    TargetBitmap &operator=(const TargetBitmap &) = delete;
    ~TargetBitmap()
    {
        if (!bitmap_)
            return;
        try {
            DiscardBitmap(dc_, bitmap_);
        } catch (...) {
            // The bitmap is the device's affair from here on; the failure that led here is the one to report.
        }
    }

    bool Create(uint32_t width, uint32_t height)
    {
        bitmap_ = CreateTargetBitmap(dc_, Side(width), Side(height));
        return bitmap_ != TonekitBitmap{};
    }
    TonekitBitmap get() const { return bitmap_; }
    TonekitBitmap Release() { return std::exchange(bitmap_, TonekitBitmap{}); }

private:
    static int32_t Side(uint32_t wanted)
    {
        return static_cast<int32_t>(std::clamp<uint32_t>(wanted, 1, kLargestSide));
    }

    TonekitDeviceContext dc_;
    TonekitBitmap bitmap_ = {};
};

// The steps of a call. `step` is the code of the failure that the current step can meet, an exception
// included.
TonekitBitmap Resample(TonekitDeviceContext dc, TonekitBitmap source, uint32_t width, uint32_t height,
                       const Filter &filter, uint32_t &step)
{
    step = TONEKIT_BITMAP_NO_SOURCE;
    if (!source)
        return {};
    step = TONEKIT_BITMAP_UNREADABLE_SOURCE;
    Pixels from;
    if (!from.Describe(dc, source))
        return {};
    step = TONEKIT_BITMAP_TARGET_NOT_CREATED;
    TargetBitmap target(dc);
    if (!target.Create(width, height))
        return {};
    step = TONEKIT_BITMAP_UNREADABLE_TARGET;
    Pixels to;
    if (!to.Describe(dc, target.get()))
        return {};
    step = TONEKIT_BITMAP_OUT_OF_MEMORY;
    if (!from.Allocate())
        return {};
    step = TONEKIT_BITMAP_SOURCE_NOT_FETCHED;
    if (!FetchPixels(dc, source, from.header(), from.get()))
        return {};
    step = TONEKIT_BITMAP_OUT_OF_MEMORY;
    if (!to.Allocate())
        return {};
    step = TONEKIT_BITMAP_ENGINE_FAILED;
    from.Widen();
    if (!ResampleBitmapPixels(from.get(), from.header().width, from.header().height, to.get(),
                              to.header().width, to.header().height, filter.kernel, filter.radius))
        return {};
    step = TONEKIT_BITMAP_RESULT_NOT_STORED;
    to.Narrow();
    if (!StorePixels(dc, target.get(), to.header(), to.get()))
        return {};
    return target.Release();
}

// Runs the steps. The last-error value is written when all else is done: the failure's code, or what it was
// before.
TonekitBitmap ResampleBitmap(TonekitDeviceContext dc, TonekitBitmap source, uint32_t width, uint32_t height,
                             const Filter &filter) noexcept
{
    const uint32_t before = ReadLastError();
    uint32_t step = 0;
    TonekitBitmap result = {};
    try {
        result = Resample(dc, source, width, height, filter, step);
    } catch (...) {
        // A kernel or a device operation has thrown; `step` names it.
    }
    WriteLastError(result ? before : step);
    return result;
}

} // namespace

} // namespace tonekit

extern "C" TonekitBitmap CreateResampledBitmap(TonekitDeviceContext dc, TonekitBitmap source, uint32_t width,
                                               uint32_t height, uint32_t filter)
{
    return tonekit::ResampleBitmap(dc, source, width, height,
                                   tonekit::FilterCatalogue[filter % tonekit::kFilterCount]);
}

extern "C" TonekitBitmap CreateUserFilterResampledBitmap(TonekitDeviceContext dc, TonekitBitmap source,
                                                         uint32_t width, uint32_t height,
                                                         TonekitKernel kernel, double radius)
{
    if (!kernel || radius < 0.0 || radius > tonekit::kLargestRadius) {
        tonekit::WriteLastError(TONEKIT_BITMAP_BAD_FILTER);
        return {};
    }
    return tonekit::ResampleBitmap(dc, source, width, height, {kernel, radius});
}
