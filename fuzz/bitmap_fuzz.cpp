// bitmap_fuzz.cpp: bitmaps of a device of 24 or 32 bits, whose operations fail or throw as the input says,
// scaled with any filter. A result has the engine's pixels; a failure has its code and leaves no bitmap.
#include "fuzz/input_bytes.h"
#include "image/filters.h"
#include "image/resampler.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>
#include <tonekit/image.h>
#include <vector>

namespace {

using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

constexpr int32_t kLargestSide = 40;

struct Picture {
    int32_t width, height;
    std::vector<uint8_t> rows; // as the device has them

    size_t RowBytes(uint16_t bits) const { return (static_cast<size_t>(width) * (bits / 8u) + 3) / 4 * 4; }
};

enum class Fault { None, Fails, Throws, Odd };

// The record comes first, as the library gives its address back.
struct Device {
    TonekitDevice operations;
    uint16_t bits;
    Fault faults[4]; // of getObject, createCompatibleBitmap, getDIBits, setDIBits
    std::set<Picture *> made;
    bool targetOdd;
};

Device &Of(TonekitDevice *device)
{
    return *reinterpret_cast<Device *>(device);
}

bool Goes(Fault fault)
{
    if (fault == Fault::Throws)
        throw std::runtime_error("a device");
    return fault != Fault::Fails;
}

int32_t Describe(TonekitDevice *device, TonekitBitmap bitmap, TonekitBitmapDescription *description)
{
    const auto *picture = static_cast<const Picture *>(bitmap);
    const bool isTarget = Of(device).made.count(static_cast<Picture *>(bitmap)) != 0;
    if (isTarget == Of(device).targetOdd && !Goes(Of(device).faults[0]))
        return 0;
    const bool odd = Of(device).faults[0] == Fault::Odd && isTarget == Of(device).targetOdd;
    *description = {picture->width, picture->height, static_cast<uint16_t>(odd ? 2 : 1), Of(device).bits};
    return 1;
}

TonekitBitmap Create(TonekitDevice *device, int32_t width, int32_t height)
{
    if (!Goes(Of(device).faults[1]))
        return nullptr;
    if (Of(device).faults[1] == Fault::Odd)
        width = -width;
    auto *const picture = new Picture{width, height, {}};
    if (width > 0)
        picture->rows.resize(picture->RowBytes(Of(device).bits) * static_cast<size_t>(height));
    Of(device).made.insert(picture);
    return picture;
}

int32_t Fetch(TonekitDevice *device, TonekitBitmap bitmap, uint32_t first, uint32_t lines, void *pixels,
              const TonekitBitmapHeader *header, uint32_t usage)
{
    const auto *picture = static_cast<const Picture *>(bitmap);
    if (!Goes(Of(device).faults[2]))
        return 0;
    Require(first == 0 && usage == 0 && header->size == 40 && header->imageSize == picture->rows.size());
    if (!picture->rows.empty())
        std::memcpy(pixels, picture->rows.data(), picture->rows.size());
    return static_cast<int32_t>(lines) - (Of(device).faults[2] == Fault::Odd);
}

int32_t Store(TonekitDevice *device, TonekitBitmap bitmap, uint32_t first, uint32_t lines, const void *pixels,
              const TonekitBitmapHeader *header, uint32_t usage)
{
    auto *picture = static_cast<Picture *>(bitmap);
    if (!Goes(Of(device).faults[3]))
        return 0;
    Require(first == 0 && usage == 0 && header->bitCount == Of(device).bits &&
            header->imageSize == picture->rows.size());
    std::memcpy(picture->rows.data(), pixels, picture->rows.size());
    return static_cast<int32_t>(lines) - (Of(device).faults[3] == Fault::Odd);
}

void Delete(TonekitDevice *device, TonekitBitmap bitmap)
{
    auto *const picture = static_cast<Picture *>(bitmap);
    Require(Of(device).made.erase(picture) == 1);
    delete picture;
}

double weights[4];

double InputKernel(double t)
{
    if (weights[0] == 99)
        throw std::runtime_error("a kernel");
    const double place = t < 0 ? -t : t;
    return weights[place < 3 ? static_cast<size_t>(place) : 3];
}

std::vector<uint32_t> Widened(const Picture &picture, uint16_t bits)
{
    std::vector<uint32_t> pixels;
    for (size_t y = 0; y < static_cast<size_t>(picture.height); ++y)
        for (size_t x = 0; x < static_cast<size_t>(picture.width); ++x) {
            uint32_t pixel = 0;
            std::memcpy(&pixel, &picture.rows[y * picture.RowBytes(bits) + x * (bits / 8u)], bits / 8u);
            pixels.push_back(pixel);
        }
    return pixels;
}

// The engine's own result, which the target resample holds against a model.
void Compare(const Picture &source, const Picture &result, uint16_t bits, const tonekit::Filter &filter)
{
    std::vector<uint32_t> from = Widened(source, bits);
    std::vector<uint32_t> to(static_cast<size_t>(result.width * result.height));
    Require(tonekit::ResampleBitmapPixels(from.data(), source.width, source.height, to.data(), result.width,
                                          result.height, filter.kernel, filter.radius));
    for (uint32_t &pixel : to)
        pixel &= bits == 24 ? 0xFFFFFFu : 0xFFFFFFFFu;
    Require(Widened(result, bits) == to);
}

Fault TakeFault(InputBytes &input)
{
    const uint8_t which = input.Byte();
    return which < 250 ? Fault::None : static_cast<Fault>(which % 4);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    Device device{{Describe, Create, Fetch, Store, Delete}, 0, {}, {}, false};
    device.bits = input.OneOf(
        {uint16_t{24}, uint16_t{32}, uint16_t{24}, uint16_t{32}, uint16_t{24}, uint16_t{32}, uint16_t{16}});
    for (Fault &fault : device.faults)
        fault = TakeFault(input);
    device.targetOdd = input.Flag();
    const uint8_t missing = input.Byte();
    if (missing == 255)
        device.operations.getObject = nullptr;
    if (missing == 254)
        device.operations.createCompatibleBitmap = nullptr;
    const uint8_t kernel = input.Byte();
    for (double &weight : weights)
        weight = (input.Byte() - 64.0) / 32;
    weights[0] = kernel == 255 ? 99 : weights[0];
    Picture source{
        static_cast<int32_t>(input.Below(kLargestSide)), static_cast<int32_t>(input.Below(kLargestSide)), {}};
    if (input.Byte() == 255)
        source.width = -source.width;
    const uint32_t width = input.Below(kLargestSide);
    const uint32_t height = input.Below(kLargestSide);
    if (source.width > 0)
        source.rows = input.Take(source.RowBytes(device.bits) * static_cast<size_t>(source.height));
    const bool own = kernel >= 192;
    const double radius = (kernel % 64) / 3.5;
    tonekit::Filter filter{InputKernel, radius};
    if (!own)
        filter = tonekit::FilterCatalogue[kernel % tonekit::kFilterCount];

    TonekitBitmap const from = missing == 253 ? nullptr : &source;
    constexpr int kBefore = 12345;
    errno = kBefore;
    TonekitBitmap result = nullptr;
    if (own)
        result = CreateUserFilterResampledBitmap(&device.operations, from, width, height,
                                                 kernel == 254 ? nullptr : InputKernel, radius);
    else
        result =
            CreateResampledBitmap(&device.operations, from, width, height, kernel % tonekit::kFilterCount);
    const auto code = static_cast<uint32_t>(errno);
    if (!result) {
        Require(code >= TONEKIT_BITMAP_NO_SOURCE && code <= TONEKIT_BITMAP_BAD_FILTER);
        Require(device.made.empty());
        return 0;
    }
    Require(code == kBefore && device.made.size() == 1);
    const std::unique_ptr<Picture> made(static_cast<Picture *>(result));
    Require(made->width == static_cast<int32_t>(width > 0 ? width : 1) &&
            made->height == static_cast<int32_t>(height > 0 ? height : 1));
    Compare(source, *made, device.bits, filter);
    return 0;
}
