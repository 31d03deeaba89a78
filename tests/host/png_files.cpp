// png_files.cpp: chunks, checksums, filters and passes of PNG files.
#include "tests/host/png_files.h"

#include "tests/host/temporary_folder.h"

#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <zlib.h>

namespace tonekit::host::test {

namespace {

const PngBytes kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

void PutBig32(PngBytes &bytes, uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(number >> shift));
}

uint32_t Big32(const PngBytes &bytes, size_t place)
{
    uint32_t number = 0;
    for (size_t i = 0; i < 4; ++i)
        number = number << 8 | bytes.at(place + i);
    return number;
}

uint32_t SamplesOf(uint8_t type)
{
    constexpr uint32_t kSamples[] = {1, 0, 3, 1, 2, 0, 4};
    return kSamples[type];
}

uint8_t Paeth(int left, int up, int corner)
{
    const int guess = left + up - corner;
    const int a = std::abs(guess - left);
    const int b = std::abs(guess - up);
    const int c = std::abs(guess - corner);
    return static_cast<uint8_t>(a <= b && a <= c ? left : b <= c ? up : corner);
}

// What a filter takes a byte to be from its neighbours.
uint8_t Predicted(int filter, const PngBytes &row, const PngBytes &above, size_t i, size_t pixelBytes)
{
    const int left = i >= pixelBytes ? row[i - pixelBytes] : 0;
    const int up = above.empty() ? 0 : above[i];
    const int corner = i >= pixelBytes && !above.empty() ? above[i - pixelBytes] : 0;
    switch (filter) {
    case 0:
        return 0;
    case 1:
        return static_cast<uint8_t>(left);
    case 2:
        return static_cast<uint8_t>(up);
    case 3:
        return static_cast<uint8_t>((left + up) / 2);
    case 4:
        return Paeth(left, up, corner);
    default:
        throw std::runtime_error("a filter that there isn't");
    }
}

struct Pass {
    uint32_t x, y, dx, dy;
};

void PutPass(const PngForm &form, const PngSamples &samples, const Pass &pass, PngBytes &bytes)
{
    const uint32_t count = SamplesOf(form.type);
    const size_t pixelBytes = std::max<size_t>(1, count * form.depth / 8);
    PngBytes above;
    int filter = 0;
    for (uint32_t y = pass.y; y < form.height; y += pass.dy) {
        PngBytes row;
        uint32_t bits = 0;
        for (uint32_t x = pass.x; x < form.width; x += pass.dx) {
            for (uint32_t c = 0; c < count; ++c) {
                const uint32_t value = samples(x, y, c);
                if (form.depth == 16)
                    row.push_back(static_cast<uint8_t>(value >> 8));
                if (form.depth >= 8) {
                    row.push_back(static_cast<uint8_t>(value));
                    continue;
                }
                if (bits % 8 == 0)
                    row.push_back(0);
                row.back() = static_cast<uint8_t>(row.back() | value << (8 - form.depth - bits % 8));
                bits += form.depth;
            }
        }
        if (row.empty())
            return;
        bytes.push_back(static_cast<uint8_t>(filter));
        for (size_t i = 0; i < row.size(); ++i)
            bytes.push_back(static_cast<uint8_t>(row[i] - Predicted(filter, row, above, i, pixelBytes)));
        above = row;
        filter = (filter + 1) % 5;
    }
}

PngBytes Unpacked(const PngBytes &data, size_t size)
{
    PngBytes bytes(size + 1);
    uLongf got = static_cast<uLongf>(bytes.size());
    if (uncompress(bytes.data(), &got, data.data(), static_cast<uLong>(data.size())) != Z_OK || got != size)
        throw std::runtime_error("the pixels are broken, or of another size");
    bytes.resize(size);
    return bytes;
}

uint32_t Checksum(const PngChunk &chunk)
{
    uLong sum = crc32(0, reinterpret_cast<const Bytef *>(chunk.type.data()), 4);
    // Without bytes zlib takes it for a question about the start.
    if (!chunk.data.empty())
        sum = crc32(sum, chunk.data.data(), static_cast<uInt>(chunk.data.size()));
    return static_cast<uint32_t>(sum);
}

std::vector<PngChunk> ChunksOf(const PngBytes &file)
{
    if (!std::equal(kSignature.begin(), kSignature.end(), file.begin()))
        throw std::runtime_error("no PNG");
    std::vector<PngChunk> chunks;
    for (size_t place = 8; place < file.size();) {
        const size_t length = Big32(file, place);
        PngChunk chunk;
        chunk.type.assign(file.begin() + static_cast<ptrdiff_t>(place + 4),
                          file.begin() + static_cast<ptrdiff_t>(place + 8));
        if (place + 12 + length > file.size())
            throw std::runtime_error("cut off");
        chunk.data.assign(file.begin() + static_cast<ptrdiff_t>(place + 8),
                          file.begin() + static_cast<ptrdiff_t>(place + 8 + length));
        if (Checksum(chunk) != Big32(file, place + 8 + length))
            throw std::runtime_error("a bad checksum");
        chunks.push_back(chunk);
        place += 12 + length;
    }
    if (chunks.size() < 3 || chunks.front().type != "IHDR" || chunks.back().type != "IEND")
        throw std::runtime_error("chunks are missing");
    return chunks;
}

} // namespace

