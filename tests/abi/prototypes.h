/* prototypes.h: the exported functions of version 1.0, declared once more; a public header that declares one
 * of them differently does not compile next to it. Frozen: a later version adds rows and changes none. */
#ifndef TONEKIT_TESTS_ABI_PROTOTYPES_H
#define TONEKIT_TESTS_ABI_PROTOTYPES_H

#include <tonekit/convert.h>
#include <tonekit/encode.h>
#include <tonekit/frame.h>
#include <tonekit/hdcd.h>
#include <tonekit/image.h>
#include <tonekit/loudness.h>
#include <tonekit/tags.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef _WIN32
typedef wchar_t FrozenUnit;
typedef HDC FrozenDevice;
typedef HBITMAP FrozenBitmap;
#else
typedef char16_t FrozenUnit;
typedef TonekitDevice *FrozenDevice;
typedef void *FrozenBitmap;
#endif
typedef double (*TonekitKernel)(double);
typedef size_t (*TonekitReadHook)(void *, size_t, size_t, void *);
typedef size_t (*TonekitWriteHook)(const void *, size_t, size_t, void *);

/* frame.h */
void SetSampleRateConverterParameters2(uint32_t mode, uint8_t aliasing);
void SetDitherParameters(uint32_t enable, uint32_t mode);
void SetDSDPCMQuality(uint32_t quality);
uint32_t GetDSDPCMQuality(void);
void SetDSDPCMGain(uint32_t gain);
uint32_t GetDSDPCMGain(void);
void SetHDCDGain(uint32_t gain);
uint32_t GetHDCDGain(void);
void XHEAAC_DRC_Enable(uint8_t enable);
uint32_t XHEAAC_DRC_Enabled(void);
void XHEAAC_DRC_Set_Loudness(uint32_t loudness);
uint32_t XHEAAC_DRC_Get_Loudness(void);
void XHEAAC_DRC_Set_Effect(uint32_t effect);
uint32_t XHEAAC_DRC_Get_Effect(void);
void InitializeUltraHD(void);
void SetUltraHDQuality(void);
void ffmpeg_global_lock(void);
void ffmpeg_global_unlock(void);
uint32_t DetectEbml(const FrozenUnit *path);

/* convert.h */
void *SRC4_Init(uint32_t inputFormat, uint32_t inputBits, uint32_t inputChannels, uint32_t inputRate,
                uint32_t outputFormat, uint32_t outputBits, uint32_t outputChannels, uint32_t outputRate,
                bool dither, bool autoLimit, uint32_t qualityLow, uint32_t qualityHigh);
void SRC4_Write(void *handle, const void *data, uint32_t frames);
uint32_t SRC4_Read(void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes);
uint32_t SRC4_Flush(void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes);
void SRC4_Deinit(void *handle);
void ChangeChannelOrder(uint8_t *audio, uint32_t frames, uint32_t bits, uint32_t channels,
                        const uint8_t *map);

/* hdcd.h */
HdcdDecoder *hdcd_new(void);
void hdcd_reset(HdcdDecoder *decoder);
void hdcd_process(HdcdDecoder *decoder, int32_t *samples, int32_t frames);
uint32_t hdcd_scan(HdcdDecoder *decoder, const int32_t *samples, int32_t frames);
uint32_t hdcd_scan16(HdcdDecoder *decoder, const int16_t *samples, int32_t frames);
void hdcd_free(HdcdDecoder *decoder);
uint32_t hdcd_detected(const HdcdDecoder *decoder);

/* loudness.h */
ReplayGainState *ReplayGain_Init(uint32_t channels, uint32_t sampleRate);
ReplayGainState *ReplayGain_Init_TruePeak(uint32_t channels, uint32_t sampleRate);
void ReplayGain_Change(ReplayGainState *state, uint32_t channels, uint32_t sampleRate);
void ReplayGain_Process(ReplayGainState *state, const double *samples, uint32_t frames);
double ReplayGain_GetLoudness(ReplayGainState *state);
double ReplayGain_GetPeak(ReplayGainState *state);
uint64_t ReplayGain_GetSamples(ReplayGainState *state);
void ReplayGain_Deinit(ReplayGainState *state);

