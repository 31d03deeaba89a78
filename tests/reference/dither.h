// dither.h: the three dither modes, sample by sample as they are defined.
#pragma once
#include <cmath>
#include <cstdint>

namespace tonekit::reference {

struct Noise {
    uint32_t seed;

    static double Of(uint32_t state) { return ((state >> 16) & 0x7FFF) / 32767.0 + -0.5; }
    double Next()
    {
        seed = seed * 214013 + 2531011;
        return Of(seed);
    }
};

template <class T>
struct Dither {
    int32_t position = 0;
    T previous = 0;
    T history[8] = {};

    T Shape(T x, Noise &noise)
    {
        static const double doubles[5] = {2.033, -2.165, 1.959, -1.59, 0.6149};
        static const float floats[5] = {2.033f, -2.165f, 1.959f, -1.59f, 0.6149f};
        if (std::isnan(x))
            x = 0;
        const double n1 = noise.Next();
        const double n2 = noise.Next();
        const T t = static_cast<T>(n1 + n2);
        T a = x;
        for (int k = 0; k < 5; ++k) {
            const T weight =
                sizeof(T) == sizeof(float) ? static_cast<T>(floats[k]) : static_cast<T>(doubles[k]);
            a = a + history[(position - k) & 7] * weight;
        }
        const T y = a + t;
        position = (position + 1) & 7;
        history[position] = a - Nearest(static_cast<float>(y));
        return y;
    }

    void Block(int32_t mode, T scale, T *samples, uint32_t count, uint32_t stride, Noise &noise)
    {
        for (uint64_t i = 0; i < count && stride > 0 && mode >= 0 && mode <= 2; i += stride) {
            T &v = samples[i];
            if (mode == 0) {
                const double n = noise.Next();
                const T x = v * scale;
                v = static_cast<T>(static_cast<double>(x) - n) / scale;
            } else if (mode == 1) {
                const T r = static_cast<T>(noise.Next());
                const T y = v * scale + r - previous;
                previous = r;
                v = y / scale;
            } else {
                v = Shape(v * scale, noise) / scale;
            }
        }
    }

    // As a 64-bit integer; what does not fit becomes the lowest one.
    static T Nearest(float y)
    {
        if (!(std::fabs(y) < 9223372036854775808.0f))
            return static_cast<T>(-9223372036854775808.0);
        return static_cast<T>(static_cast<int64_t>(std::nearbyint(y)));
    }
};

} // namespace tonekit::reference
