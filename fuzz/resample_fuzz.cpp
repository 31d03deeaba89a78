// resample_fuzz.cpp: scales small pictures with any filter or a kernel of random weights, compared with the
// slow model.
#include "image/filters.h"
#include "image/resampler.h"
#include "tests/reference/resample_model.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

double weights[8];

// Weights from the input by distance: gaps, huge values and what is no number among them.
double InputKernel(double t)
{
    return weights[static_cast<size_t>(std::fmin(std::fabs(t) * 4.0, 7.0))];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit;
    if (size < 6 + sizeof(weights))
        return 0;
    const int32_t sides[4] = {1 + data[0] % 70, 1 + data[1] % 70, 1 + data[2] % 70, 1 + data[3] % 70};
    std::memcpy(weights, data + 6, sizeof(weights));
    const bool catalogue = data[4] < 128;
    const Filter filter =
        catalogue ? FilterCatalogue[data[4] % kFilterCount] : Filter{InputKernel, data[5] / 16.0};
    reference::Pixels source(static_cast<size_t>(sides[0] * sides[1]));
    for (size_t i = 0; i < source.size() * sizeof(uint32_t); ++i)
        reinterpret_cast<uint8_t *>(source.data())[i] = data[i % size];
    reference::Pixels target(static_cast<size_t>(sides[2] * sides[3]));
    if (!ResampleBitmapPixels(source.data(), sides[0], sides[1], target.data(), sides[2], sides[3],
                              filter.kernel, filter.radius) ||
        target != reference::Resampled(source, sides[0], sides[1], sides[2], sides[3], filter.kernel,
                                       filter.radius))
        std::abort();
    return 0;
}
