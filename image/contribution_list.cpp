// contribution_list.cpp: builds the weights of one resampling pass.
#include "image/contribution_list.h"

#include "image/device.h"

#include <algorithm>

namespace tonekit {

namespace {

// The value truncated towards zero, brought into the range of int64_t.
int64_t Truncate(double value)
{
    constexpr double kLimit = 9223372036854774784.0; // the largest double below 2^63
    return static_cast<int64_t>(std::clamp(value, -kLimit, kLimit));
}

template <class T>
bool AllocateArray(T *&array, size_t count)
{
    size_t bytes;
    if (__builtin_mul_overflow(count, sizeof(T), &bytes))
        return false;
    array = static_cast<T *>(AllocateBlock(bytes));
    return array != nullptr;
}

} // namespace

ContributionLists::~ContributionLists()
{
    ReleaseBlock(list_.weights);
    ReleaseBlock(list_.indices);
    ReleaseBlock(list_.sums);
    ReleaseBlock(list_.counts);
}

bool ContributionLists::Allocate(int32_t target_size, size_t stride)
{
    const auto positions = static_cast<size_t>(target_size);
    size_t entries;
    if (__builtin_mul_overflow(positions, stride, &entries))
        return false;
    list_.positions = target_size;
    list_.stride = stride;
    return AllocateArray(list_.counts, positions) && AllocateArray(list_.sums, positions) &&
           AllocateArray(list_.indices, entries) && AllocateArray(list_.weights, entries);
}

bool ContributionLists::Build(int32_t source_size, int32_t target_size, TonekitKernel kernel, double radius)
{
    const double scale = static_cast<double>(target_size) / source_size;
    const double filter_scale = std::min(1.0, scale);
    const double width = radius / filter_scale;
    const double window = 2.0 * width + 1.0;
    if (!(window < 2147483648.0)) // no 32-bit count holds it, or it is no number
        return false;

    // Rounding in left + 2 width can make a list one entry longer than the window; a list never has more
    // entries than the source has positions.
    const int64_t room = std::clamp<int64_t>(Truncate(window) + 1, 1, source_size);
    if (!Allocate(target_size, static_cast<size_t>(room)))
        return false;

    for (int32_t i = 0; i < target_size; ++i) {
        // No half-pixel offset: output 0 lies exactly on source 0.
        const double center = i / scale;
        const int64_t left = Truncate(center + 0.5 - width);
        const int64_t right = Truncate(static_cast<double>(left) + 2.0 * width);
        const int64_t first = std::max<int64_t>(left, 0);
        const int64_t last = std::min<int64_t>(right, source_size - 1);
        int32_t *indices = list_.indices + static_cast<size_t>(i) * list_.stride;
        double *weights = list_.weights + static_cast<size_t>(i) * list_.stride;
        int32_t count = 0;
        double sum = 0.0;
        for (int64_t j = first; j <= last; ++j) {
            const double weight = kernel(filter_scale * (center - static_cast<double>(j)));
            if (weight == 0.0)
                continue;
            indices[count] = static_cast<int32_t>(j);
            weights[count] = weight;
            sum += weight;
            ++count;
        }
        list_.counts[i] = count;
        list_.sums[i] = sum;
    }
    return true;
}

} // namespace tonekit
