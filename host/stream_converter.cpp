// stream_converter.cpp: the calling order of a conversion.
#include "host/stream_converter.h"

#include <tonekit/convert.h>
#include <tonekit/frame.h>

namespace tonekit::host {

namespace {

// Samples from an HDCD decoder.
constexpr uint32_t kHdcdFormatCode = 2;
constexpr uint32_t kHdcdBits = 32;

// The span of bits by which the library chooses its resampler.
uint32_t QualitySpan(Quality quality)
{
    switch (quality) {
    case Quality::Normal:
        return 0;
    case Quality::High:
        return 24;
    case Quality::VeryHigh:
        return 31;
    case Quality::Best:
        return 33;
    }
    return 0;
}

} // namespace

StreamConverter::StreamConverter(const Options &options, const Plan &plan)
    : handle_(SRC4_Init(plan.decodeHdcd ? kHdcdFormatCode : FormatCodeOf(plan.source.sample),
                        plan.decodeHdcd ? kHdcdBits : BitsOf(plan.source.sample), plan.source.channels,
                        plan.source.rate, FormatCodeOf(plan.target.sample), BitsOf(plan.target.sample),
                        plan.target.channels, plan.target.rate, plan.dither, options.limiter, 0,
                        QualitySpan(options.quality)))
{}

StreamConverter::~StreamConverter()
{
    SRC4_Deinit(handle_);
}

void StreamConverter::Write(const void *samples, uint32_t frames, const FrameSink &sink)
{
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    SRC4_Write(handle_, samples, frames);
    while (SRC4_Read(handle_, &out, &outFrames, &outBytes)) {
        if (outFrames > 0)
            sink(out, outFrames);
    }
}

void StreamConverter::Finish(const FrameSink &sink)
{
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    while (SRC4_Flush(handle_, &out, &outFrames, &outBytes)) {
        if (outFrames > 0)
            sink(out, outFrames);
    }
}

void ApplySharedSettings(const Options &options)
{
    SetSampleRateConverterParameters2(static_cast<uint32_t>(options.filter), options.aliasing ? 1 : 0);
    // Whether a conversion dithers is decided for each one; here it is only allowed.
    SetDitherParameters(1, static_cast<uint32_t>(options.ditherMode));
    SetHDCDGain(options.hdcdGain);
}

} // namespace tonekit::host
