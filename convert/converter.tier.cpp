// converter.tier.cpp: constructing, setting up, copying and reading converters. What is set up here runs on
// this tier's kernels.
#include "convert/kernel_choice.h"
#include "convert/resample.h"
#include "convert/set_up.h"
#include "frame/tier.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(ResampleFrom);

TONEKIT_MEMBER_BODY(ConstructConverter3, _ZN21CSampleRateConverter3C1Ev, void, (CSampleRateConverter3 * self))
{
    Construct(*self, SilentKernels());
}

TONEKIT_MEMBER_BODY(ConstructConverter4, _ZN21CSampleRateConverter4C1Ev, void, (CSampleRateConverter4 * self))
{
    Construct(*self, SilentKernels());
}

TONEKIT_MEMBER_BODY(AssignConverter3, _ZN21CSampleRateConverter3aSERKS_, CSampleRateConverter3 *,
                    (CSampleRateConverter3 * self, const CSampleRateConverter3 *other))
{
    std::memmove(static_cast<void *>(self), other, sizeof *self);
    return self;
}

TONEKIT_MEMBER_BODY(AssignConverter4, _ZN21CSampleRateConverter4aSERKS_, CSampleRateConverter4 *,
                    (CSampleRateConverter4 * self, const CSampleRateConverter4 *other))
{
    std::memmove(static_cast<void *>(self), other, sizeof *self);
    return self;
}

namespace {

// A converter has its kernels from its construction on; those that its encodings name take their place.
ConverterKernels KernelsOf(const CSampleRateConverter3 *self, const ConverterArguments &arguments)
{
    return ChooseKernels({self->loadDouble, self->loadFloat, self->storeDouble, self->storeFloat}, arguments);
}

} // namespace

TONEKIT_MEMBER_BODY(InitConverter3, _ZN21CSampleRateConverter34InitEjjjjjjjjRPvS1_bbjj, void,
                    (CSampleRateConverter3 * self, uint32_t inputFormat, uint32_t inputBits,
                     uint32_t inputChannels, uint32_t inputRate, uint32_t outputFormat, uint32_t outputBits,
                     uint32_t outputChannels, uint32_t outputRate, void *&inputBuffer, void *&outputBuffer,
                     bool dither, bool autoLimit, uint32_t qualityLow, uint32_t qualityHigh))
{
    const ConverterArguments arguments{inputFormat,  inputBits,  inputChannels,  inputRate,
                                       outputFormat, outputBits, outputChannels, outputRate,
                                       dither,       autoLimit,  qualityLow,     qualityHigh};
    SetUp(*self, KernelsOf(self, arguments), arguments);
    inputBuffer = self->inputBuffer;
    outputBuffer = self->outputBuffer;
}

TONEKIT_MEMBER_BODY(InitConverter4, _ZN21CSampleRateConverter44InitEjjjjjjjjbbjj, void,
                    (CSampleRateConverter4 * self, uint32_t inputFormat, uint32_t inputBits,
                     uint32_t inputChannels, uint32_t inputRate, uint32_t outputFormat, uint32_t outputBits,
                     uint32_t outputChannels, uint32_t outputRate, bool dither, bool autoLimit,
                     uint32_t qualityLow, uint32_t qualityHigh))
{
    const ConverterArguments arguments{inputFormat,  inputBits,  inputChannels,  inputRate,
                                       outputFormat, outputBits, outputChannels, outputRate,
                                       dither,       autoLimit,  qualityLow,     qualityHigh};
    SetUp(*self, KernelsOf(self, arguments), arguments);
}

namespace {

// Takes frames of the last Write, as many as still fit into the block, and returns their place.
const uint8_t *TakeFrames(CSampleRateConverter4 *self, uint32_t &frames)
{
    const uint32_t room = self->blockFrames - self->blockFill;
    frames = self->writeRemaining < room ? self->writeRemaining : room;
    const auto *taken =
        static_cast<const uint8_t *>(self->writeData) + size_t{self->writeConsumed} * self->readFrameBytes;
    self->writeConsumed += frames;
    self->blockFill += frames;
    self->writeRemaining -= frames;
    return taken;
}

} // namespace

TONEKIT_MEMBER_BODY(ReadBlock, _ZN21CSampleRateConverter44ReadERPvRjS2_, bool,
                    (CSampleRateConverter4 * self, void *&out, uint32_t &outFrames, uint32_t &outBytes))
{
    if (self->writeRemaining == 0)
        return false;
    const uint32_t gathered = self->blockFill;
    uint32_t frames = 0;
    const void *block = TakeFrames(self, frames);
    // A block that the caller's buffer holds whole is converted from there; a part of one is gathered.
    if (frames != self->blockFrames) {
        std::memcpy(static_cast<uint8_t *>(self->inputBuffer) + size_t{gathered} * self->readFrameBytes,
                    block, size_t{frames} * self->readFrameBytes);
        block = self->inputBuffer;
    }
    if (self->blockFill != self->blockFrames)
        return false;
    outFrames = ResampleFrom(self, block, self->blockFrames, false);
    self->totalFramesOut += outFrames;
    out = self->outputBuffer;
    outBytes = outFrames * self->readOutputFrameBytes;
    self->blockFill = 0;
    return true;
}

TONEKIT_BODY(SRC4_Init, void *,
             (uint32_t inputFormat, uint32_t inputBits, uint32_t inputChannels, uint32_t inputRate,
              uint32_t outputFormat, uint32_t outputBits, uint32_t outputChannels, uint32_t outputRate,
              bool dither, bool autoLimit, uint32_t qualityLow, uint32_t qualityHigh))
{
    const ConverterArguments arguments{inputFormat,  inputBits,  inputChannels,  inputRate,
                                       outputFormat, outputBits, outputChannels, outputRate,
                                       dither,       autoLimit,  qualityLow,     qualityHigh};
    return NewConverter(ChooseKernels(SilentKernels(), arguments), arguments);
}

TONEKIT_BODY(SRC4_Read, uint32_t, (void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes))
{
    return ReadBlock(static_cast<CSampleRateConverter4 *>(handle), *out, *outFrames, *outBytes);
}

} // namespace tonekit::TONEKIT_TIER
