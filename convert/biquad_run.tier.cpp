// biquad_run.tier.cpp: runs samples through a second-order filter section.
#include "convert/biquad.h"
#include "frame/tier.h"

#include <cstddef>

namespace tonekit::TONEKIT_TIER {
namespace {

template <class T>
void Run(Biquad *filter, uint32_t count, const T *input, T *output, size_t stride)
{
    if (static_cast<int32_t>(count) < 1)
        return;
    const double b0 = filter->b0, b1 = filter->b1, b2 = filter->b2;
    const double minusA1 = -filter->a1, minusA2 = -filter->a2;
    double x1 = filter->x1, x2 = filter->x2, y1 = filter->y1, y2 = filter->y2;
    for (size_t i = 0; i < count; ++i) {
        const double x = input[i * stride];
        const double t = (b0 * x + b1 * x1) + b2 * x2;
        const T y = static_cast<T>((t + minusA1 * y1) + minusA2 * y2);
        output[i * stride] = y;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
    }
    filter->x1 = x1;
    filter->x2 = x2;
    filter->y1 = y1;
    filter->y2 = y2;
}

} // namespace

TONEKIT_INTERNAL_BODY(BiquadRunDouble, void,
                      (Biquad * filter, uint32_t count, const double *input, double *output))
{
    Run(filter, count, input, output, 1);
}

TONEKIT_INTERNAL_BODY(BiquadRunFloat, void,
                      (Biquad * filter, uint32_t count, const float *input, float *output))
{
    Run(filter, count, input, output, 1);
}

TONEKIT_INTERNAL_BODY(BiquadRunStridedDouble, void,
                      (Biquad * filter, uint32_t count, const double *input, double *output, uint32_t stride))
{
    Run(filter, count, input, output, stride);
}

TONEKIT_INTERNAL_BODY(BiquadRunStridedFloat, void,
                      (Biquad * filter, uint32_t count, const float *input, float *output, uint32_t stride))
{
    Run(filter, count, input, output, stride);
}

} // namespace tonekit::TONEKIT_TIER
