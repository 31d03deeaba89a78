// scan.tier.cpp: looks for HDCD in a block by decoding a copy of it.
#include "hdcd/siblings.h"

#include "hdcd/detection.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace tonekit::TONEKIT_TIER {

namespace {

void Copy(std::int32_t *copy, const std::int32_t *samples, std::size_t count)
{
    std::memcpy(copy, samples, count * sizeof *copy);
}

void Copy(std::int32_t *copy, const std::int16_t *samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        copy[i] = samples[i];
}

// Negative counts are empty blocks, and an empty block needs no copy.
template <class Sample>
std::uint32_t Scan(HdcdDecoder *decoder, const Sample *samples, std::int32_t frames)
{
    if (decoder == nullptr)
        return kHdcdNotDetected;
    if (decoder->detection.detected == kHdcdEffective)
        return kHdcdEffective;
    std::int32_t *copy = nullptr;
    if (samples == nullptr || frames < 0)
        frames = 0;
    if (frames != 0) {
        const auto count = 2 * static_cast<std::size_t>(frames);
        copy = static_cast<std::int32_t *>(std::malloc(count * sizeof *copy));
        if (copy == nullptr)
            return kHdcdNotDetected;
        Copy(copy, samples, count);
    }
    hdcd_process_linked(decoder, copy, frames);
    UpdateDetection(decoder);
    std::free(copy);
    return decoder->detection.detected;
}

} // namespace

TONEKIT_BODY(hdcd_scan, std::uint32_t,
             (HdcdDecoder * decoder, const std::int32_t *samples, std::int32_t frames))
{
    return Scan(decoder, samples, frames);
}

TONEKIT_BODY(hdcd_scan16, std::uint32_t,
             (HdcdDecoder * decoder, const std::int16_t *samples, std::int32_t frames))
{
    return Scan(decoder, samples, frames);
}

} // namespace tonekit::TONEKIT_TIER
