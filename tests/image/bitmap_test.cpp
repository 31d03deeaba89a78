// bitmap_test.cpp: the exported calls over a device that keeps its bitmaps in memory and fails on demand.
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/reference/resample_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <tonekit/image.h>

namespace tonekit {
namespace {

struct Bitmap {
    TonekitBitmapDescription description;
    std::vector<uint8_t> bytes;

    Bitmap(int32_t width, int32_t height, uint16_t bits)
        : description{width, height, 1, bits}, bytes(RowBytes() * static_cast<size_t>(std::max(height, 0)))
    {}
    size_t RowBytes() const
    {
        return (static_cast<size_t>(std::max(description.width, 0)) * description.bitsPerPixel / 8 + 3) / 4 *
               4;
    }
};

// A host's device. Operation number `failAt`, counted from 1 over a call, fails or throws.
struct MemoryDevice : TonekitDevice {
    uint16_t depth = 32;
    int operations = 0;
    int failAt = 0;
    bool throwInstead = false;
    std::set<Bitmap *> made;
    std::vector<TonekitBitmapHeader> headers;

    MemoryDevice() : TonekitDevice{GetObject, Create, GetBits, SetBits, Delete} {}
    ~MemoryDevice()
    {
        for (Bitmap *bitmap : made)
            delete bitmap;
    }
    static MemoryDevice &Of(TonekitDevice *device) { return *static_cast<MemoryDevice *>(device); }
    bool Fails()
    {
        errno = EIO; // a device may disturb the last-error value
        if (++operations != failAt)
            return false;
        if (throwInstead)
            throw std::runtime_error("device");
        return true;
    }
    static int32_t GetObject(TonekitDevice *device, TonekitBitmap bitmap,
                             TonekitBitmapDescription *description)
    {
        if (Of(device).Fails())
            return 0;
        *description = static_cast<Bitmap *>(bitmap)->description;
        return 1;
    }
    static TonekitBitmap Create(TonekitDevice *device, int32_t width, int32_t height)
    {
        if (Of(device).Fails())
            return nullptr;
        return *Of(device).made.insert(new Bitmap(width, height, Of(device).depth)).first;
    }
    static void CheckForm(TonekitDevice *device, const Bitmap &bitmap, uint32_t firstLine, uint32_t lines,
                          const TonekitBitmapHeader *header, uint32_t usage)
    {
        EXPECT_EQ(firstLine, 0u);
        EXPECT_EQ(lines, static_cast<uint32_t>(bitmap.description.height));
        EXPECT_EQ(usage, 0u);
        Of(device).headers.push_back(*header);
    }
    static int32_t GetBits(TonekitDevice *device, TonekitBitmap handle, uint32_t firstLine, uint32_t lines,
                           void *pixels, const TonekitBitmapHeader *header, uint32_t usage)
    {
        const auto &bitmap = *static_cast<Bitmap *>(handle);
        CheckForm(device, bitmap, firstLine, lines, header, usage);
        if (Of(device).Fails())
            return static_cast<int32_t>(lines) - 1;
        std::copy(bitmap.bytes.begin(), bitmap.bytes.end(), static_cast<uint8_t *>(pixels));
        return static_cast<int32_t>(lines);
    }
    static int32_t SetBits(TonekitDevice *device, TonekitBitmap handle, uint32_t firstLine, uint32_t lines,
                           const void *pixels, const TonekitBitmapHeader *header, uint32_t usage)
    {
        auto &bitmap = *static_cast<Bitmap *>(handle);
        CheckForm(device, bitmap, firstLine, lines, header, usage);
        if (Of(device).Fails())
            return static_cast<int32_t>(lines) - 1;
        std::memcpy(bitmap.bytes.data(), pixels, bitmap.bytes.size());
        return static_cast<int32_t>(lines);
    }
    static void Delete(TonekitDevice *device, TonekitBitmap handle)
    {
        errno = EIO;
        auto *bitmap = static_cast<Bitmap *>(handle);
        EXPECT_EQ(Of(device).made.erase(bitmap), 1u);
        delete bitmap;
    }
};

Bitmap RandomBitmap(Random &random, int32_t width, int32_t height, uint16_t bits)
{
    Bitmap bitmap(width, height, bits);
    random.Fill(bitmap.bytes.data(), bitmap.bytes.size());
    return bitmap;
}

reference::Pixels PixelsOf(const Bitmap &bitmap)
{
    reference::Pixels pixels;
    for (int32_t y = 0; y < bitmap.description.height; ++y)
        for (int32_t x = 0; x < bitmap.description.width; ++x) {
            const size_t step = bitmap.description.bitsPerPixel / 8;
            uint32_t pixel = 0;
            std::memcpy(
                &pixel,
                &bitmap.bytes[static_cast<size_t>(y) * bitmap.RowBytes() + static_cast<size_t>(x) * step],
                step);
            pixels.push_back(pixel);
        }
    return pixels;
}

constexpr int kUntouched = 4711;

// Calls with FilterCatmullRom and a last-error value that a success must leave.
Bitmap *Resample(MemoryDevice &device, Bitmap *source, uint32_t width, uint32_t height, uint32_t filter = 2)
{
    errno = kUntouched;
    return static_cast<Bitmap *>(CreateResampledBitmap(&device, source, width, height, filter));
}

TEST(ResampledBitmap, HasThePixelsOfTheEngine)
{
    Random random(1);
    MemoryDevice device;
    Bitmap source = RandomBitmap(random, 37, 29, 32);
    const std::vector<uint8_t> before = source.bytes;
    const Bitmap *target = Resample(device, &source, 20, 45);
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(errno, kUntouched);
    EXPECT_EQ(source.bytes, before);
    EXPECT_EQ(target->description.width, 20);
    EXPECT_EQ(target->description.height, 45);
    EXPECT_EQ(PixelsOf(*target),
              reference::Resampled(PixelsOf(source), 37, 29, 20, 45, FilterCatmullRom, 2.0));
}

TEST(ResampledBitmap, TellsTheDeviceTheFormOfEachBuffer)
{
    Random random(2);
    MemoryDevice device;
    device.depth = 24;
    Bitmap source = RandomBitmap(random, 7, 5, 32);
    ASSERT_NE(Resample(device, &source, 3, 9), nullptr);
    ASSERT_EQ(device.headers.size(), 2u);
    const TonekitBitmapHeader expected[2] = {
        {40, 7, 5, 1, 32, 0, 7 * 4 * 5, 0, 0, 0, 0},
        {40, 3, 9, 1, 24, 0, 12 * 9, 0, 0, 0, 0}}; // rows of 9 bytes, padded
    EXPECT_EQ(std::memcmp(&device.headers[0], &expected[0], 40), 0);
    EXPECT_EQ(std::memcmp(&device.headers[1], &expected[1], 40), 0);
}

TEST(ResampledBitmap, ConvertsTwentyFourBitsOnEitherSide)
{
    Random random(3);
    for (const uint16_t from : {uint16_t{24}, uint16_t{32}})
        for (const uint16_t to : {uint16_t{24}, uint16_t{32}})
            for (int32_t width = 1; width <= 9; ++width) {
                MemoryDevice device;
                device.depth = to;
                Bitmap source = RandomBitmap(random, width, 6, from);
                const Bitmap *target = Resample(device, &source, 10 - static_cast<uint32_t>(width), 8);
                ASSERT_NE(target, nullptr);
                reference::Pixels expected =
                    reference::Resampled(PixelsOf(source), width, 6, 10 - width, 8, FilterCatmullRom, 2.0);
                if (to == 24)
                    for (uint32_t &pixel : expected)
                        pixel &= 0xFFFFFF;
                EXPECT_EQ(PixelsOf(*target), expected) << from << " to " << to << " bits, width " << width;
            }
}

TEST(ResampledBitmap, SameSizeIsACopy)
{
    Random random(4);
    for (const uint16_t bits : {uint16_t{24}, uint16_t{32}})
        for (uint32_t filter = 0; filter < 13; ++filter) {
            MemoryDevice device;
            device.depth = bits;
            Bitmap source = RandomBitmap(random, 11, 7, bits);
            const Bitmap *target = Resample(device, &source, 11, 7, filter);
            ASSERT_NE(target, nullptr);
            EXPECT_EQ(PixelsOf(*target), PixelsOf(source));
        }
}

TEST(ResampledBitmap, FilterIsTakenModuloThirteen)
{
    Random random(5);
    Bitmap source = RandomBitmap(random, 16, 16, 32);
    const std::pair<uint32_t, uint32_t> same[] = {{13, 0}, {15, 2}, {25, 12}, {0xFFFFFFFF, 0xFFFFFFFF % 13}};
    for (const auto &[filter, row] : same) {
        MemoryDevice device;
        const Bitmap *target = Resample(device, &source, 9, 9, filter);
        ASSERT_NE(target, nullptr);
        EXPECT_EQ(PixelsOf(*target),
                  reference::Resampled(PixelsOf(source), 16, 16, 9, 9, FilterCatalogue[row].kernel,
                                       FilterCatalogue[row].radius));
    }
}

TEST(ResampledBitmap, SizesAreBroughtIntoRange)
{
    Random random(6);
    Bitmap source = RandomBitmap(random, 3, 2, 32);
    const uint32_t cases[][4] = {{0, 0, 1, 1},
                                 {5000, 100, 4096, 100},
                                 {1, 0xFFFFFFFF, 1, 4096},
                                 {4096, 4097, 4096, 4096},
                                 {0x80000000, 1, 4096, 1}};
    for (const auto &[width, height, madeWidth, madeHeight] : cases) {
        MemoryDevice device;
        const Bitmap *target = Resample(device, &source, width, height, 1);
        ASSERT_NE(target, nullptr);
        EXPECT_EQ(target->description.width, static_cast<int32_t>(madeWidth));
        EXPECT_EQ(target->description.height, static_cast<int32_t>(madeHeight));
    }
}

TEST(ResampledBitmap, EachFailingOperationHasItsCodeAndLeavesNothing)
{
    Random random(7);
    Bitmap source = RandomBitmap(random, 8, 8, 32);
    const std::vector<uint8_t> before = source.bytes;
    const int codes[] = {0x20000002, 0x20000004, 0x20000005, 0x20000003, 0x20000008};
    const int64_t live = LiveAllocations();
    for (const bool throwInstead : {false, true})
        for (int n = 1; n <= 5; ++n) {
            MemoryDevice device;
            device.failAt = n;
            device.throwInstead = throwInstead;
            EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
            EXPECT_EQ(errno, codes[n - 1]) << "operation " << n;
            EXPECT_TRUE(device.made.empty());
            EXPECT_EQ(device.operations, n);
        }
    EXPECT_EQ(source.bytes, before);
    EXPECT_EQ(LiveAllocations(), live);
}

TEST(ResampledBitmap, EachFailingAllocationHasItsCodeAndLeavesNothing)
{
    Random random(8);
    Bitmap source = RandomBitmap(random, 8, 8, 24);
    // Two pixel buffers, and between them and the end the engine's nine blocks.
    MemoryDevice device;
    device.headers.reserve(64);
    for (uint64_t n = 1; n <= 11; ++n) {
        // The device allocates too: only the library's requests are counted, from the one after the target's
        // creation.
        FailAllocation(n);
        const Bitmap *target = Resample(device, &source, 4, 4);
        AllowAllocations();
        ASSERT_EQ(target, nullptr) << n;
        EXPECT_EQ(errno, n <= 2 ? 0x20000006 : 0x20000007) << n;
        EXPECT_TRUE(device.made.empty());
    }
}

TEST(ResampledBitmap, TakesOnlyOnePlaneOfTwentyFourOrThirtyTwoBits)
{
    for (const uint16_t bits : std::initializer_list<uint16_t>{0, 1, 8, 16, 23, 25, 31, 48, 64}) {
        MemoryDevice device;
        Bitmap source(8, 8, bits);
        EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
        EXPECT_EQ(errno, 0x20000002) << bits;
        Bitmap good(8, 8, 32);
        device.depth = bits;
        EXPECT_EQ(Resample(device, &good, 4, 4), nullptr);
        EXPECT_EQ(errno, 0x20000005) << bits;
        EXPECT_TRUE(device.made.empty());
    }
    for (const uint16_t planes : std::initializer_list<uint16_t>{0, 2, 4}) {
        MemoryDevice device;
        Bitmap source(8, 8, 32);
        source.description.planes = planes;
        EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
        EXPECT_EQ(errno, 0x20000002) << planes;
    }
}

TEST(ResampledBitmap, SizesBeyondABufferAreOutOfMemory)
{
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    for (const auto &[width, height] :
         {std::pair{kMost, kMost}, {32768, 32768}, {1 << 30, 1}, {-4, 4}, {4, -4}, {-4, -4}}) {
        MemoryDevice device;
        Bitmap source(4, 4, 32);
        source.description.width = width;
        source.description.height = height;
        EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
        EXPECT_EQ(errno, 0x20000006) << width << " by " << height;
        EXPECT_TRUE(device.made.empty());
    }
}

TEST(ResampledBitmap, AnEmptySourceFailsInTheEngine)
{
    for (const auto &[width, height] : {std::pair{0, 4}, {4, 0}, {0, 0}}) {
        MemoryDevice device;
        Bitmap source(width, height, 32);
        EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
        EXPECT_EQ(errno, 0x20000007);
        EXPECT_TRUE(device.made.empty());
    }
}

TEST(ResampledBitmap, NoSourceIsCodeOneAndTouchesNoDevice)
{
    MemoryDevice device;
    EXPECT_EQ(Resample(device, nullptr, 4, 4), nullptr);
    EXPECT_EQ(errno, 0x20000001);
    EXPECT_EQ(device.operations, 0);
}

TEST(ResampledBitmap, ADeviceWithoutAnOperationFailsThere)
{
    Random random(9);
    Bitmap source = RandomBitmap(random, 8, 8, 32);
    EXPECT_EQ(CreateResampledBitmap(nullptr, &source, 4, 4, 0), nullptr);
    EXPECT_EQ(errno, 0x20000002);
    const auto code = [&](auto remove) {
        MemoryDevice device;
        remove(device);
        EXPECT_EQ(Resample(device, &source, 4, 4), nullptr);
        return errno;
    };
    EXPECT_EQ(code([](MemoryDevice &device) { device.getObject = nullptr; }), 0x20000002);
    EXPECT_EQ(code([](MemoryDevice &device) { device.createCompatibleBitmap = nullptr; }), 0x20000004);
    EXPECT_EQ(code([](MemoryDevice &device) { device.getDIBits = nullptr; }), 0x20000003);
    EXPECT_EQ(code([](MemoryDevice &device) { device.setDIBits = nullptr; }), 0x20000008);
    EXPECT_EQ(code([](MemoryDevice &device) { device.setDIBits = nullptr, device.deleteObject = nullptr; }),
              0x20000008);
}

TEST(UserFilter, BadArgumentsAreCodeNine)
{
    Random random(10);
    Bitmap source = RandomBitmap(random, 8, 8, 32);
    const auto call = [&](TonekitBitmap from, TonekitKernel kernel, double radius) {
        MemoryDevice device;
        errno = kUntouched;
        const bool made = CreateUserFilterResampledBitmap(&device, from, 4, 4, kernel, radius) != nullptr;
        return made && errno == kUntouched ? 0 : errno;
    };
    EXPECT_EQ(call(&source, nullptr, 1.0), 0x20000009);
    EXPECT_EQ(call(nullptr, nullptr, 1.0), 0x20000009); // before the source is looked at
    EXPECT_EQ(call(nullptr, FilterBox, 1.0), 0x20000001);
    EXPECT_EQ(call(&source, FilterBox, 16.5), 0x20000009);
    EXPECT_EQ(call(&source, FilterBox, std::nextafter(16.0, 17.0)), 0x20000009);
    EXPECT_EQ(call(&source, FilterBox, -1e-300), 0x20000009);
    EXPECT_EQ(call(&source, FilterBox, std::numeric_limits<double>::infinity()), 0x20000009);
    EXPECT_EQ(call(&source, FilterBox, std::numeric_limits<double>::quiet_NaN()), 0x20000007);
    EXPECT_EQ(call(&source, FilterBox, 16.0), 0);
    EXPECT_EQ(call(&source, FilterBox, 0.0), 0);
    EXPECT_EQ(call(&source, FilterBox, -0.0), 0);
}

TEST(UserFilter, RunsTheCallersKernelAtItsRadius)
{
    Random random(11);
    MemoryDevice device;
    Bitmap source = RandomBitmap(random, 21, 13, 32);
    const TonekitKernel kernel = [](double t) { return 3.0 + t; };
    const auto *target =
        static_cast<Bitmap *>(CreateUserFilterResampledBitmap(&device, &source, 30, 6, kernel, 2.5));
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(PixelsOf(*target), reference::Resampled(PixelsOf(source), 21, 13, 30, 6, kernel, 2.5));
}

TEST(UserFilter, AThrowingKernelIsAFailureOfTheEngine)
{
    MemoryDevice device;
    Bitmap source(8, 8, 32);
    const TonekitKernel throwing = [](double) -> double { throw std::runtime_error("kernel"); };
    const int64_t live = LiveAllocations();
    EXPECT_EQ(CreateUserFilterResampledBitmap(&device, &source, 4, 4, throwing, 1.0), nullptr);
    EXPECT_EQ(errno, 0x20000007);
    EXPECT_TRUE(device.made.empty());
    EXPECT_EQ(LiveAllocations(), live);
}

} // namespace
} // namespace tonekit