/* tags.h */
TagBlock *ID3Helper_Alloc(void);
void ID3Helper_Free(TagBlock *block);
TagBlock *ID3Helper_Copy(const TagBlock *block);
void ID3Helper_AddStr(TagBlock *block, const char *key, const char *value);
void ID3Helper_AddStrUnicode(TagBlock *block, const FrozenUnit *key, const FrozenUnit *value);
void ID3Helper_AddStrAnsi(TagBlock *block, const char *key, const char *value);
const char *ID3Helper_GetStr(const TagBlock *block, const char *key);
void ID3Helper_AddDword(TagBlock *block, const char *key, uint32_t number);
uint32_t ID3Helper_GetDword(const TagBlock *block, const char *key);
void ID3Helper_AddULongLong(TagBlock *block, const char *key, uint64_t number);
uint64_t ID3Helper_GetULongLong(const TagBlock *block, const char *key);
void ID3Helper_AddFloat(TagBlock *block, const char *key, float number);
float ID3Helper_GetFloat(const TagBlock *block, const char *key);
float ID3Helper_GetNaN(void);
bool ID3Helper_IsNaN(float number);
bool ID3Helper_GetFirst(const TagBlock *block, TagBlockItem *item);
bool ID3Helper_GetNext(const TagBlock *block, TagBlockItem *item);
void ID3Helper_AddImage(TagBlock *block, const char *mime, uint32_t type, uint32_t size, const void *data);
const uint8_t *ID3Helper_GetImage(const TagBlock *block, uint32_t type, const char **mime, uint32_t *size);
bool ID3Helper_GetFirstImage(const TagBlock *block, TagBlockPicture *picture);
bool ID3Helper_GetNextImage(const TagBlock *block, TagBlockPicture *picture);
void ID3Helper_AddChapter(TagBlock *block, uint32_t number, uint64_t position, const FrozenUnit *name);
void ID3Helper_AddChapter_UTF8(TagBlock *block, uint32_t number, uint64_t position, const char *name);
void ID3Helper_SetChapterTotal(TagBlock *block, uint64_t total);
uint64_t ID3Helper_GetChapterTotal(const TagBlock *block);
uint32_t ID3Helper_GetChapterCount_Position(const TagBlock *block);
uint32_t ID3Helper_GetChapterCount_Name(const TagBlock *block);
uint64_t ID3Helper_GetChapter_Position(const TagBlock *block, int32_t number);
const char *ID3Helper_GetChapter_Name(const TagBlock *block, int32_t number);
uint32_t CHAPTER_Get_Number(const char *key);
uint32_t CHAPTER_Get_NumberW(const FrozenUnit *key);
uint32_t CHAPTERNAME_Get_Number(const char *key);
uint32_t CHAPTERNAME_Get_NumberW(const FrozenUnit *key);
void CHAPTER_Position100nS_To_HMS(uint64_t position, uint32_t *hours, uint32_t *minutes, double *seconds);
bool CHAPTER_HMS_String_To_Position100nS(const char *text, uint64_t *position);
bool CHAPTER_HMS_String_To_Position100nSW(const FrozenUnit *text, uint64_t *position);
uint64_t SamplesToN100nS(uint64_t samples, uint64_t sampleRate);
uint64_t N100nSToSamples(uint64_t position, uint64_t sampleRate);

