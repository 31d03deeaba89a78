/* jpeg_hooks.c: writes a JPEG image to memory and reads it again, through hooks in place of files. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tonekit/codec/jpeglib.h>
#include <tonekit/tonekit.h>

/* What the hooks get as their stream. */
struct memory {
    uint8_t bytes[65536];
    size_t used, place;
};

static size_t read_memory(void *buffer, size_t size, size_t count, void *stream)
{
    struct memory *memory = stream;
    const size_t left = (memory->used - memory->place) / size;
    if (count > left)
        count = left;
    memcpy(buffer, memory->bytes + memory->place, count * size);
    memory->place += count * size;
    return count;
}

static size_t write_memory(const void *buffer, size_t size, size_t count, void *stream)
{
    struct memory *memory = stream;
    if (count * size > sizeof memory->bytes - memory->used)
        return 0; /* the codec ends with an error */
    memcpy(memory->bytes + memory->used, buffer, count * size);
    memory->used += count * size;
    return count;
}

int main(void)
{
    static struct memory memory;
    static uint8_t row[3 * 64];
    JSAMPROW rows[1] = {row};
    struct jpeg_error_mgr errors;
    struct jpeg_compress_struct encoder;
    struct jpeg_decompress_struct decoder;

    JPEG_Init(read_memory, write_memory); /* once in a process */

    encoder.err = jpeg_std_error(&errors); /* its error_exit prints the message and calls exit */
    jpeg_create_compress(&encoder);
    jpeg_stdio_dest(&encoder, (FILE *)&memory); /* handed to the hooks as it is */
    encoder.image_width = encoder.image_height = 64;
    encoder.input_components = 3;
    encoder.in_color_space = JCS_RGB;
    jpeg_set_defaults(&encoder);
    jpeg_set_quality(&encoder, 90, TRUE);
    jpeg_start_compress(&encoder, TRUE);
    memset(row, 100, sizeof row);
    while (encoder.next_scanline < encoder.image_height)
        jpeg_write_scanlines(&encoder, rows, 1);
    jpeg_finish_compress(&encoder);
    jpeg_destroy_compress(&encoder);

    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_stdio_src(&decoder, (FILE *)&memory);
    jpeg_read_header(&decoder, TRUE);
    jpeg_start_decompress(&decoder);
    jpeg_read_scanlines(&decoder, rows, 1);
    printf("%u bytes, %u x %u, first byte %d\n", (unsigned)memory.used, decoder.output_width,
           decoder.output_height, row[0]);
    const int wrong = abs(row[0] - 100) > 2 || decoder.output_width != 64;
    jpeg_abort_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return wrong;
}
