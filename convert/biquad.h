// biquad.h: one second-order filter section: eight designs and the run over samples.
#pragma once
#include <cstdint>
#include <tonekit/convert.h>

namespace tonekit {

extern "C" {

// The designs. Each clears the history and sets the five coefficients, worked out in single precision.
// `frequency` is in hertz and taken against half the sample rate, so that the corner lies where the textbook
// formula puts twice the frequency. A frequency at or beyond half the sample rate, or at or below 0, gives
// the plain pass, gain or silence that the shape tends to.

// Resonance in decibels.
void BiquadLowPass(Biquad *filter, int32_t sampleRate, float frequency, float resonance);
void BiquadHighPass(Biquad *filter, int32_t sampleRate, float frequency, float resonance);
// Linear Q.
void BiquadBandPass(Biquad *filter, int32_t sampleRate, float frequency, float q);
void BiquadNotch(Biquad *filter, int32_t sampleRate, float frequency, float q);
void BiquadAllPass(Biquad *filter, int32_t sampleRate, float frequency, float q);
// Linear Q, or the slope of the shelf, and the gain in decibels.
void BiquadPeaking(Biquad *filter, int32_t sampleRate, float frequency, float q, float gain);
void BiquadLowShelf(Biquad *filter, int32_t sampleRate, float frequency, float slope, float gain);
void BiquadHighShelf(Biquad *filter, int32_t sampleRate, float frequency, float slope, float gain);

// Filters `count` samples in a row, input and output possibly at one place. A count that is below 1 as a
// signed number changes nothing. The float form feeds back what it wrote: the sum narrowed to float.
void BiquadRunDouble(Biquad *filter, uint32_t count, const double *input, double *output);
void BiquadRunFloat(Biquad *filter, uint32_t count, const float *input, float *output);

// The same over every `stride`-th sample, `count` of them. The output may lie ahead of the input in the same
// buffer.
void BiquadRunStridedDouble(Biquad *filter, uint32_t count, const double *input, double *output,
                            uint32_t stride);
void BiquadRunStridedFloat(Biquad *filter, uint32_t count, const float *input, float *output,
                           uint32_t stride);
}

} // namespace tonekit
