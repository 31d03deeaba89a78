/* stream_wav.c: converts a 16-bit stereo WAV file at 44.1 kHz to 24 bits at 96 kHz, a piece at a time. */
#include <stdio.h>
#include <string.h>
#include <tonekit/tonekit.h>

/* Writes the 44 bytes before the samples of a 24-bit stereo file at 96 kHz. */
static void write_header(FILE *file, uint32_t bytes)
{
    const uint32_t riff = bytes + 36, format = 16, rate = 96000, byteRate = 96000 * 6;
    const uint16_t pcm = 1, channels = 2, frameBytes = 6, bits = 24;
    fwrite("RIFF", 1, 4, file), fwrite(&riff, 4, 1, file), fwrite("WAVEfmt ", 1, 8, file);
    fwrite(&format, 4, 1, file), fwrite(&pcm, 2, 1, file), fwrite(&channels, 2, 1, file);
    fwrite(&rate, 4, 1, file), fwrite(&byteRate, 4, 1, file), fwrite(&frameBytes, 2, 1, file);
    fwrite(&bits, 2, 1, file), fwrite("data", 1, 4, file), fwrite(&bytes, 4, 1, file);
}

int main(int argc, char **argv)
{
    uint8_t header[44], buffer[4096 * 4]; /* a frame of input is 4 bytes */
    void *block;
    uint32_t blockFrames, blockBytes;
    size_t frames, total = 0;

    FILE *in = argc == 3 ? fopen(argv[1], "rb") : NULL;
    FILE *out = in ? fopen(argv[2], "wb") : NULL;
    if (!out || fread(header, 1, 44, in) != 44 || memcmp(header + 36, "data", 4) != 0) {
        fprintf(stderr, "usage: stream_wav IN.wav OUT.wav, IN with 16 bits, stereo, 44100 Hz\n");
        return 1;
    }
    write_header(out, 0);
    void *converter = SRC4_Init(TONEKIT_FORMAT_INTEGER, 16, 2, 44100, TONEKIT_FORMAT_INTEGER, 24, 2, 96000,
                                false, false, 0, TONEKIT_QUALITY_BEST);
    while ((frames = fread(buffer, 4, 4096, in)) > 0) {
        SRC4_Write(converter, buffer, (uint32_t)frames);
        while (SRC4_Read(converter, &block, &blockFrames, &blockBytes))
            total += fwrite(block, 1, blockBytes, out);
    }
    while (SRC4_Flush(converter, &block, &blockFrames, &blockBytes))
        total += fwrite(block, 1, blockBytes, out);
    SRC4_Deinit(converter);

    rewind(out);
    write_header(out, (uint32_t)total); /* now that it is known */
    const bool failed = ferror(in) || ferror(out);
    fclose(in);
    return fclose(out) != 0 || failed;
}
