// png_picture.cpp: libspng's calling order, row by row, with its errors turned into ours.
#include "host/pictures/png_picture.h"

#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/platform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <spng.h>
#include <string>

namespace tonekit::host {

namespace {

struct FreeContext {
    void operator()(spng_ctx *context) const { spng_ctx_free(context); }
};
using ContextPointer = std::unique_ptr<spng_ctx, FreeContext>;

ContextPointer NewContext(int flags)
{
    ContextPointer context(spng_ctx_new(flags));
    if (!context)
        throw std::bad_alloc();
    return context;
}

void Check(int error)
{
    switch (error) {
    case 0:
        return;
    case SPNG_EMEM:
        throw std::bad_alloc();
    case SPNG_EOVERFLOW:
    case SPNG_ECHUNK_LIMITS:
        throw Failure("a PNG of this size can't be read (--memory allows more)");
    default:
        throw Failure(std::string("broken PNG: ") + spng_strerror(error));
    }
}

// A decoder of a file in memory, after the header.
class Decoder {
public:
    explicit Decoder(const std::vector<uint8_t> &file) : context_(NewContext(0))
    {
        // What is packed in texts and colour profiles may be a thousand times as long as the file.
        const auto most = static_cast<size_t>(std::min<uint64_t>(MemoryLimit() / 8, INT32_MAX));
        Check(spng_set_chunk_limits(context_.get(), most, most));
        // Those that aren't about the pixels are ignored if they are damaged.
        Check(spng_set_crc_action(context_.get(), SPNG_CRC_ERROR, SPNG_CRC_DISCARD));
        Check(spng_set_png_buffer(context_.get(), file.data(), file.size()));
        Check(spng_get_ihdr(context_.get(), &header_));
    }

    const spng_ihdr &header() const { return header_; }
    spng_ctx *get() const { return context_.get(); }

    bool HasAlpha() const
    {
        if (header_.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA ||
            header_.color_type == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA)
            return true;
        spng_trns transparency;
        const int error = spng_get_trns(context_.get(), &transparency);
        if (error != SPNG_ECHUNKAVAIL)
            Check(error);
        return error == 0;
    }

