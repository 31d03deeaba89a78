// png_files.h: makes and reads PNG files with zlib alone, so that tests don't judge the host by itself.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tonekit::host::test {

using PngBytes = std::vector<uint8_t>;

struct PngChunk {
    std::string type;
    PngBytes data;
};

// The types of colour in a PNG's header.
inline constexpr uint8_t kPngGray = 0, kPngColour = 2, kPngIndexed = 3, kPngGrayAlpha = 4,
                         kPngColourAlpha = 6;

struct PngForm {
    uint32_t width = 1;
    uint32_t height = 1;
    uint8_t depth = 8;
    uint8_t type = kPngColour;
    bool interlaced = false;
    std::vector<PngChunk> chunks = {}; // between header and pixels
};

// The value of a sample: of colour or alpha `c` of the pixel.
using PngSamples = std::function<uint32_t(uint32_t x, uint32_t y, uint32_t c)>;

PngBytes Packed(const PngBytes &data);
// A file of one piece after another; the filters of the rows take turns.
PngBytes MakePng(const PngForm &form, const PngSamples &samples);
// A file of a header and these chunks, with their checksums.
PngBytes PngOfChunks(const std::vector<PngChunk> &chunks);
PngChunk PngHeader(const PngForm &form);

// A file of 8 bits a sample that isn't interlaced.
struct PngFile {
    uint32_t width = 0;
    uint32_t height = 0;
    uint8_t type = 0;
    uint32_t samplesOfPixel = 0;
    PngBytes samples;
    std::vector<std::array<uint8_t, 3>> palette;
    std::vector<PngChunk> chunks;

    uint8_t At(uint32_t x, uint32_t y, uint32_t c = 0) const
    {
        return samples[(size_t{y} * width + x) * samplesOfPixel + c];
    }
    // Red, green and blue of a pixel of any type.
    std::array<uint8_t, 3> Colour(uint32_t x, uint32_t y) const;
};

// Throws std::runtime_error if anything about the file is wrong.
PngFile ReadPng(const PngBytes &file);
PngFile ReadPng(const std::string &name);

} // namespace tonekit::host::test
