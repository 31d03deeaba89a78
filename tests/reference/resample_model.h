// resample_model.h: the bitmap resampler in its slowest form, one byte at a time.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tonekit/image.h>
#include <utility>
#include <vector>

namespace tonekit::reference {

using Pixels = std::vector<uint32_t>;
using Contributions = std::vector<std::pair<int32_t, double>>; // source index, weight

inline std::vector<Contributions> ContributionsOf(int32_t source, int32_t target, TonekitKernel kernel,
                                                  double radius)
{
    const double scale = static_cast<double>(target) / source;
    const double filterScale = std::min(1.0, scale);
    const double width = radius / filterScale;
    std::vector<Contributions> lists(static_cast<size_t>(target));
    for (int32_t i = 0; i < target; ++i) {
        const double center = i / scale;
        const auto left = static_cast<int32_t>(center + 0.5 - width);
        const auto right = static_cast<int32_t>(left + 2.0 * width);
        for (int32_t j = left; j <= right; ++j)
            if (j >= 0 && j < source) {
                const double weight = kernel(filterScale * (center - j));
                if (weight != 0.0)
                    lists[static_cast<size_t>(i)].emplace_back(j, weight);
            }
    }
    return lists;
}

// byteAt(j) is the byte at source position j.
template <class ByteAt>
uint8_t FilteredByte(const Contributions &list, ByteAt byteAt)
{
    double total = 0.0;
    double sum = 0.0;
    for (const auto &[index, weight] : list) {
        total += weight * byteAt(index);
        sum += weight;
    }
    const double value = total / sum + 0.5;
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return 0; // no 32-bit integer: the conversion returns the lowest one
    return static_cast<uint8_t>(std::clamp(static_cast<int32_t>(value), 0, 255));
}

inline Pixels Resampled(const Pixels &source, int32_t sourceWidth, int32_t sourceHeight, int32_t targetWidth,
                        int32_t targetHeight, TonekitKernel kernel, double radius)
{
    if (sourceWidth == targetWidth && sourceHeight == targetHeight)
        return source;
    const auto at = [](const Pixels &pixels, int32_t width, int32_t x, int32_t y, int byte) {
        return static_cast<uint8_t>(
            pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] >>
            (8 * byte));
    };
    Pixels between;
    const auto columns = ContributionsOf(sourceWidth, targetWidth, kernel, radius);
    for (int32_t y = 0; y < sourceHeight; ++y)
        for (int32_t x = 0; x < targetWidth; ++x) {
            uint32_t pixel = 0;
            for (int byte = 0; byte < 4; ++byte)
                pixel |= static_cast<uint32_t>(
                             FilteredByte(columns[static_cast<size_t>(x)],
                                          [&](int32_t j) { return at(source, sourceWidth, j, y, byte); }))
                         << (8 * byte);
            between.push_back(pixel);
        }
    Pixels target;
    const auto rows = ContributionsOf(sourceHeight, targetHeight, kernel, radius);
    for (int32_t y = 0; y < targetHeight; ++y)
        for (int32_t x = 0; x < targetWidth; ++x) {
            uint32_t pixel = 0;
            for (int byte = 0; byte < 4; ++byte)
                pixel |= static_cast<uint32_t>(
                             FilteredByte(rows[static_cast<size_t>(y)],
                                          [&](int32_t j) { return at(between, targetWidth, x, j, byte); }))
                         << (8 * byte);
            target.push_back(pixel);
        }
    return target;
}

} // namespace tonekit::reference
