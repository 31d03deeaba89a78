// scale_bitmap_posix.cpp: lends the library bitmaps of its own and has one scaled to a quarter of its size.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <tonekit/tonekit.h>
#include <vector>

namespace {

// Blue, green, red and a fourth byte for each pixel, row by row.
struct Bitmap {
    int32_t width, height;
    std::vector<uint8_t> pixels;
};

int32_t Describe(TonekitDevice *, TonekitBitmap bitmap, TonekitBitmapDescription *description)
{
    const auto &source = *static_cast<Bitmap *>(bitmap);
    *description = {source.width, source.height, 1, 32};
    return 1;
}

TonekitBitmap Make(TonekitDevice *, int32_t width, int32_t height)
{
    return new Bitmap{width, height, std::vector<uint8_t>(4 * size_t(width) * size_t(height))};
}

int32_t Fetch(TonekitDevice *, TonekitBitmap bitmap, uint32_t first, uint32_t lines, void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    const auto &source = *static_cast<Bitmap *>(bitmap);
    const size_t row = 4 * size_t(source.width);
    std::memcpy(pixels, source.pixels.data() + first * row, lines * row);
    return int32_t(lines);
}

int32_t Store(TonekitDevice *, TonekitBitmap bitmap, uint32_t first, uint32_t lines, const void *pixels,
              const TonekitBitmapHeader *, uint32_t)
{
    auto &target = *static_cast<Bitmap *>(bitmap);
    const size_t row = 4 * size_t(target.width);
    std::memcpy(target.pixels.data() + first * row, pixels, lines * row);
    return int32_t(lines);
}

void Discard(TonekitDevice *, TonekitBitmap bitmap)
{
    delete static_cast<Bitmap *>(bitmap);
}

} // namespace

int main()
{
    TonekitDevice device{Describe, Make, Fetch, Store, Discard};
    Bitmap source{64, 64, std::vector<uint8_t>(4 * 64 * 64, 200)}; // one grey everywhere
    auto *scaled =
        static_cast<Bitmap *>(CreateResampledBitmap(&device, &source, 32, 32, TONEKIT_SCALE_LANCZOS_3));
    if (!scaled) {
        std::printf("refused with error %x\n", unsigned(errno)); // one of the TONEKIT_BITMAP_ values
        return 1;
    }
    std::printf("%d x %d, first byte %d\n", scaled->width, scaled->height, scaled->pixels[0]);
    const bool right = scaled->width == 32 && scaled->pixels == std::vector<uint8_t>(4 * 32 * 32, 200);
    Discard(&device, scaled);
    return right ? 0 : 1;
}
