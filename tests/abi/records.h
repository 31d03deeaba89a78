/* records.h: the records that callers share with the library, as version 1.0 lays them out: sizes, and type
 * and offset of each field. Frozen: a later version adds records and changes none. */
#ifndef TONEKIT_TESTS_ABI_RECORDS_H
#define TONEKIT_TESTS_ABI_RECORDS_H

#include <assert.h>
#include <stddef.h>
#include <tonekit/convert.h>
#include <tonekit/encode.h>
#include <tonekit/image.h>
#include <tonekit/tags.h>

#ifdef __cplusplus
    #include <type_traits>
    #define SAME_TYPE(record, field, ...) std::is_same_v<decltype(record::field), __VA_ARGS__>
    // offsetof of a class with a base is conditionally supported; GCC and Clang support it.
    #pragma GCC diagnostic ignored "-Winvalid-offsetof"
#else
    #define SAME_TYPE(record, field, ...)                                                                    \
        __builtin_types_compatible_p(__typeof__(((record *)0)->field), __VA_ARGS__)
#endif
#define RECORD(record, bytes) static_assert(sizeof(record) == (bytes), #record " has another size");
#define FIELD(record, field, type, offset)                                                                   \
    static_assert(offsetof(record, field) == (offset), #record "." #field " has another place");             \
    static_assert(SAME_TYPE(record, field, type), #record "." #field " has another type");

// clang-format off
static_assert(sizeof(bool) == 1, "bool is a byte");
static_assert(sizeof(tonekit_char16) == 2, "a UTF-16 unit is two bytes");

RECORD(TagBlockItem, 36)
FIELD(TagBlockItem, key, const char *, 0)
FIELD(TagBlockItem, value, const char *, 8)
FIELD(TagBlockItem, dword, uint32_t, 16)
FIELD(TagBlockItem, ulonglong, uint64_t, 20)
FIELD(TagBlockItem, floatValue, float, 28)
FIELD(TagBlockItem, cursor, uint32_t, 32)

RECORD(TagBlockPicture, 28)
FIELD(TagBlockPicture, type, int32_t, 0)
FIELD(TagBlockPicture, mime, const char *, 4)
FIELD(TagBlockPicture, size, uint32_t, 12)
FIELD(TagBlockPicture, data, const uint8_t *, 16)
FIELD(TagBlockPicture, cursor, uint32_t, 24)

RECORD(Sha256Context, 168)
FIELD(Sha256Context, total_length, uint32_t, 0)
FIELD(Sha256Context, length, uint32_t, 4)
FIELD(Sha256Context, block, uint8_t[128], 8)
FIELD(Sha256Context, state, uint32_t[8], 136)

RECORD(Sha512Context, 328)
FIELD(Sha512Context, total_length, uint32_t, 0)
FIELD(Sha512Context, length, uint32_t, 4)
FIELD(Sha512Context, block, uint8_t[256], 8)
FIELD(Sha512Context, state, uint64_t[8], 264)

RECORD(HmacSha256Context, 800)
FIELD(HmacSha256Context, inner, Sha256Context, 0)
FIELD(HmacSha256Context, outer, Sha256Context, 168)
FIELD(HmacSha256Context, inner_saved, Sha256Context, 336)
FIELD(HmacSha256Context, outer_saved, Sha256Context, 504)
FIELD(HmacSha256Context, ipad, uint8_t[64], 672)
FIELD(HmacSha256Context, opad, uint8_t[64], 736)

RECORD(HmacSha512Context, 1568)
FIELD(HmacSha512Context, inner, Sha512Context, 0)
FIELD(HmacSha512Context, outer, Sha512Context, 328)
FIELD(HmacSha512Context, inner_saved, Sha512Context, 656)
FIELD(HmacSha512Context, outer_saved, Sha512Context, 984)
FIELD(HmacSha512Context, ipad, uint8_t[128], 1312)
FIELD(HmacSha512Context, opad, uint8_t[128], 1440)

RECORD(TonekitBitmapDescription, 12)
FIELD(TonekitBitmapDescription, width, int32_t, 0)
FIELD(TonekitBitmapDescription, height, int32_t, 4)
FIELD(TonekitBitmapDescription, planes, uint16_t, 8)
FIELD(TonekitBitmapDescription, bitsPerPixel, uint16_t, 10)

RECORD(TonekitBitmapHeader, 40)
FIELD(TonekitBitmapHeader, size, uint32_t, 0)
FIELD(TonekitBitmapHeader, width, int32_t, 4)
FIELD(TonekitBitmapHeader, height, int32_t, 8)
FIELD(TonekitBitmapHeader, planes, uint16_t, 12)
FIELD(TonekitBitmapHeader, bitCount, uint16_t, 14)
FIELD(TonekitBitmapHeader, compression, uint32_t, 16)
FIELD(TonekitBitmapHeader, imageSize, uint32_t, 20)
FIELD(TonekitBitmapHeader, xPelsPerMeter, int32_t, 24)
FIELD(TonekitBitmapHeader, yPelsPerMeter, int32_t, 28)
FIELD(TonekitBitmapHeader, colorsUsed, uint32_t, 32)
FIELD(TonekitBitmapHeader, colorsImportant, uint32_t, 36)

#ifndef _WIN32
RECORD(TonekitDevice, 40)
FIELD(TonekitDevice, getObject, int32_t (*)(TonekitDevice *, void *, TonekitBitmapDescription *), 0)
FIELD(TonekitDevice, createCompatibleBitmap, void *(*)(TonekitDevice *, int32_t, int32_t), 8)
FIELD(TonekitDevice, getDIBits, int32_t (*)(TonekitDevice *, void *, uint32_t, uint32_t, void *, const TonekitBitmapHeader *, uint32_t), 16)
FIELD(TonekitDevice, setDIBits, int32_t (*)(TonekitDevice *, void *, uint32_t, uint32_t, const void *, const TonekitBitmapHeader *, uint32_t), 24)
FIELD(TonekitDevice, deleteObject, void (*)(TonekitDevice *, void *), 32)
#endif

#ifdef __cplusplus
RECORD(tonekit::Biquad, 72)
FIELD(tonekit::Biquad, b0, double, 0)
FIELD(tonekit::Biquad, b1, double, 8)
FIELD(tonekit::Biquad, b2, double, 16)
FIELD(tonekit::Biquad, a1, double, 24)
FIELD(tonekit::Biquad, a2, double, 32)
FIELD(tonekit::Biquad, x1, double, 40)
FIELD(tonekit::Biquad, x2, double, 48)
FIELD(tonekit::Biquad, y1, double, 56)
FIELD(tonekit::Biquad, y2, double, 64)

RECORD(CSampleRateConverter3, 360)
FIELD(CSampleRateConverter3, autoLimitRequested, bool, 0)
FIELD(CSampleRateConverter3, mixLimiterGainDouble, double, 8)
FIELD(CSampleRateConverter3, mixLimiterGainFloat, float, 16)
FIELD(CSampleRateConverter3, extrapolationHistoryFrames, uint32_t, 20)
FIELD(CSampleRateConverter3, firstBlockDone, bool, 24)
FIELD(CSampleRateConverter3, lastBlockDone, bool, 25)
FIELD(CSampleRateConverter3, inputEdgeFrames, uint32_t, 28)
FIELD(CSampleRateConverter3, outputEdgeFrames, uint32_t, 32)
FIELD(CSampleRateConverter3, pendingSkipFrames, uint32_t, 36)
FIELD(CSampleRateConverter3, lfeLowPass, tonekit::Biquad, 40)
FIELD(CSampleRateConverter3, useDoublePath, bool, 112)
FIELD(CSampleRateConverter3, inputFormat, uint32_t, 116)
FIELD(CSampleRateConverter3, inputBits, uint32_t, 120)
FIELD(CSampleRateConverter3, outputBits, uint32_t, 124)
FIELD(CSampleRateConverter3, inputChannels, uint32_t, 128)
FIELD(CSampleRateConverter3, outputFormat, uint32_t, 132)
FIELD(CSampleRateConverter3, outputChannels, uint32_t, 136)
FIELD(CSampleRateConverter3, inputRate, uint32_t, 140)
FIELD(CSampleRateConverter3, outputRate, uint32_t, 144)
FIELD(CSampleRateConverter3, workInputDouble, double *, 152)
FIELD(CSampleRateConverter3, workInputFloat, float *, 160)
FIELD(CSampleRateConverter3, stageFloat, float *, 168)
FIELD(CSampleRateConverter3, stageFloatBase, float *, 176)
FIELD(CSampleRateConverter3, stageDouble, double *, 184)
FIELD(CSampleRateConverter3, stageDoubleBase, double *, 192)
FIELD(CSampleRateConverter3, blockFrames, uint32_t, 200)
FIELD(CSampleRateConverter3, workOutputDouble, double *, 208)
FIELD(CSampleRateConverter3, workOutputFloat, float *, 216)
FIELD(CSampleRateConverter3, resamplerOutputFrames, uint32_t, 224)
FIELD(CSampleRateConverter3, resampler, struct soxr *, 232)
FIELD(CSampleRateConverter3, resamplerActive, bool, 240)
FIELD(CSampleRateConverter3, resamplerDrained, bool, 241)
FIELD(CSampleRateConverter3, inputBuffer, void *, 248)
FIELD(CSampleRateConverter3, outputBuffer, void *, 256)
FIELD(CSampleRateConverter3, heldOutputFrames, uint32_t, 264)
FIELD(CSampleRateConverter3, inputFrameBytes, uint32_t, 268)
FIELD(CSampleRateConverter3, outputFrameBytes, uint32_t, 272)
FIELD(CSampleRateConverter3, mixRows, uint32_t, 276)
FIELD(CSampleRateConverter3, mixColumns, uint32_t, 280)
FIELD(CSampleRateConverter3, mixCanOverflow, bool, 284)
FIELD(CSampleRateConverter3, mixLimiterOn, bool, 285)
FIELD(CSampleRateConverter3, ditherActive, bool, 286)
FIELD(CSampleRateConverter3, finished, bool, 287)
FIELD(CSampleRateConverter3, mixMatrixDouble, const double (*)[8], 288)
FIELD(CSampleRateConverter3, mixMatrixFloat, const float (*)[8], 296)
FIELD(CSampleRateConverter3, floatDithers, tonekit::FloatDither *, 304)
FIELD(CSampleRateConverter3, doubleDithers, tonekit::DoubleDither *, 312)
FIELD(CSampleRateConverter3, ditherScale, double, 320)
FIELD(CSampleRateConverter3, loadDouble, tonekit::LoadDoubleKernel, 328)
FIELD(CSampleRateConverter3, loadFloat, tonekit::LoadFloatKernel, 336)
FIELD(CSampleRateConverter3, storeDouble, tonekit::StoreDoubleKernel, 344)
FIELD(CSampleRateConverter3, storeFloat, tonekit::StoreFloatKernel, 352)

RECORD(CSampleRateConverter4, 400)
FIELD(CSampleRateConverter4, readFrameBytes, uint32_t, 360)
FIELD(CSampleRateConverter4, readOutputFrameBytes, uint32_t, 364)
FIELD(CSampleRateConverter4, writeData, const void *, 368)
FIELD(CSampleRateConverter4, writeConsumed, uint32_t, 376)
FIELD(CSampleRateConverter4, writeRemaining, uint32_t, 380)
FIELD(CSampleRateConverter4, blockFill, uint32_t, 384)
FIELD(CSampleRateConverter4, totalFramesIn, uint32_t, 388)
FIELD(CSampleRateConverter4, totalFramesOut, uint32_t, 392)
#endif
// clang-format on

#endif
