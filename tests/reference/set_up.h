// set_up.h: the numbers, the low-pass and the resampler of a conversion, by the formulas as they are stated.
#pragma once

#include "tests/reference/biquad.h"

#include <cmath>
#include <cstdint>
#include <soxr.h>

namespace tonekit::reference {

struct BlockNumbers {
    uint32_t blockFrames, inputEdgeFrames, outputEdgeFrames, outputCapacity;
};

inline BlockNumbers NumbersOf(uint32_t inputRate, uint32_t outputRate)
{
    const double ratio = double(outputRate) / double(inputRate);
    double block = 262144;
    if (inputRate < outputRate)
        block = std::trunc(65536 / ratio);
    if (inputRate > outputRate)
        block = std::trunc(-65536 * ratio + 65536);
    if (block < 513)
        block = 512;
    // The edges last a twentieth of a second, rounded up, and at most 8192 frames; as whole frames of both
    // rates they are a multiple of the least such pair.
    uint32_t common = inputRate < outputRate ? inputRate : outputRate;
    while (inputRate % common != 0 || outputRate % common != 0)
        --common;
    const uint32_t input = inputRate / common, output = outputRate / common;
    const uint32_t larger = input > output ? input : output;
    uint32_t multiple = common / 20 + (common % 20 != 0);
    while (multiple > 1 && multiple * larger > 8192)
        --multiple;
    const double fed = inputRate == outputRate ? block : block + multiple * input;
    return {static_cast<uint32_t>(block), multiple * input, multiple * output,
            static_cast<uint32_t>(fed * ratio + 512)};
}

// The section for a made-up low-frequency channel, 120 Hz and 1 dB, term by term in single precision.
inline Section LfeSection(uint32_t outputRate)
{
    const float part = 120.0f / (static_cast<float>(outputRate) * 0.5f);
    if (part >= 1)
        return {1, 0, 0, 0, 0};
    const float angle = part * 6.2831855f;
    const auto c = static_cast<float>(std::cos(double{angle}));
    const auto s = static_cast<float>(std::sin(double{angle}));
    const auto q = static_cast<float>(std::pow(10.0, double{0.05f}));
    const float alpha = s / (2 * q);
    const float n = 1 / (1 + alpha);
    return {(1 - c) / 2 * n, (1 - c) * n, (1 - c) / 2 * n, -2 * n * c, (1 - alpha) * n};
}

// Whether the samples of a span of bits are resampled in double.
inline bool SpanTakesDouble(uint32_t span)
{
    return span >= 31;
}

// The resampler of the normal mode without aliasing. The packaged libsoxr ends at 33 bits.
inline soxr_t NewResampler(uint32_t inputRate, uint32_t outputRate, uint32_t channels, uint32_t span)
{
    soxr_quality_spec_t quality = {};
    quality.phase_response = 50;
    quality.stopband_begin = 1;
    if (span < 24)
        quality.precision = 20, quality.passband_end = 0.9137436532733066;
    else if (span < 31)
        quality.precision = 28, quality.passband_end = 0.9113283198951663;
    else if (span < 33)
        quality.precision = 32, quality.passband_end = 0.9105018493443435;
    else
        quality.precision = 33, quality.passband_end = 0.9141429406225077;
    const soxr_datatype_t type = SpanTakesDouble(span) ? SOXR_FLOAT64_I : SOXR_FLOAT32_I;
    soxr_io_spec_t io = soxr_io_spec(type, type);
    io.flags = SOXR_NO_DITHER;
    return soxr_create(inputRate, outputRate, channels, nullptr, &io, &quality, nullptr);
}

} // namespace tonekit::reference
