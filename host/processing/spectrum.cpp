// spectrum.cpp: a window and a Fourier transform.
#include "host/processing/spectrum.h"

#include <cmath>
#include <numbers>

namespace tonekit::host {

namespace {

// Albrecht's sum of seven cosines with the lowest side lobes, at -180 dB; its mean is the first term.
constexpr double kTerms[] = {0.27105140069342,  -0.43329793923448,    0.21812299954311,    -0.06592544638803,
                             0.010811742098371, -0.00077658482522509, 0.000013887217350903};

std::vector<double> Window(uint32_t length)
{
    std::vector<double> window(length);
    for (uint32_t i = 0; i < length; ++i) {
        const double turn = 2 * std::numbers::pi * i / length;
        int term = 0;
        for (const double weight : kTerms)
            window[i] += weight * std::cos(turn * term++);
    }
    return window;
}

} // namespace

Spectrum::Spectrum(uint32_t length)
    : window_(Window(length)), transform_(length / 2, false), weighed_(length), result_(length / 2)
{}

void Spectrum::AddPowers(const double *samples, double *powers)
{
    const size_t half = result_.size();
    for (size_t i = 0; i < weighed_.size(); ++i)
        weighed_[i] = samples[i] * window_[i];
    transform_.transform_real(weighed_.data(), result_.data());
    // A sine's power is shared by the frequencies above and below zero.
    const double scale = 1 / (kTerms[0] * static_cast<double>(half));
    const auto power = [&](double value) { return value * scale * value * scale; };
    // The two ends come in one number, and have no other side.
    powers[0] += power(result_[0].real() / 2);
    powers[half] += power(result_[0].imag() / 2);
    for (size_t k = 1; k < half; ++k)
        powers[k] += power(result_[k].real()) + power(result_[k].imag());
}

} // namespace tonekit::host
