// spectrum.h: how strong each frequency is in a short stretch of samples.
#pragma once

#include <complex>
#include <cstdint>
#include <kissfft/kissfft.hh>
#include <vector>

namespace tonekit::host {

class Spectrum {
public:
    // `length`: samples in a stretch, even.
    explicit Spectrum(uint32_t length);

    uint32_t length() const { return static_cast<uint32_t>(window_.size()); }
    // Adds to powers[k] the power around the frequency k * rate / length, for k from 0 to length / 2: 1 for a
    // sine of full scale at that frequency. 7 frequencies further on it is below 1e-17 of it.
    void AddPowers(const double *samples, double *powers);

private:
    std::vector<double> window_;
    const kissfft<double> transform_;
    std::vector<double> weighed_;
    std::vector<std::complex<double>> result_;
};

} // namespace tonekit::host
