// jpeg_picture.cpp: the codec's calling order, with its errors turned into ours.
#include "host/pictures/jpeg_picture.h"

#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/platform.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>
#include <tonekit/codec/jpeglib.h>
#include <tonekit/image.h>
#include <utility>

namespace tonekit::host {

namespace {

// The codec leaves by a jump over its own C code, so nothing with a destructor may exist between setjmp and
// the calls.
struct ErrorManager {
    jpeg_error_mgr base;
    jpeg_progress_mgr progress;
    std::jmp_buf back;
    char message[JMSG_LENGTH_MAX];
};

void LeaveCodec(j_common_ptr codec)
{
    auto *manager = reinterpret_cast<ErrorManager *>(codec->err);
    manager->base.format_message(codec, manager->message);
    std::longjmp(manager->back, 1);
}

// Damaged data that the codec can work around is not worth a word.
void SayNothing(j_common_ptr) {}

// Runs for every row of blocks of every scan. A progressive picture may repeat its scans without end.
void WatchWork(j_common_ptr codec)
{
    constexpr int kMostScans = 200;
    auto *manager = reinterpret_cast<ErrorManager *>(codec->err);
    const bool tooMany =
        codec->is_decompressor && reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMostScans;
    if (!tooMany && !InterruptNoted())
        return;
    std::strcpy(manager->message, tooMany ? "a JPEG of so many scans can't be read" : "interrupted");
    std::longjmp(manager->back, 1);
}

void Prepare(ErrorManager &manager, jpeg_error_mgr *&slot)
{
    manager.progress.progress_monitor = WatchWork;
    slot = jpeg_std_error(&manager.base);
    manager.base.error_exit = LeaveCodec;
    manager.base.output_message = SayNothing;
}

// A file in memory as the codec's stream.
struct MemoryStream {
    const uint8_t *next = nullptr; // to be read
    size_t left = 0;
    std::vector<uint8_t> written;
};

size_t ReadMemory(void *buffer, size_t size, size_t count, void *handle)
{
    auto *stream = static_cast<MemoryStream *>(handle);
    const size_t bytes = std::min(size * count, stream->left);
    std::memcpy(buffer, stream->next, bytes);
    stream->next += bytes;
    stream->left -= bytes;
    return bytes / size;
}

size_t WriteMemory(const void *buffer, size_t size, size_t count, void *handle)
{
    auto *stream = static_cast<MemoryStream *>(handle);
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    // No exception may pass through the codec; a short count is its own way to say it.
    try {
        stream->written.insert(stream->written.end(), bytes, bytes + size * count);
        return count;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

// The codec declares its streams as files and passes them to the hooks as they are.
FILE *HandleOf(MemoryStream &stream)
{
    static const bool hooked = [] {
        JPEG_Init(ReadMemory, WriteMemory);
        return true;
    }();
    return hooked ? reinterpret_cast<FILE *>(&stream) : nullptr;
}

// Opens the picture for decoding and reads its header; false with the manager's message on failure.
bool ReadHeader(jpeg_decompress_struct &codec, ErrorManager &manager, FILE *stream)
{
    if (setjmp(manager.back))
        return false;
    jpeg_create_decompress(&codec);
    codec.progress = &manager.progress;
    jpeg_stdio_src(&codec, stream);
    jpeg_read_header(&codec, TRUE);
    return true;
}

// Chooses size and colours of the result; false with the manager's message on failure.
bool ChooseOutput(jpeg_decompress_struct &codec, ErrorManager &manager, uint32_t size)
{
    if (setjmp(manager.back))
        return false;
    const uint32_t longer = std::max(codec.image_width, codec.image_height);
    codec.scale_num = 1;
    codec.scale_denom = 1;
    while (size > 0 && codec.scale_denom < 8 && longer / (codec.scale_denom * 2) >= size * 2)
        codec.scale_denom *= 2;
    const bool ink = codec.jpeg_color_space == JCS_CMYK || codec.jpeg_color_space == JCS_YCCK;
    codec.out_color_space = ink ? JCS_CMYK : JCS_EXT_BGRX;
    jpeg_calc_output_dimensions(&codec);
    return true;
}

bool ReadRows(jpeg_decompress_struct &codec, ErrorManager &manager, uint8_t *pixels)
{
    if (setjmp(manager.back))
        return false;
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW row = pixels + size_t{codec.output_scanline} * codec.output_width * 4;
        jpeg_read_scanlines(&codec, &row, 1);
    }
    jpeg_finish_decompress(&codec);
    return true;
}

// The decoded rows, and the coefficients of pictures that come in several scans, which the codec keeps whole.
// Pictures that are decoded smaller than they are still take time by their own size.
bool NeedsTooMuch(jpeg_decompress_struct &codec)
{
    constexpr uint64_t kMostSmaller = 16;
    const uint64_t pixels = uint64_t{codec.image_width} * codec.image_height;
    const bool keepsCoefficients = jpeg_has_multiple_scans(&codec);
    uint64_t coefficients = 0;
    for (int i = 0; keepsCoefficients && i < codec.num_components; ++i) {
        const jpeg_component_info &part = codec.comp_info[i];
        coefficients += uint64_t{part.width_in_blocks} * part.height_in_blocks * DCTSIZE2;
    }
    return uint64_t{codec.output_width} * codec.output_height > MostPixels() ||
           pixels > MostPixels() * kMostSmaller || coefficients * sizeof(JCOEF) > MemoryLimit() * 3 / 8;
}

// Pictures for print say how much ink; those of the common maker say how much is left out.
void InkToLight(PixelImage &image, bool inverted)
{
    for (size_t i = 0; i < image.pixels.size(); i += 4) {
        uint8_t *pixel = &image.pixels[i];
        uint32_t light[4];
        for (size_t c = 0; c < 4; ++c)
            light[c] = inverted ? pixel[c] : 255u - pixel[c];
        const auto mixed = [&](size_t c) { return static_cast<uint8_t>((light[c] * light[3] + 127) / 255); };
        const uint8_t colours[3] = {mixed(2), mixed(1), mixed(0)};
        std::memcpy(pixel, colours, 3);
        pixel[3] = 0;
    }
}

// A decoder on a file in memory, from its header to the end of a scope.
struct Decoder {
    MemoryStream stream;
    jpeg_decompress_struct codec{};
    ErrorManager manager{};

    // Once the constructor that it goes on to has returned, a failure runs the destructor.
    explicit Decoder(const std::vector<uint8_t> &file) : Decoder(file.data(), file.size())
    {
        if (!ReadHeader(codec, manager, HandleOf(stream)))
            Fail();
    }
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    ~Decoder() { jpeg_destroy_decompress(&codec); }

    [[noreturn]] void Fail()
    {
        if (InterruptNoted())
            throw Interrupted();
        throw Failure(manager.message);
    }

private:
    Decoder(const uint8_t *file, size_t bytes) : stream{file, bytes, {}} { Prepare(manager, codec.err); }
};

bool Encode(jpeg_compress_struct &codec, ErrorManager &manager, const PixelImage &image, int quality,
            FILE *stream)
{
    if (setjmp(manager.back))
        return false;
    jpeg_create_compress(&codec);
    codec.progress = &manager.progress;
    jpeg_stdio_dest(&codec, stream);
    codec.image_width = image.width;
    codec.image_height = image.height;
    codec.input_components = 4;
    codec.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW row =
            const_cast<uint8_t *>(image.pixels.data()) + size_t{codec.next_scanline} * image.width * 4;
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    return true;
}

} // namespace

bool IsJpeg(const std::vector<uint8_t> &file)
{
    return file.size() >= 2 && file[0] == 0xFF && file[1] == 0xD8;
}

PictureSize SizeOfJpeg(const std::vector<uint8_t> &file)
{
    const Decoder decoder(file);
    return {decoder.codec.image_width, decoder.codec.image_height};
}

PixelImage DecodeJpeg(const std::vector<uint8_t> &file, uint32_t size)
{
    Decoder decoder(file);
    jpeg_decompress_struct &codec = decoder.codec;
    if (!ChooseOutput(codec, decoder.manager, size))
        decoder.Fail();
    if (NeedsTooMuch(codec))
        throw Failure("a JPEG of this size can't be read (--memory allows more)");
    PixelImage image{codec.output_width, codec.output_height, {}};
    image.pixels.resize(size_t{image.width} * image.height * 4);
    const bool ink = codec.out_color_space == JCS_CMYK;
    const bool inverted = codec.saw_Adobe_marker;
    if (!ReadRows(codec, decoder.manager, image.pixels.data()))
        decoder.Fail();
    if (ink)
        InkToLight(image, inverted);
    return image;
}

std::vector<uint8_t> EncodeJpeg(const PixelImage &image, int quality)
{
    MemoryStream stream;
    jpeg_compress_struct codec{};
    ErrorManager manager{};
    Prepare(manager, codec.err);
    const bool done = Encode(codec, manager, image, quality, HandleOf(stream));
    jpeg_destroy_compress(&codec);
    if (InterruptNoted())
        throw Interrupted();
    if (!done)
        throw Failure(manager.message);
    return std::move(stream.written);
}

} // namespace tonekit::host
