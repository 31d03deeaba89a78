// bitmap_test.cpp: the scaling of bitmaps with each of its allocations failing, the device's included.
#include "tests/memory/every_allocation.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <tonekit/image.h>
#include <utility>

namespace tonekit {
namespace {

struct Bitmap {
    int32_t width, height;
    uint32_t pixels[32 * 32];
};

// A device whose bitmaps are blocks of the process's heap.
struct HeapDevice : TonekitDevice {
    HeapDevice() : TonekitDevice{GetObject, Create, GetBits, SetBits, Delete} {}

    static int32_t GetObject(TonekitDevice *, TonekitBitmap bitmap, TonekitBitmapDescription *description)
    {
        const auto *of = static_cast<const Bitmap *>(bitmap);
        *description = {of->width, of->height, 1, 32};
        return 1;
    }
    static TonekitBitmap Create(TonekitDevice *, int32_t width, int32_t height)
    {
        auto *bitmap = static_cast<Bitmap *>(std::calloc(1, sizeof(Bitmap)));
        if (bitmap)
            *bitmap = {width, height, {}};
        return bitmap;
    }
    static int32_t GetBits(TonekitDevice *, TonekitBitmap bitmap, uint32_t, uint32_t lines, void *pixels,
                           const TonekitBitmapHeader *, uint32_t)
    {
        const auto *of = static_cast<const Bitmap *>(bitmap);
        std::memcpy(pixels, of->pixels, size_t{4} * static_cast<size_t>(of->width) * lines);
        return static_cast<int32_t>(lines);
    }
    static int32_t SetBits(TonekitDevice *, TonekitBitmap bitmap, uint32_t, uint32_t lines,
                           const void *pixels, const TonekitBitmapHeader *, uint32_t)
    {
        auto *of = static_cast<Bitmap *>(bitmap);
        std::memcpy(of->pixels, pixels, size_t{4} * static_cast<size_t>(of->width) * lines);
        return static_cast<int32_t>(lines);
    }
    static void Delete(TonekitDevice *, TonekitBitmap bitmap) { std::free(bitmap); }
};

TEST(EveryAllocation, OfAScaledBitmapMayFail)
{
    static Bitmap source{20, 10, {}};
    for (uint32_t i = 0; i < 200; ++i)
        source.pixels[i] = i * 0x01234567;
    for (const auto &[wide, high] : {std::pair{31u, 7u}, {5u, 32u}}) {
        const unsigned width = wide;
        const unsigned height = high;
        int outcomes[10] = {}; // by the last digit of the error; 0 is success
        static Bitmap first{};
        first.width = 0;
        HeapDevice device;
        EXPECT_GE(FailEachInTurn([&] {
                      errno = 0;
                      TonekitBitmap scaled =
                          CreateResampledBitmap(&device, &source, width, height, TONEKIT_SCALE_LANCZOS_3);
                      const auto error = static_cast<uint32_t>(scaled ? 0 : errno);
                      if (scaled && first.width == 0)
                          first = *static_cast<Bitmap *>(scaled);
                      EXPECT_TRUE(!scaled || std::memcmp(scaled, &first, sizeof(first)) == 0);
                      std::free(scaled);
                      outcomes[error & 0xF]++;
                  }),
                  5u);
        EXPECT_EQ(outcomes[TONEKIT_BITMAP_TARGET_NOT_CREATED & 0xF], 1);
        EXPECT_EQ(outcomes[TONEKIT_BITMAP_OUT_OF_MEMORY & 0xF], 2);
        EXPECT_GE(outcomes[TONEKIT_BITMAP_ENGINE_FAILED & 0xF], 2);
        EXPECT_EQ(outcomes[0], 2); // the first one, and the last, when there was nothing left to fail
        EXPECT_EQ(std::accumulate(std::begin(outcomes), std::end(outcomes), 0),
                  outcomes[0] + outcomes[4] + outcomes[6] + outcomes[7]);
    }
}

} // namespace
} // namespace tonekit
