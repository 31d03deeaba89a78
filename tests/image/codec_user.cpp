// codec_user.cpp: encodes and decodes with the JPEG library whose header CODEC_HEADER names.
#include "tests/image/codec_user.h"

#include <cstdlib>
#include <stdio.h>

#include CODEC_HEADER

namespace CODEC_USER {

std::vector<uint8_t> Encode(const std::vector<uint8_t> &rgb, unsigned width)
{
    jpeg_error_mgr errors;
    jpeg_compress_struct object;
    object.err = jpeg_std_error(&errors);
    jpeg_create_compress(&object);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&object, &data, &size);
    object.image_width = width;
    object.image_height = static_cast<unsigned>(rgb.size() / 3 / width);
    object.input_components = 3;
    object.in_color_space = JCS_RGB;
    jpeg_set_defaults(&object);
    jpeg_set_quality(&object, 90, TRUE);
    jpeg_start_compress(&object, TRUE);
    while (object.next_scanline < object.image_height) {
        auto *row = const_cast<JSAMPROW>(rgb.data() + object.next_scanline * width * 3);
        jpeg_write_scanlines(&object, &row, 1);
    }
    jpeg_finish_compress(&object);
    jpeg_destroy_compress(&object);
    const std::vector<uint8_t> file(data, data + size);
    std::free(data);
    return file;
}

std::vector<uint8_t> Decode(const std::vector<uint8_t> &file)
{
    jpeg_error_mgr errors;
    jpeg_decompress_struct object;
    object.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&object);
    jpeg_mem_src(&object, const_cast<unsigned char *>(file.data()), file.size());
    jpeg_read_header(&object, TRUE);
    jpeg_start_decompress(&object);
    std::vector<uint8_t> rgb(size_t{object.output_width} * object.output_height * 3);
    while (object.output_scanline < object.output_height) {
        JSAMPROW row = rgb.data() + size_t{object.output_scanline} * object.output_width * 3;
        jpeg_read_scanlines(&object, &row, 1);
    }
    jpeg_finish_decompress(&object);
    jpeg_destroy_decompress(&object);
    return rgb;
}

int Version()
{
    return JPEG_LIB_VERSION;
}

int LastMessage()
{
    jpeg_error_mgr errors;
    return jpeg_std_error(&errors)->last_jpeg_message;
}

} // namespace CODEC_USER
