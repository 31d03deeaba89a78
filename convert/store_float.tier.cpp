// store_float.tier.cpp: store kernels for floating point, and the one that writes nothing.
#include "frame/tier.h"

#include "convert/packed_samples.h"

namespace tonekit::TONEKIT_TIER {

namespace {

// Both comparisons fail for a NaN, which thus stays.
inline float Clip(float sample)
{
    const float below = 1.0f < sample ? 1.0f : sample;
    return -1.0f > below ? -1.0f : below;
}

} // namespace

TONEKIT_INTERNAL_BODY(StoreDoubleToFloat32, void, (void *destination, const double *source, uint32_t count))
{
    // Rounding keeps the order and the limits are floats: clipping after it gives what clipping before it
    // gives, at half the cost.
    auto *samples = static_cast<PackedFloat32 *>(destination);
    for (uint32_t i = 0; i < count; ++i)
        samples[i] = Clip(static_cast<float>(source[i]));
}

TONEKIT_INTERNAL_BODY(StoreFloatToFloat32, void, (void *destination, const float *source, uint32_t count))
{
    auto *samples = static_cast<PackedFloat32 *>(destination);
    for (uint32_t i = 0; i < count; ++i)
        samples[i] = Clip(source[i]);
}

TONEKIT_INTERNAL_BODY(StoreDoubleToFloat64, void, (void *destination, const double *source, uint32_t count))
{
    auto *samples = static_cast<PackedFloat64 *>(destination);
    for (uint32_t i = 0; i < count; ++i)
        samples[i] = source[i];
}

TONEKIT_INTERNAL_BODY(StoreFloatToFloat64, void, (void *destination, const float *source, uint32_t count))
{
    auto *samples = static_cast<PackedFloat64 *>(destination);
    for (uint32_t i = 0; i < count; ++i)
        samples[i] = source[i];
}

TONEKIT_INTERNAL_BODY(StoreNothing, void, (void *, const void *, uint32_t)) {}

} // namespace tonekit::TONEKIT_TIER
