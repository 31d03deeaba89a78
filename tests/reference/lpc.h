// lpc.h: linear prediction beyond the ends of a stretch, step by step, on one plain work line.
#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

namespace tonekit::reference {

inline int32_t LevinsonDurbin(const std::vector<double> &lags, std::vector<double> &taps, int32_t order)
{
    const double *const r = lags.data();
    double *const a = taps.data();
    if (order < 1) {
        if (order != 0)
            return order;
        a[0] = -1.0;
        return 1;
    }
    const double floor = 1e-9 * r[0] + 1e-10;
    double err = r[0] * 1.0000000001;
    int32_t m = order;
    for (int32_t i = 0; i < order; ++i) {
        if (floor > err) {
            for (int32_t j = i; j < order; ++j)
                a[j] = 0;
            if (i == 0) {
                a[0] = -1.0;
                return 1;
            }
            m = i;
            break;
        }
        double k = -r[i + 1];
        for (int32_t j = 0; j < i; ++j)
            k = k - a[j] * r[i - j];
        k = k / err;
        a[i] = k;
        for (int32_t j = 0; j <= i / 2 - 1; ++j) {
            const double t = a[j];
            a[j] = a[j] + a[i - 1 - j] * k;
            a[i - 1 - j] = a[i - 1 - j] + t * k;
        }
        if (i % 2 == 1)
            a[i / 2] = a[i / 2] + a[i / 2] * k;
        err = err * (1.0 - k * k);
    }
    double power = 0.999;
    for (int32_t j = 0; j < m; ++j) {
        a[j] = a[j] * power;
        power = power * 0.999;
    }
    return m;
}

// The buffer holds before + length + after frames; the stretch begins at frame `before`.
template <class T>
void Extrapolate(std::vector<T> &buffer, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                 uint32_t after)
{
    // What the taps reach beyond either end of the line is 0.
    const int64_t margin = std::max(order, 1);
    const int64_t start = margin + before;
    std::vector<T> work(static_cast<size_t>(start + length + after + margin));
    std::vector<double> lags(static_cast<size_t>(std::max(order, 0)) + 1);
    std::vector<double> taps(static_cast<size_t>(margin));
    T *const line = work.data();
    double *const r = lags.data();
    const double *const a = taps.data();
    for (int32_t c = 0; c < channels; ++c) {
        auto sample = [&](int64_t frame) -> T & { return buffer.data()[(before + frame) * channels + c]; };
        std::fill(work.begin(), work.end(), T(0));
        const T half = static_cast<T>(static_cast<float>(length + 1) * 0.5f);
        for (uint32_t i = 0; i < length; ++i) {
            const T u = (static_cast<T>(i + 1) - half) / half;
            line[start + i] = sample(i) * (1 - u * u);
        }
        for (int32_t k = order; k >= 0; --k) {
            r[k] = 0;
            for (int64_t i = 0; i + k < length; ++i)
                r[k] += static_cast<double>(line[start + i + k]) * static_cast<double>(line[start + i]);
        }
        const int32_t m = LevinsonDurbin(lags, taps, order);
        for (uint32_t i = 0; i < length; ++i)
            line[start + i] = sample(i);
        auto limit = [](T value) {
            if (value > T(10))
                return T(10);
            if (value < T(-10))
                return T(-10);
            return value;
        };
        for (uint32_t j = 0; j < after; ++j) {
            const int64_t n = start + length + j;
            T acc = 0;
            for (int32_t k = m - 1; k >= 0; --k)
                acc = acc - static_cast<T>(a[k]) * line[n - 1 - k];
            line[n] = limit(acc);
            sample(length + j) = line[n];
        }
        for (uint32_t j = 0; j < before; ++j) {
            const int64_t n = start - 1 - j;
            T acc = 0;
            for (int32_t k = m - 1; k >= 0; --k)
                acc = acc - static_cast<T>(a[k]) * line[n + 1 + k];
            line[n] = limit(acc);
            sample(-1 - static_cast<int64_t>(j)) = line[n];
        }
    }
}

} // namespace tonekit::reference
