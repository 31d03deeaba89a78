// resampler.cpp: scales an array of pixels in two passes, rows first.
#include "image/resampler.h"

#include "image/contribution_list.h"
#include "image/device.h"
#include "image/resample_lines.h"

#include <cstring>
#include <memory>

namespace tonekit {

namespace {

using PixelBlock = std::unique_ptr<uint32_t[], BlockReleaser>;

PixelBlock AllocatePixels(size_t width, size_t height)
{
    size_t bytes;
    if (__builtin_mul_overflow(width * sizeof(uint32_t), height, &bytes)) // a width has 31 bits
        return nullptr;
    return PixelBlock(static_cast<uint32_t *>(AllocateBlock(bytes)));
}

// Rows of the source become rows of the intermediate array, at the target's width.
bool ResampleRows(const uint32_t *source, int32_t source_width, size_t rows, uint32_t *intermediate,
                  int32_t target_width, TonekitKernel kernel, double radius)
{
    ContributionLists columns;
    if (!columns.Build(source_width, target_width, kernel, radius))
        return false;
    const LinePass pass = {&columns.list(),
                           rows,
                           source,
                           1,
                           static_cast<size_t>(source_width),
                           intermediate,
                           1,
                           static_cast<size_t>(target_width)};
    ResampleLines(&pass);
    return true;
}

// Columns of the intermediate array become columns of the target.
bool ResampleColumns(const uint32_t *intermediate, int32_t source_height, size_t width, uint32_t *target,
                     int32_t target_height, TonekitKernel kernel, double radius)
{
    ContributionLists rows;
    if (!rows.Build(source_height, target_height, kernel, radius))
        return false;
    const LinePass pass = {&rows.list(), width, intermediate, width, 1, target, width, 1};
    ResampleLines(&pass);
    return true;
}

} // namespace

extern "C" int32_t ResampleBitmapPixels(const uint32_t *source, int32_t source_width, int32_t source_height,
                                        uint32_t *target, int32_t target_width, int32_t target_height,
                                        TonekitKernel kernel, double radius)
{
    if (source_width < 1 || source_height < 1 || target_width < 1 || target_height < 1)
        return 0;
    const auto rows = static_cast<size_t>(source_height);
    const auto columns = static_cast<size_t>(target_width);
    if (source_width == target_width && source_height == target_height) {
        std::memcpy(target, source, columns * rows * sizeof(uint32_t));
        return 1;
    }
    const PixelBlock intermediate = AllocatePixels(columns, rows);
    return intermediate &&
           ResampleRows(source, source_width, rows, intermediate.get(), target_width, kernel, radius) &&
           ResampleColumns(intermediate.get(), source_height, columns, target, target_height, kernel, radius);
}

} // namespace tonekit
