// converter.cpp: the operations of the converters that are not on the hot path.
#include "convert/dither.h"
#include "convert/resampler.h"
#include "frame/allocator.h"

#include <tonekit/convert.h>

CSampleRateConverter3::~CSampleRateConverter3()
{
    using tonekit::Release;
    Release(inputBuffer);
    Release(outputBuffer);
    Release(workOutputDouble);
    Release(stageFloatBase);
    Release(stageDoubleBase);
    Release(workOutputFloat);
    Release(workInputDouble);
    Release(workInputFloat);
    if (resamplerActive)
        tonekit::DeleteResampler(resampler);
    Release(floatDithers);
    Release(doubleDithers);
}

CSampleRateConverter4::~CSampleRateConverter4() = default;

void CSampleRateConverter4::Write(const void *data, uint32_t frames)
{
    writeData = data;
    writeRemaining = frames;
    writeConsumed = 0;
    totalFramesIn += frames;
}

bool CSampleRateConverter4::Flush(void *&out, uint32_t &outFrames, uint32_t &outBytes)
{
    const uint32_t frames = blockFill;
    outFrames = Resample(frames, frames == 0);
    out = outputBuffer;
    totalFramesOut += outFrames;
    outBytes = outFrames * readOutputFrameBytes;
    blockFill = 0;
    return !(frames == 0 && outFrames == 0 && finished);
}

void SRC4_Write(void *handle, const void *data, uint32_t frames)
{
    static_cast<CSampleRateConverter4 *>(handle)->Write(data, frames);
}

uint32_t SRC4_Flush(void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes)
{
    return static_cast<CSampleRateConverter4 *>(handle)->Flush(*out, *outFrames, *outBytes);
}

void SRC4_Deinit(void *handle)
{
    if (!handle)
        return;
    static_cast<CSampleRateConverter4 *>(handle)->~CSampleRateConverter4();
    tonekit::Release(handle);
}
