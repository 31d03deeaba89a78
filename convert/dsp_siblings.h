// dsp_siblings.h: this tier's mix, dither, filter and extrapolation, for other tier units to call directly.
#pragma once
#include "convert/biquad.h"
#include "convert/dither.h"
#include "frame/tier.h"
#include <cstdint>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(MixPlainDouble, void,
                (const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                 const double *input, double *output, uint32_t frames));
TONEKIT_SIBLING(MixPlainFloat, void,
                (const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                 const float *input, float *output, uint32_t frames));
TONEKIT_SIBLING(MixLimitedDouble, void,
                (const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                 const double *input, double *output, uint32_t frames, double *gain));
TONEKIT_SIBLING(MixLimitedFloat, void,
                (const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                 const float *input, float *output, uint32_t frames, float *gain));

TONEKIT_SIBLING(FloatDitherProcessFrames, void,
                (FloatDither * dithers, int32_t mode, float scale, float *samples, uint32_t frames,
                 uint32_t channels));
TONEKIT_SIBLING(DoubleDitherProcessFrames, void,
                (DoubleDither * dithers, int32_t mode, double scale, double *samples, uint32_t frames,
                 uint32_t channels));

TONEKIT_SIBLING(BiquadRunStridedDouble, void,
                (Biquad * filter, uint32_t count, const double *input, double *output, uint32_t stride));
TONEKIT_SIBLING(BiquadRunStridedFloat, void,
                (Biquad * filter, uint32_t count, const float *input, float *output, uint32_t stride));

TONEKIT_SIBLING(LpcExtrapolateDouble, void,
                (double *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                 uint32_t after));
TONEKIT_SIBLING(LpcExtrapolateFloat, void,
                (float *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                 uint32_t after));

} // namespace tonekit::TONEKIT_TIER
