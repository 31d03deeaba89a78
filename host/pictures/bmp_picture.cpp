// bmp_picture.cpp: BMP headers, palettes, bit fields and rows.
#include "host/pictures/bmp_picture.h"

#include "host/system/failure.h"
#include "host/system/platform.h"

#include <bit>
#include <cstdlib>

namespace tonekit::host {

namespace {

constexpr size_t kFileHeader = 14;
constexpr uint32_t kUncompressed = 0;
constexpr uint32_t kBitFields = 3;
constexpr uint32_t kAlphaBitFields = 6;

// A file whose every byte is looked up with a check.
class Bytes {
public:
    explicit Bytes(const std::vector<uint8_t> &file) : file_(file) {}

    uint32_t Number(size_t position, int bytes) const
    {
        if (position + static_cast<size_t>(bytes) > file_.size())
            throw Failure("the BMP file is cut off");
        uint32_t number = 0;
        for (int i = bytes - 1; i >= 0; --i)
            number = number << 8 | file_[position + static_cast<size_t>(i)];
        return number;
    }

    size_t size() const { return file_.size(); }

private:
    const std::vector<uint8_t> &file_;
};

// One colour inside a pixel's number, stretched to 8 bits.
struct BitField {
    uint32_t mask = 0;

    uint8_t Of(uint32_t pixel) const
    {
        if (mask == 0)
            return 0;
        const int shift = std::countr_zero(mask);
        const uint64_t most = mask >> shift;
        return static_cast<uint8_t>((uint64_t{(pixel & mask) >> shift} * 255 + most / 2) / most);
    }
};

struct Layout {
    uint32_t width = 0;
    uint32_t height = 0;
    bool topDown = false;
    uint32_t bits = 0;
    size_t pixels = 0;      // where the rows start
    size_t palette = 0;     // where the palette starts
    uint32_t colours = 0;   // in the palette
    size_t colourBytes = 4; // of a palette entry
    BitField blue, green, red;
};

void ReadBitFields(const Bytes &bytes, uint32_t compression, uint32_t headerSize, Layout &layout)
{
    if (compression == kBitFields || compression == kAlphaBitFields) {
        // After the first 40 bytes of the header, inside the longer headers too.
        layout.red.mask = bytes.Number(kFileHeader + 40, 4);
        layout.green.mask = bytes.Number(kFileHeader + 44, 4);
        layout.blue.mask = bytes.Number(kFileHeader + 48, 4);
    } else if (layout.bits == 16) {
        layout.red.mask = 0x7C00;
        layout.green.mask = 0x03E0;
        layout.blue.mask = 0x001F;
    } else {
        layout.red.mask = 0xFF0000;
        layout.green.mask = 0xFF00;
        layout.blue.mask = 0xFF;
    }
    layout.palette = kFileHeader + headerSize;
}

Layout ReadLayout(const Bytes &bytes)
{
    Layout layout;
    layout.pixels = bytes.Number(10, 4);
    const uint32_t headerSize = bytes.Number(14, 4);
    uint32_t compression = kUncompressed;
    if (headerSize == 12) { // the oldest form: 16-bit sizes and palettes without a fourth byte
        layout.width = bytes.Number(18, 2);
        layout.height = bytes.Number(20, 2);
        layout.bits = bytes.Number(24, 2);
        layout.colourBytes = 3;
    } else if (headerSize >= 40) {
        const auto width = static_cast<int32_t>(bytes.Number(18, 4));
        const auto height = static_cast<int32_t>(bytes.Number(22, 4));
        layout.width = width > 0 ? static_cast<uint32_t>(width) : 0;
        layout.topDown = height < 0;
        layout.height = static_cast<uint32_t>(std::llabs(int64_t{height}));
        layout.bits = bytes.Number(28, 2);
        compression = bytes.Number(30, 4);
        layout.colours = bytes.Number(46, 4);
    } else {
        throw Failure("this form of BMP is not known");
    }
    if (compression != kUncompressed && compression != kBitFields && compression != kAlphaBitFields)
        throw Failure("compressed BMP files can't be read");
    ReadBitFields(bytes, compression, headerSize, layout);
    if (layout.bits <= 8 && (layout.colours == 0 || layout.colours > 1u << layout.bits))
        layout.colours = 1u << layout.bits;
    if (layout.width == 0 || layout.height == 0 || uint64_t{layout.width} * layout.height > MostPixels())
        throw Failure("a BMP of this size can't be read (--memory allows more)");
    return layout;
}

void PutPixel(const Bytes &bytes, const Layout &layout, size_t row, uint32_t x, uint8_t *pixel)
{
    if (layout.bits <= 8) {
        const uint32_t perByte = 8 / layout.bits;
        const uint32_t shift = 8 - layout.bits * (x % perByte + 1);
        const uint32_t index = bytes.Number(row + x / perByte, 1) >> shift & ((1u << layout.bits) - 1);
        const size_t colour = layout.palette + index * layout.colourBytes;
        for (size_t i = 0; i < 3; ++i)
            pixel[i] = index < layout.colours ? static_cast<uint8_t>(bytes.Number(colour + i, 1)) : 0;
        return;
    }
    const int size = static_cast<int>(layout.bits / 8);
    const uint32_t number = bytes.Number(row + size_t{x} * static_cast<size_t>(size), size);
    pixel[0] = layout.blue.Of(number);
    pixel[1] = layout.green.Of(number);
    pixel[2] = layout.red.Of(number);
}

} // namespace

bool IsBmp(const std::vector<uint8_t> &file)
{
    return file.size() >= 2 && file[0] == 'B' && file[1] == 'M';
}

PixelImage DecodeBmp(const std::vector<uint8_t> &file)
{
    const Bytes bytes(file);
    const Layout layout = ReadLayout(bytes);
    switch (layout.bits) {
    case 1:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32:
        break;
    default:
        throw Failure("a BMP of " + std::to_string(layout.bits) + " bits can't be read");
    }
    const uint64_t rowBytes = (uint64_t{layout.width} * layout.bits + 31) / 32 * 4;
    // Before any memory is taken for what isn't there. The last row may lack its padding.
    const uint64_t lastRow = (uint64_t{layout.width} * layout.bits + 7) / 8;
    if (layout.pixels + rowBytes * (layout.height - 1) + lastRow > bytes.size())
        throw Failure("the BMP file is cut off");

    PixelImage image{layout.width, layout.height, {}};
    image.pixels.resize(size_t{layout.width} * layout.height * 4);
    for (uint32_t y = 0; y < layout.height; ++y) {
        if (InterruptNoted())
            throw Interrupted();
        const uint32_t line = layout.topDown ? y : layout.height - 1 - y;
        for (uint32_t x = 0; x < layout.width; ++x)
            PutPixel(bytes, layout, layout.pixels + rowBytes * line, x,
                     &image.pixels[(size_t{y} * layout.width + x) * 4]);
    }
    return image;
}

} // namespace tonekit::host
