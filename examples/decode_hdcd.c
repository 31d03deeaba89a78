/* decode_hdcd.c: finds HDCD in a file of raw 16-bit stereo samples and decodes it to raw 24-bit samples. */
#include <stdio.h>
#include <tonekit/tonekit.h>

enum { FRAMES = 4096 };

int main(int argc, char **argv)
{
    static int16_t samples[2 * FRAMES];
    static int32_t decoded[2 * FRAMES];
    void *block;
    uint32_t blockFrames, blockBytes, found = TONEKIT_HDCD_NONE;
    size_t frames;

    FILE *in = argc == 3 ? fopen(argv[1], "rb") : NULL;
    FILE *out = in ? fopen(argv[2], "wb") : NULL;
    HdcdDecoder *decoder = hdcd_new();
    if (!out || !decoder) {
        fprintf(stderr, "usage: decode_hdcd IN.raw OUT.raw\n");
        return 1;
    }
    while (found != TONEKIT_HDCD_USED && (frames = fread(samples, 4, FRAMES, in)) > 0)
        found = hdcd_scan16(decoder, samples, (int32_t)frames);
    printf("HDCD: %s\n", found == TONEKIT_HDCD_NONE    ? "none"
                         : found == TONEKIT_HDCD_CODES ? "codes only"
                                                       : "used");

    /* The decoder's samples have a scale of their own, which the converter knows by their format code. */
    void *converter = SRC4_Init(TONEKIT_FORMAT_HDCD, 32, 2, 44100, TONEKIT_FORMAT_INTEGER, 24, 2, 44100,
                                false, false, 0, TONEKIT_QUALITY_BEST);
    rewind(in);
    hdcd_reset(decoder); /* the scan has left it in the middle of the stream */
    while ((frames = fread(samples, 4, FRAMES, in)) > 0) {
        for (size_t i = 0; i < 2 * frames; ++i)
            decoded[i] = samples[i];
        hdcd_process(decoder, decoded, (int32_t)frames);
        SRC4_Write(converter, decoded, (uint32_t)frames);
        while (SRC4_Read(converter, &block, &blockFrames, &blockBytes))
            fwrite(block, 1, blockBytes, out);
    }
    while (SRC4_Flush(converter, &block, &blockFrames, &blockBytes))
        fwrite(block, 1, blockBytes, out);
    SRC4_Deinit(converter);
    hdcd_free(decoder);
    const bool failed = ferror(in) || ferror(out);
    fclose(in);
    return fclose(out) != 0 || failed;
}