/* encode.h */
FrozenUnit *UNC_AnsiToUnicode(const char *text);
char *UNC_UnicodeToAnsi(const FrozenUnit *text);
char *UNC_UnicodeToUtf8(const FrozenUnit *text);
FrozenUnit *UNC_Utf8ToUnicode(const char *text);
char *UNC_AnsiToUtf8(const char *text);
char *UNC_Utf8ToAnsi(const char *text);
void UNC_freeStr(void *text);
void UNC_freeWStr(void *text);
void UNC_ChangeEndian(FrozenUnit *text);
FrozenUnit *UNC_RemoveUnicodeAPIPath(const FrozenUnit *path);
uint32_t UUEncode(const void *data, int32_t length, char **text);
uint32_t UUDecode(const char *text, void **data, uint32_t *length);
void UUFreeMem(void *memory);
uint32_t BASE64Encode(const void *data, uint32_t length, char **text);
uint32_t BASE64Decode(const char *text, void **data, uint32_t *length);
void BASE64FreeMem(void *memory);
void sha224(const uint8_t *message, uint32_t size, uint8_t *digest);
void sha224_init(Sha256Context *context);
void sha224_update(Sha256Context *context, const uint8_t *message, uint32_t size);
void sha224_final(Sha256Context *context, uint8_t *digest);
void hmac_sha224(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
                 uint32_t macSize);
void hmac_sha224_init(HmacSha256Context *context, const uint8_t *key, uint32_t keySize);
void hmac_sha224_reinit(HmacSha256Context *context);
void hmac_sha224_update(HmacSha256Context *context, const uint8_t *message, uint32_t size);
void hmac_sha224_final(HmacSha256Context *context, uint8_t *mac, uint32_t macSize);
void sha256(const uint8_t *message, uint32_t size, uint8_t *digest);
void sha256_init(Sha256Context *context);
void sha256_update(Sha256Context *context, const uint8_t *message, uint32_t size);
void sha256_final(Sha256Context *context, uint8_t *digest);
void hmac_sha256(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
                 uint32_t macSize);
void hmac_sha256_init(HmacSha256Context *context, const uint8_t *key, uint32_t keySize);
void hmac_sha256_reinit(HmacSha256Context *context);
void hmac_sha256_update(HmacSha256Context *context, const uint8_t *message, uint32_t size);
void hmac_sha256_final(HmacSha256Context *context, uint8_t *mac, uint32_t macSize);
void sha384(const uint8_t *message, uint32_t size, uint8_t *digest);
void sha384_init(Sha512Context *context);
void sha384_update(Sha512Context *context, const uint8_t *message, uint32_t size);
void sha384_final(Sha512Context *context, uint8_t *digest);
void hmac_sha384(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
                 uint32_t macSize);
void hmac_sha384_init(HmacSha512Context *context, const uint8_t *key, uint32_t keySize);
void hmac_sha384_reinit(HmacSha512Context *context);
void hmac_sha384_update(HmacSha512Context *context, const uint8_t *message, uint32_t size);
void hmac_sha384_final(HmacSha512Context *context, uint8_t *mac, uint32_t macSize);
void sha512(const uint8_t *message, uint32_t size, uint8_t *digest);
void sha512_init(Sha512Context *context);
void sha512_update(Sha512Context *context, const uint8_t *message, uint32_t size);
void sha512_final(Sha512Context *context, uint8_t *digest);
void hmac_sha512(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
                 uint32_t macSize);
void hmac_sha512_init(HmacSha512Context *context, const uint8_t *key, uint32_t keySize);
void hmac_sha512_reinit(HmacSha512Context *context);
void hmac_sha512_update(HmacSha512Context *context, const uint8_t *message, uint32_t size);
void hmac_sha512_final(HmacSha512Context *context, uint8_t *mac, uint32_t macSize);

/* image.h */
FrozenBitmap CreateResampledBitmap(FrozenDevice dc, FrozenBitmap source, uint32_t width, uint32_t height,
                                   uint32_t filter);
FrozenBitmap CreateUserFilterResampledBitmap(FrozenDevice dc, FrozenBitmap source, uint32_t width,
                                             uint32_t height, TonekitKernel kernel, double radius);
void JPEG_Init(TonekitReadHook read, TonekitWriteHook write);

#ifdef __cplusplus
}
#endif

#endif
