// load_float.tier.cpp: load kernels for floating point, and those that give silence.
#include "convert/alignment.h"
#include "convert/sample_formats.h"
#include "frame/packed_samples.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {

namespace {

template <class Source, class Work>
inline void Convert(const void *source, Work *destination, uint32_t count)
{
    const auto *samples = static_cast<const Source *>(source);
    uint32_t i = 0;
    for (const uint32_t head = UntilWiderAligned(samples, destination, count); i < head; ++i)
        destination[i] = static_cast<Work>(samples[i].value);
    for (; i < count; ++i)
        destination[i] = static_cast<Work>(samples[i].value);
}

template <class Work>
inline void Clear(Work *destination, uint32_t count)
{
    uint32_t i = 0;
    for (const uint32_t head = UntilAligned(destination, count); i < head; ++i)
        destination[i] = 0;
    for (; i < count; ++i)
        destination[i] = 0;
}

} // namespace

TONEKIT_INTERNAL_BODY(LoadFloat32ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    Convert<PackedFloat32>(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadFloat32ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    Convert<PackedFloat32>(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadFloat64ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    Convert<PackedFloat64>(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadFloat64ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    Convert<PackedFloat64>(source, destination, count);
}

TONEKIT_INTERNAL_BODY(LoadSilenceToDouble, void, (const void *, double *destination, uint32_t count))
{
    Clear(destination, count);
}

TONEKIT_INTERNAL_BODY(LoadSilenceToFloat, void, (const void *, float *destination, uint32_t count))
{
    Clear(destination, count);
}

} // namespace tonekit::TONEKIT_TIER
