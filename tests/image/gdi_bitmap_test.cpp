// gdi_bitmap_test.cpp: the exported calls over GDI bitmaps, and the thread's last-error value.
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/reference/resample_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>
#include <tonekit/image.h>

namespace tonekit {
namespace {

constexpr DWORD kUntouched = 12345;

// A memory device context that makes bitmaps of 24 or 32 bits: the bitmap selected into it says which.
class Device {
public:
    explicit Device(WORD bits = 32) : dc_(CreateCompatibleDC(nullptr)), form_(Section(1, 1, bits))
    {
        before_ = SelectObject(dc_, form_);
    }
    ~Device()
    {
        SelectObject(dc_, before_);
        DeleteObject(form_);
        DeleteDC(dc_);
    }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    HDC get() const { return dc_; }

    static HBITMAP Section(LONG width, LONG height, WORD bits)
    {
        const BITMAPINFO info = Info(width, height, bits);
        void *pixels = nullptr;
        return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    }

    // A header for rows from the bottom to the top.
    static BITMAPINFO Info(LONG width, LONG height, WORD bits)
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = bits;
        return info;
    }

private:
    HDC dc_;
    HBITMAP form_;
    HGDIOBJ before_;
};

// A bitmap and what deletes it.
class Bitmap {
public:
    explicit Bitmap(HBITMAP handle) : handle_(handle) {}
    ~Bitmap() { DeleteObject(handle_); }
    Bitmap(const Bitmap &) = delete;
    Bitmap &operator=(const Bitmap &) = delete;

    HBITMAP get() const { return handle_; }
    BITMAP Description() const
    {
        BITMAP description = {};
        GetObjectA(handle_, sizeof description, &description);
        return description;
    }
    reference::Pixels Pixels(const Device &device) const
    {
        const BITMAP description = Description();
        BITMAPINFO info = Device::Info(description.bmWidth, description.bmHeight, 32);
        const auto count =
            static_cast<size_t>(description.bmWidth) * static_cast<size_t>(description.bmHeight);
        reference::Pixels pixels(count);
        GetDIBits(device.get(), handle_, 0, static_cast<UINT>(description.bmHeight), pixels.data(), &info,
                  DIB_RGB_COLORS);
        return pixels;
    }

private:
    HBITMAP handle_;
};

HBITMAP RandomBitmap(const Device &device, Random &random, LONG width, LONG height, WORD bits)
{
    HBITMAP bitmap = Device::Section(width, height, bits);
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    random.Fill(pixels.data(), pixels.size() * 4);
    const BITMAPINFO info = Device::Info(width, height, 32);
    SetDIBits(device.get(), bitmap, 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
    return bitmap;
}

HBITMAP Resample(const Device &device, HBITMAP source, uint32_t width, uint32_t height, uint32_t filter = 5)
{
    SetLastError(kUntouched);
    return CreateResampledBitmap(device.get(), source, width, height, filter);
}

// Colours alone: a bitmap of 24 bits has no fourth byte, and GDI fills it as it likes.
reference::Pixels Colours(reference::Pixels pixels)
{
    for (uint32_t &pixel : pixels)
        pixel &= 0xFFFFFF;
    return pixels;
}

TEST(GdiBitmap, HasThePixelsOfTheEngine)
{
    Random random(1);
    for (const WORD from : {WORD{24}, WORD{32}})
        for (const WORD to : {WORD{24}, WORD{32}}) {
            const Device device(to);
            const Bitmap source(RandomBitmap(device, random, 37, 29, from));
            const Bitmap target(Resample(device, source.get(), 20, 45));
            ASSERT_NE(target.get(), nullptr) << std::hex << GetLastError();
            EXPECT_EQ(GetLastError(), kUntouched);
            EXPECT_EQ(target.Description().bmWidth, 20);
            EXPECT_EQ(target.Description().bmHeight, 45);
            EXPECT_EQ(Colours(target.Pixels(device)),
                      Colours(reference::Resampled(source.Pixels(device), 37, 29, 20, 45,
                                                   FilterCatalogue[5].kernel, FilterCatalogue[5].radius)))
                << from << " to " << to << " bits";
        }
}

TEST(GdiBitmap, KeepsTheFourthByteOfThirtyTwoBits)
{
    Random random(2);
    const Device device;
    const Bitmap source(RandomBitmap(device, random, 9, 7, 32));
    const Bitmap target(Resample(device, source.get(), 9, 7));
    EXPECT_EQ(target.Pixels(device), source.Pixels(device));
}

TEST(GdiBitmap, SizesAreBroughtIntoRange)
{
    Random random(3);
    const Device device;
    const Bitmap source(RandomBitmap(device, random, 3, 2, 32));
    const Bitmap smallest(Resample(device, source.get(), 0, 0));
    EXPECT_EQ(smallest.Description().bmWidth, 1);
    EXPECT_EQ(smallest.Description().bmHeight, 1);
    const Bitmap widest(Resample(device, source.get(), 5000, 100));
    EXPECT_EQ(widest.Description().bmWidth, 4096);
    EXPECT_EQ(widest.Description().bmHeight, 100);
}

TEST(GdiBitmap, RefusalsHaveTheirCodes)
{
    const Device device;
    EXPECT_EQ(Resample(device, nullptr, 4, 4), nullptr);
    EXPECT_EQ(GetLastError(), 0x20000001u);
    const Bitmap monochrome(CreateBitmap(8, 8, 1, 1, nullptr));
    EXPECT_EQ(Resample(device, monochrome.get(), 4, 4), nullptr);
    EXPECT_EQ(GetLastError(), 0x20000002u);
    EXPECT_EQ(CreateUserFilterResampledBitmap(device.get(), monochrome.get(), 4, 4, nullptr, 2.0), nullptr);
    EXPECT_EQ(GetLastError(), 0x20000009u);
}

TEST(GdiBitmap, MemoryIsTheGlobalHeapsAndItsFailuresHaveTheirCodes)
{
    Random random(4);
    const Device device;
    const Bitmap source(RandomBitmap(device, random, 8, 8, 32));
    const int64_t live = LiveAllocations();
    bool failed = true;
    int failures = 0;
    for (uint64_t n = 1; failed; ++n) {
        SetLastError(kUntouched);
        FailAllocation(n);
        const Bitmap target(CreateResampledBitmap(device.get(), source.get(), 4, 4, 5));
        const DWORD error = GetLastError();
        failed = AllocationHasFailed();
        AllowAllocations();
        EXPECT_EQ(!target.get(), failed);
        EXPECT_EQ(error, !failed ? kUntouched : n <= 2 ? 0x20000006 : 0x20000007) << n;
        EXPECT_EQ(LiveAllocations(), live);
        failures += failed;
    }
    EXPECT_EQ(failures, 11); // two pixel buffers, and the engine's nine blocks
}

} // namespace
} // namespace tonekit
