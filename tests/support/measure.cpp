// measure.cpp: makes tones and measures them.
#include "tests/support/measure.h"

#include <cmath>
#include <numbers>

namespace tonekit {

double Decibels(double amplitudeRatio)
{
    return 20 * std::log10(amplitudeRatio);
}

std::vector<double> Sine(double frequency, uint32_t rate, uint32_t frames, double amplitude)
{
    std::vector<double> samples(frames);
    for (uint32_t i = 0; i < frames; ++i)
        samples[i] = amplitude * std::sin(2 * std::numbers::pi * frequency * i / rate);
    return samples;
}

double Rms(const std::vector<double> &samples, size_t begin, size_t end)
{
    double sum = 0;
    for (size_t i = begin; i < end; ++i)
        sum += samples[i] * samples[i];
    return std::sqrt(sum / static_cast<double>(end - begin));
}

double LevelOfTone(const std::vector<double> &samples, double amplitude)
{
    const size_t margin = samples.size() / 10;
    return Decibels(Rms(samples, margin, samples.size() - margin) * std::numbers::sqrt2 / amplitude);
}

// In long double, as the best conversions come close to the precision of double.
double ToneError(const std::vector<double> &samples, double frequency, uint32_t rate)
{
    const size_t begin = samples.size() / 10;
    const size_t end = samples.size() - begin;
    const long double step = 2 * std::numbers::pi_v<long double> * frequency / rate;
    long double ss = 0;
    long double cc = 0;
    long double sc = 0;
    long double ys = 0;
    long double yc = 0;
    for (size_t i = begin; i < end; ++i) {
        const long double s = std::sin(step * i);
        const long double c = std::cos(step * i);
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += samples[i] * s;
        yc += samples[i] * c;
    }
    const long double determinant = ss * cc - sc * sc;
    const long double a = (ys * cc - yc * sc) / determinant;
    const long double b = (yc * ss - ys * sc) / determinant;
    long double error = 0;
    for (size_t i = begin; i < end; ++i) {
        const long double rest = samples[i] - a * std::sin(step * i) - b * std::cos(step * i);
        error += rest * rest;
    }
    const long double level = std::sqrt((a * a + b * b) / 2);
    return Decibels(static_cast<double>(std::sqrt(error / (end - begin)) / level));
}

} // namespace tonekit
