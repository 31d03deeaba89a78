/* consumer.c: a caller in C converts a buffer with the installed library. */
#include <stdio.h>
#include <tonekit/tonekit.h>

int main(void)
{
    int16_t input[2000] = {0};
    void *output = NULL;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    uint32_t total = 0;
    void *converter = SRC4_Init(0, 16, 2, 44100, 0, 24, 2, 48000, false, false, 0, 24);
    SRC4_Write(converter, input, 1000);
    while (SRC4_Read(converter, &output, &frames, &bytes))
        total += frames;
    while (SRC4_Flush(converter, &output, &frames, &bytes))
        total += frames;
    SRC4_Deinit(converter);
    printf("%u frames\n", (unsigned)total);
    return total >= 1087 && total <= 1090 ? 0 : 1;
}
