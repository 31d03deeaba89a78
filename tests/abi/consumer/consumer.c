/* consumer.c: a caller in C uses every family of the installed library. */
#include <math.h>
#include <stdio.h>
#include <string.h>
#include <tonekit/tonekit.h>

static int failures = 0;

static void Check(const char *family, bool good)
{
    if (good)
        return;
    printf("%s: wrong\n", family);
    ++failures;
}

static void Convert(void)
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
    Check("convert", total >= 1087 && total <= 1090);
}

static void Encode(void)
{
    uint8_t digest[32];
    char *text = NULL;
    sha256((const uint8_t *)"abc", 3, digest);
    Check("encode, SHA-256", memcmp(digest, "\xba\x78\x16\xbf\x8f\x01\xcf\xea", 8) == 0);
    BASE64Encode("Man", 3, &text);
    Check("encode, Base64", text && strncmp(text, "TWFu", 4) == 0);
    BASE64FreeMem(text);
}

static void Frame(void)
{
    SetDSDPCMQuality(1);
    Check("frame", GetDSDPCMQuality() == 1);
}

static void Hdcd(void)
{
    int32_t samples[4] = {1, -1, 100, -32000};
    HdcdDecoder *decoder = hdcd_new();
    hdcd_process(decoder, samples, 2);
    Check("hdcd", samples[0] == 32768 && samples[3] == -32000 * 32768 && hdcd_detected(decoder) == 0);
    hdcd_free(decoder);
}

static void Image(void)
{
#ifdef _WIN32
    TonekitDeviceContext device = NULL;
#else
    TonekitDevice record = {0};
    TonekitDeviceContext device = &record;
#endif
    Check("image", CreateResampledBitmap(device, NULL, 8, 8, 7) == NULL); /* no source, no result */
}

static void Loudness(void)
{
    double samples[480];
    ReplayGainState *state = ReplayGain_Init(2, 48000);
    for (int i = 0; i < 480; ++i)
        samples[i] = i == 100 ? -0.5 : 0.25;
    ReplayGain_Process(state, samples, 240);
    Check("loudness", ReplayGain_GetPeak(state) == 0.5 && ReplayGain_GetSamples(state) == 240);
    ReplayGain_Deinit(state);
}

static void Tags(void)
{
    TagBlock *block = ID3Helper_Alloc();
    ID3Helper_AddStr(block, "TITLE", "Front centre");
    Check("tags, text", strcmp(ID3Helper_GetStr(block, "TITLE"), "Front centre") == 0);
    Check("tags, not a number", isnan(ID3Helper_GetFloat(block, "GAIN")));
    ID3Helper_Free(block);
}

int main(void)
{
    Convert();
    Encode();
    Frame();
    Hdcd();
    Image();
    Loudness();
    Tags();
    return failures;
}
