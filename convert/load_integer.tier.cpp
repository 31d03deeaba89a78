// load_integer.tier.cpp: load kernels for integer PCM.
#include "frame/tier.h"

#include "convert/packed_samples.h"
#include "convert/sample_formats.h"

namespace tonekit::TONEKIT_TIER {

namespace {

inline int32_t SignExtend(PackedInt24 sample)
{
    const uint32_t word =
        uint32_t{sample.bytes[0]} << 8 | uint32_t{sample.bytes[1]} << 16 | uint32_t{sample.bytes[2]} << 24;
    return static_cast<int32_t>(word) >> 8;
}

} // namespace

TONEKIT_INTERNAL_BODY(LoadInt8ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const uint8_t *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = (samples[i] - 128.0) * 0x1p-7;
}

TONEKIT_INTERNAL_BODY(LoadInt8ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    const auto *samples = static_cast<const uint8_t *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = (static_cast<float>(samples[i]) + -128.0f) * 0x1p-7f;
}

TONEKIT_INTERNAL_BODY(LoadInt16ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt16 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = samples[i] * 0x1p-15;
}

TONEKIT_INTERNAL_BODY(LoadInt16ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt16 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(samples[i]) * 0x1p-15f;
}

TONEKIT_INTERNAL_BODY(LoadInt24ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt24 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = SignExtend(samples[i]) * 0x1p-23;
}

TONEKIT_INTERNAL_BODY(LoadInt24ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt24 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(SignExtend(samples[i])) * 0x1p-23f;
}

TONEKIT_INTERNAL_BODY(LoadInt32ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt32 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = samples[i] * 0x1p-31;
}

TONEKIT_INTERNAL_BODY(LoadInt32ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    // The product in double is exact, so the one rounding may as well be that of the integer.
    const auto *samples = static_cast<const PackedInt32 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(samples[i]) * 0x1p-31f;
}

TONEKIT_INTERNAL_BODY(LoadInt64ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt64 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<double>(samples[i]) * 0x1p-63;
}

TONEKIT_INTERNAL_BODY(LoadInt64ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    // Rounded twice, to double and to float.
    const auto *samples = static_cast<const PackedInt64 *>(source);
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(static_cast<double>(samples[i]) * 0x1p-63);
}

TONEKIT_INTERNAL_BODY(LoadHdcdInt32ToDouble, void, (const void *source, double *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt32 *>(source);
    const double gain = HdcdGainTable[GetHDCDGain()];
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = samples[i] * 0x1p-31 * gain;
}

TONEKIT_INTERNAL_BODY(LoadHdcdInt32ToFloat, void, (const void *source, float *destination, uint32_t count))
{
    const auto *samples = static_cast<const PackedInt32 *>(source);
    const double gain = HdcdGainTable[GetHDCDGain()];
    for (uint32_t i = 0; i < count; ++i)
        destination[i] = static_cast<float>(samples[i] * 0x1p-31 * gain);
}

} // namespace tonekit::TONEKIT_TIER