    bool IsGray() const
    {
        return header_.color_type == SPNG_COLOR_TYPE_GRAYSCALE ||
               header_.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA;
    }

private:
    ContextPointer context_;
    spng_ihdr header_{};
};

// The rows of an interlaced picture come several times, each time with more of their pixels.
void ReadRows(const Decoder &decoder, uint8_t *pixels)
{
    const size_t rowBytes = size_t{decoder.header().width} * 4;
    Check(spng_decode_image(decoder.get(), nullptr, 0, SPNG_FMT_RGBA8,
                            SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE));
    int error = 0;
    while (error == 0) {
        if (InterruptNoted())
            throw Interrupted();
        spng_row_info row;
        error = spng_get_row_info(decoder.get(), &row);
        if (error == 0)
            error = spng_decode_row(decoder.get(), pixels + rowBytes * row.row_num, rowBytes);
    }
    if (error != SPNG_EOI)
        Check(error);
}

// Fills in the next row of a picture, in the form of its header.
using RowSource = std::function<void(uint32_t y, uint8_t *row)>;

std::vector<uint8_t> Encode(uint32_t width, uint32_t height, spng_color_type type, size_t pixelBytes,
                            const spng_plte *palette, const RowSource &source)
{
    const ContextPointer context = NewContext(SPNG_CTX_ENCODER);
    spng_ihdr header{};
    header.width = width;
    header.height = height;
    header.bit_depth = 8;
    header.color_type = static_cast<uint8_t>(type);
    Check(spng_set_option(context.get(), SPNG_ENCODE_TO_BUFFER, 1));
    Check(spng_set_ihdr(context.get(), &header));
    if (palette) {
        spng_plte copy = *palette;
        Check(spng_set_plte(context.get(), &copy));
    }
    Check(spng_encode_image(context.get(), nullptr, 0, SPNG_FMT_PNG,
                            SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE));
    std::vector<uint8_t> row(width * pixelBytes);
    int error = 0;
    for (uint32_t y = 0; y < height && error == 0; ++y) {
        if (InterruptNoted())
            throw Interrupted();
        source(y, row.data());
        error = spng_encode_row(context.get(), row.data(), row.size());
    }
    if (error != SPNG_EOI)
        Check(error);
    size_t size = 0;
    const std::unique_ptr<void, void (*)(void *)> bytes(spng_get_png_buffer(context.get(), &size, &error),
                                                        std::free);
    Check(error);
    const auto *const first = static_cast<const uint8_t *>(bytes.get());
    return {first, first + size};
}

} // namespace

bool IsPng(const std::vector<uint8_t> &file)
{
    constexpr uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return file.size() >= sizeof(kSignature) && std::memcmp(file.data(), kSignature, sizeof(kSignature)) == 0;
}

PictureSize SizeOfPng(const std::vector<uint8_t> &file)
{
    const Decoder decoder(file);
    return {decoder.header().width, decoder.header().height};
}

PngPicture DecodePng(const std::vector<uint8_t> &file)
{
    const Decoder decoder(file);
    const uint32_t width = decoder.header().width;
    const uint32_t height = decoder.header().height;
    // The decoder keeps a few rows of up to 8 bytes a pixel.
    if (uint64_t{width} * height > MostPixels() || width > MostPixels() / 8)
        Check(SPNG_EOVERFLOW);
    PngPicture picture{{width, height, {}}, {}, decoder.IsGray()};
    const bool hasAlpha = decoder.HasAlpha();
    std::vector<uint8_t> &pixels = picture.image.pixels;
    pixels.resize(size_t{width} * height * 4);
    ReadRows(decoder, pixels.data());
    if (hasAlpha)
        picture.alpha.resize(size_t{width} * height);
    for (size_t i = 0; i < pixels.size() / 4; ++i) {
        std::swap(pixels[i * 4], pixels[i * 4 + 2]);
        if (hasAlpha)
            picture.alpha[i] = pixels[i * 4 + 3];
        pixels[i * 4 + 3] = 0;
    }
    return picture;
}

std::vector<uint8_t> EncodePng(const PngPicture &picture)
{
    const PixelImage &image = picture.image;
    const bool hasAlpha = !picture.alpha.empty();
    const size_t colours = picture.gray ? 1 : 3;
    const size_t pixelBytes = colours + (hasAlpha ? 1 : 0);
    constexpr spng_color_type kTypes[] = {SPNG_COLOR_TYPE_GRAYSCALE, SPNG_COLOR_TYPE_GRAYSCALE_ALPHA,
                                          SPNG_COLOR_TYPE_TRUECOLOR, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA};
    const auto row = [&](uint32_t y, uint8_t *bytes) {
        for (size_t x = 0; x < image.width; ++x) {
            const size_t place = size_t{y} * image.width + x;
            for (size_t c = 0; c < colours; ++c)
                bytes[x * pixelBytes + c] = image.pixels[place * 4 + 2 - c];
            if (hasAlpha)
                bytes[x * pixelBytes + colours] = picture.alpha[place];
        }
    };
    return Encode(image.width, image.height, kTypes[(picture.gray ? 0 : 2) + (hasAlpha ? 1 : 0)], pixelBytes,
                  nullptr, row);
}

std::vector<uint8_t> EncodePng(const IndexedPicture &picture)
{
    spng_plte palette{};
    palette.n_entries = static_cast<uint32_t>(picture.palette.size());
    for (size_t i = 0; i < picture.palette.size(); ++i) {
        const auto &colour = picture.palette[i];
        palette.entries[i] = {colour[0], colour[1], colour[2], 255};
    }
    const auto row = [&](uint32_t y, uint8_t *bytes) {
        std::memcpy(bytes, &picture.pixels[size_t{y} * picture.width], picture.width);
    };
    return Encode(picture.width, picture.height, SPNG_COLOR_TYPE_INDEXED, 1, &palette, row);
}

} // namespace tonekit::host
