// stream_converter.cpp: the calling order of a conversion.
#include "host/processing/stream_converter.h"

#include "host/processing/bodies.h"
#include "host/processing/shared_settings.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tonekit::host {

namespace {

// Samples from an HDCD decoder.
constexpr uint32_t kHdcdBits = 32;

// The span of bits by which the library chooses its resampler.
uint32_t QualitySpan(Quality quality)
{
    switch (quality) {
    case Quality::Normal:
        return TONEKIT_QUALITY_20_BITS;
    case Quality::High:
        return TONEKIT_QUALITY_28_BITS;
    case Quality::VeryHigh:
        return TONEKIT_QUALITY_32_BITS;
    case Quality::Best:
        return TONEKIT_QUALITY_BEST;
    }
    return TONEKIT_QUALITY_20_BITS;
}

void *NewConverter(const Options &options, const Plan &plan)
{
    const SettingHold hold(CreationSetting(), CreationValue(options));
    return BodiesInUse().SRC4_Init(
        plan.decodeHdcd ? TONEKIT_FORMAT_HDCD : FormatCodeOf(plan.source.sample),
        plan.decodeHdcd ? kHdcdBits : BitsOf(plan.source.sample), plan.source.channels, plan.source.rate,
        FormatCodeOf(plan.target.sample), BitsOf(plan.target.sample), plan.target.channels, plan.target.rate,
        plan.dither, options.limiter && plan.limiter, 0, QualitySpan(options.quality));
}

} // namespace

void StreamConverter::Release::operator()(void *handle) const
{
    SRC4_Deinit(handle);
}

StreamConverter::StreamConverter(const Options &options, const Plan &plan)
    : ditherMode_(static_cast<uint32_t>(options.ditherMode)), hdcdGain_(options.hdcdGain),
      dither_(plan.dither), decodeHdcd_(plan.decodeHdcd), handle_(NewConverter(options, plan))
{}

StreamConverter::~StreamConverter() = default;

// Makes one call of the library with the settings that it reads. The sink is never called under them.
template <class Call>
uint32_t StreamConverter::WithSettings(Call call) const
{
    std::optional<SettingHold> mode;
    std::optional<SettingHold> gain;
    if (dither_)
        mode.emplace(DitherModeSetting(), ditherMode_);
    if (decodeHdcd_)
        gain.emplace(HdcdGainSetting(), hdcdGain_);
    return call();
}

void StreamConverter::Write(const void *samples, uint32_t frames, const FrameSink &sink)
{
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    SRC4_Write(handle_.get(), samples, frames);
    const auto read = BodiesInUse().SRC4_Read;
    while (WithSettings([&] { return read(handle_.get(), &out, &outFrames, &outBytes); })) {
        if (outFrames > 0)
            sink(out, outFrames);
    }
}

void StreamConverter::Finish(const FrameSink &sink)
{
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    while (WithSettings([&] { return SRC4_Flush(handle_.get(), &out, &outFrames, &outBytes); })) {
        if (outFrames > 0)
            sink(out, outFrames);
    }
}

// The object that the handle points to.
const CSampleRateConverter4 &StreamConverter::Converter() const
{
    return *static_cast<const CSampleRateConverter4 *>(handle_.get());
}

bool StreamConverter::OnlyGathers(uint64_t frames) const
{
    return frames < Converter().blockFrames - Converter().blockFill;
}

double StreamConverter::LimiterGain() const
{
    // The path that isn't in use stays at 1.
    return std::min<double>(Converter().mixLimiterGainDouble, Converter().mixLimiterGainFloat);
}

bool StreamConverter::CanLimit() const
{
    return Converter().mixLimiterOn;
}

// The limiter tests sums while they grow, from the second row of the matrix on.
bool StreamConverter::MixExceedsFullScale(const double *frame) const
{
    for (uint32_t column = 0; column < Converter().mixColumns; ++column) {
        double sum = Converter().mixMatrixDouble[0][column] * frame[0];
        for (uint32_t row = 1; row < Converter().mixRows; ++row) {
            sum += Converter().mixMatrixDouble[row][column] * frame[row];
            if (std::fabs(sum) > 1)
                return true;
        }
    }
    return false;
}

bool StreamConverter::MixCanExceedFullScale() const
{
    for (uint32_t column = 0; column < Converter().mixColumns; ++column) {
        double sum = 0;
        for (uint32_t row = 0; row < Converter().mixRows; ++row)
            sum += std::fabs(Converter().mixMatrixDouble[row][column]);
        if (sum > 1)
            return true;
    }
    return false;
}

uint64_t StreamConverter::LouderInMix(const double *frames, uint32_t count) const
{
    uint64_t louder = 0;
    for (const double *frame = frames; count > 0; --count, frame += Converter().mixRows) {
        for (uint32_t column = 0; column < Converter().mixColumns; ++column) {
            double sum = 0;
            for (uint32_t row = 0; row < Converter().mixRows; ++row)
                sum += Converter().mixMatrixDouble[row][column] * frame[row];
            louder += std::isfinite(sum) && std::fabs(sum) > 1 ? 1u : 0u;
        }
    }
    return louder;
}

} // namespace tonekit::host
