// measure.h: test tones, and what a conversion made of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

double Decibels(double amplitudeRatio);

std::vector<double> Sine(double frequency, uint32_t rate, uint32_t frames, double amplitude = 0.5);

// The root of the mean square of samples begin to end - 1.
double Rms(const std::vector<double> &samples, size_t begin, size_t end);

// The level of the middle eight tenths in dB of a sine of the given amplitude.
double LevelOfTone(const std::vector<double> &samples, double amplitude = 0.5);

// What is left of a tone, in its middle eight tenths, when the sine and cosine of its frequency that fit best
// are taken off, in dB of the tone: harmonic distortion and noise together.
double ToneError(const std::vector<double> &samples, double frequency, uint32_t rate);

} // namespace tonekit