PngBytes Packed(const PngBytes &data)
{
    PngBytes packed(compressBound(static_cast<uLong>(data.size())));
    uLongf size = static_cast<uLongf>(packed.size());
    if (compress(packed.data(), &size, data.data(), static_cast<uLong>(data.size())) != Z_OK)
        throw std::runtime_error("packing failed");
    packed.resize(size);
    return packed;
}

PngChunk PngHeader(const PngForm &form)
{
    PngChunk chunk{"IHDR", {}};
    PutBig32(chunk.data, form.width);
    PutBig32(chunk.data, form.height);
    const auto interlaced = static_cast<uint8_t>(form.interlaced ? 1 : 0);
    chunk.data.insert(chunk.data.end(), {form.depth, form.type, 0, 0, interlaced});
    return chunk;
}

PngBytes PngOfChunks(const std::vector<PngChunk> &chunks)
{
    PngBytes file = kSignature;
    for (const PngChunk &chunk : chunks) {
        PutBig32(file, static_cast<uint32_t>(chunk.data.size()));
        file.insert(file.end(), chunk.type.begin(), chunk.type.end());
        file.insert(file.end(), chunk.data.begin(), chunk.data.end());
        PutBig32(file, Checksum(chunk));
    }
    return file;
}

PngBytes MakePng(const PngForm &form, const PngSamples &samples)
{
    PngBytes pixels;
    if (form.interlaced) {
        for (const Pass &pass : {Pass{0, 0, 8, 8}, Pass{4, 0, 8, 8}, Pass{0, 4, 4, 8}, Pass{2, 0, 4, 4},
                                 Pass{0, 2, 2, 4}, Pass{1, 0, 2, 2}, Pass{0, 1, 1, 2}})
            PutPass(form, samples, pass, pixels);
    } else {
        PutPass(form, samples, {0, 0, 1, 1}, pixels);
    }
    std::vector<PngChunk> chunks = {PngHeader(form)};
    chunks.insert(chunks.end(), form.chunks.begin(), form.chunks.end());
    chunks.push_back({"IDAT", Packed(pixels)});
    chunks.push_back({"IEND", {}});
    return PngOfChunks(chunks);
}

std::array<uint8_t, 3> PngFile::Colour(uint32_t x, uint32_t y) const
{
    if (type == kPngIndexed)
        return palette.at(At(x, y));
    if (samplesOfPixel < 3)
        return {At(x, y), At(x, y), At(x, y)};
    return {At(x, y, 0), At(x, y, 1), At(x, y, 2)};
}

PngFile ReadPng(const PngBytes &file)
{
    PngFile png;
    png.chunks = ChunksOf(file);
    const PngBytes &header = png.chunks.front().data;
    png.width = Big32(header, 0);
    png.height = Big32(header, 4);
    png.type = header.at(9);
    if (header.at(8) != 8 || header.at(12) != 0)
        throw std::runtime_error("another form of PNG than this reader's");
    png.samplesOfPixel = SamplesOf(png.type);
    PngBytes packed;
    for (const PngChunk &chunk : png.chunks) {
        if (chunk.type == "IDAT")
            packed.insert(packed.end(), chunk.data.begin(), chunk.data.end());
        for (size_t i = 0; chunk.type == "PLTE" && i + 2 < chunk.data.size(); i += 3)
            png.palette.push_back({chunk.data[i], chunk.data[i + 1], chunk.data[i + 2]});
    }
    const size_t rowBytes = size_t{png.width} * png.samplesOfPixel;
    const PngBytes filtered = Unpacked(packed, (rowBytes + 1) * png.height);
    PngBytes above;
    for (size_t y = 0; y < png.height; ++y) {
        const size_t start = y * (rowBytes + 1);
        PngBytes row;
        for (size_t i = 0; i < rowBytes; ++i)
            row.push_back(static_cast<uint8_t>(
                filtered[start + 1 + i] + Predicted(filtered[start], row, above, i, png.samplesOfPixel)));
        png.samples.insert(png.samples.end(), row.begin(), row.end());
        above = row;
    }
    return png;
}

PngFile ReadPng(const std::string &name)
{
    const std::string text = ReadText(name);
    return ReadPng(PngBytes(text.begin(), text.end()));
}

} // namespace tonekit::host::test
