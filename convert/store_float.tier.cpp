// store_float.tier.cpp: store kernels for floating point, and the one that writes nothing.
#include "convert/alignment.h"
#include "convert/lanes.h"
#include "convert/sample_formats.h"
#include "frame/packed_samples.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {

namespace {

// Both comparisons fail for a NaN, which thus stays.
inline float ClipOne(float sample)
{
    const float below = 1.0f < sample ? 1.0f : sample;
    return -1.0f > below ? -1.0f : below;
}

inline FloatVector Clip(FloatVector samples)
{
    return AtLeast(-1.0f, AtMost(1.0f, samples));
}

// At any address, as all vectors are stored.
inline void StoreFloats(PackedFloat32 *samples, FloatVector vector)
{
    Lanes<float, kLanes>{vector}.Store(reinterpret_cast<float *>(samples));
}

inline FloatVector LoadRounded(const float *samples)
{
    return LoadFloats(samples);
}

inline FloatVector LoadRounded(const double *samples)
{
    return Narrow(LoadDoubles(samples), LoadDoubles(samples + kLanes / 2));
}

// Rounding keeps the order and the limits are floats: clipping after it has the result of clipping before it,
// at half the cost.
template <class Sample>
inline void StoreClipped(void *destination, const Sample *source, uint32_t count)
{
    constexpr uint32_t kGroup = 2 * kLanes;
    auto *samples = static_cast<PackedFloat32 *>(destination);
    for (uint32_t head = UntilWiderAligned(source, samples, count); head != 0; --head, --count)
        samples++->value = ClipOne(static_cast<float>(*source++));
    for (; count >= kGroup; count -= kGroup, source += kGroup, samples += kGroup) {
        const FloatVector first = Clip(LoadRounded(source));
        const FloatVector second = Clip(LoadRounded(source + kLanes));
        StoreFloats(samples, first);
        StoreFloats(samples + kLanes, second);
    }
    for (; count != 0; --count, ++source, ++samples)
        samples->value = ClipOne(static_cast<float>(*source));
}

template <class Sample>
inline void StoreWide(void *destination, const Sample *source, uint32_t count)
{
    auto *samples = static_cast<PackedFloat64 *>(destination);
    uint32_t i = 0;
    for (const uint32_t head = UntilAligned(samples, count); i < head; ++i)
        samples[i].value = source[i];
    for (; i < count; ++i)
        samples[i].value = source[i];
}

} // namespace

TONEKIT_INTERNAL_BODY(StoreDoubleToFloat32, void, (void *destination, const double *source, uint32_t count))
{
    StoreClipped(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToFloat32, void, (void *destination, const float *source, uint32_t count))
{
    StoreClipped(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreDoubleToFloat64, void, (void *destination, const double *source, uint32_t count))
{
    StoreWide(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreFloatToFloat64, void, (void *destination, const float *source, uint32_t count))
{
    StoreWide(destination, source, count);
}

TONEKIT_INTERNAL_BODY(StoreNothing, void, (void *, const void *, uint32_t)) {}

} // namespace tonekit::TONEKIT_TIER
