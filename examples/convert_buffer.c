/* convert_buffer.c: converts one second of 16-bit stereo from 44.1 to 96 kHz and 24 bits. */
#include <stdio.h>
#include <tonekit/tonekit.h>

int main(void)
{
    static int16_t input[2 * 44100]; /* your samples: left, right, left, ... */
    void *out;
    uint32_t frames, bytes, total = 0;

    /* format, bits, channels and rate of the input, the same of the output, dither, limiter, quality */
    void *converter = SRC4_Init(TONEKIT_FORMAT_INTEGER, 16, 2, 44100, TONEKIT_FORMAT_INTEGER, 24, 2, 96000,
                                false, true, 0, TONEKIT_QUALITY_28_BITS);
    SRC4_Write(converter, input, 44100);
    while (SRC4_Read(converter, &out, &frames, &bytes))
        total += frames; /* `bytes` bytes at `out` are yours until the next call */
    while (SRC4_Flush(converter, &out, &frames, &bytes))
        total += frames;
    SRC4_Deinit(converter);
    printf("44100 frames became %u\n", (unsigned)total);
    return total == 96000 ? 0 : 1;
}
