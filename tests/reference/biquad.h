// biquad.h: the second-order section sample by sample, and its designs as textbook formulas in double.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace tonekit::reference {

struct Section {
    double b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;

    template <class T>
    T Step(T sample)
    {
        const double x = sample;
        const double t = (b0 * x + b1 * x1) + b2 * x2;
        const T y = static_cast<T>((t + (-a1) * y1) + (-a2) * y2);
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

// The textbook designs, normalised by a0. `corner` is in hertz, alpha and amplitude as the shape asks.
struct Textbook {
    double c, s;

    Textbook(double rate, double corner)
        : c(std::cos(2 * std::numbers::pi * corner / rate)), s(std::sin(2 * std::numbers::pi * corner / rate))
    {}

    static Section Normalised(double b0, double b1, double b2, double a0, double a1, double a2)
    {
        return {b0 / a0, b1 / a0, b2 / a0, a1 / a0, a2 / a0};
    }
    double Alpha(double q) const { return s / (2 * q); }
    Section LowPass(double q) const
    {
        return Normalised((1 - c) / 2, 1 - c, (1 - c) / 2, 1 + Alpha(q), -2 * c, 1 - Alpha(q));
    }
    Section HighPass(double q) const
    {
        return Normalised((1 + c) / 2, -(1 + c), (1 + c) / 2, 1 + Alpha(q), -2 * c, 1 - Alpha(q));
    }
    Section BandPass(double q) const
    {
        return Normalised(Alpha(q), 0, -Alpha(q), 1 + Alpha(q), -2 * c, 1 - Alpha(q));
    }
    Section Notch(double q) const { return Normalised(1, -2 * c, 1, 1 + Alpha(q), -2 * c, 1 - Alpha(q)); }
    Section AllPass(double q) const
    {
        return Normalised(1 - Alpha(q), -2 * c, 1 + Alpha(q), 1 + Alpha(q), -2 * c, 1 - Alpha(q));
    }
    Section Peaking(double q, double gain) const
    {
        const double a = std::pow(10, gain / 40);
        return Normalised(1 + Alpha(q) * a, -2 * c, 1 - Alpha(q) * a, 1 + Alpha(q) / a, -2 * c,
                          1 - Alpha(q) / a);
    }
    double ShelfAlpha(double slope, double a) const
    {
        return s / 2 * std::sqrt(std::max(0.0, (a + 1 / a) * (1 / slope - 1) + 2));
    }
    Section LowShelf(double slope, double gain) const
    {
        const double a = std::pow(10, gain / 40), d = 2 * std::sqrt(a) * ShelfAlpha(slope, a);
        return Normalised(a * ((a + 1) - (a - 1) * c + d), 2 * a * ((a - 1) - (a + 1) * c),
                          a * ((a + 1) - (a - 1) * c - d), (a + 1) + (a - 1) * c + d,
                          -2 * ((a - 1) + (a + 1) * c), (a + 1) + (a - 1) * c - d);
    }
    Section HighShelf(double slope, double gain) const
    {
        const double a = std::pow(10, gain / 40), d = 2 * std::sqrt(a) * ShelfAlpha(slope, a);
        return Normalised(a * ((a + 1) + (a - 1) * c + d), -2 * a * ((a - 1) + (a + 1) * c),
                          a * ((a + 1) + (a - 1) * c - d), (a + 1) - (a - 1) * c + d,
                          2 * ((a - 1) - (a + 1) * c), (a + 1) - (a - 1) * c - d);
    }
};

} // namespace tonekit::reference
