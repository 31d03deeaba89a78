// array_source.cpp: reads an array block by block.
#include "python/src/array_source.h"

#include <algorithm>
#include <cstring>

namespace tonekit::python {

ArraySource::ArraySource(nanobind::handle array, const ArrayFormat &format, uint32_t rate)
    : wide24_(format.wide24),
      samples_(array.ptr(), format.SampleBytes()), format_{format.sample, samples_.channels(), rate}
{}

uint32_t ArraySource::Read(void *buffer, uint32_t frames)
{
    const auto count = static_cast<uint32_t>(std::min<uint64_t>(frames, samples_.frames() - position_));
    if (count == 0)
        return 0;
    const void *const samples = samples_.Frames(position_, count);
    if (wide24_)
        PackSamples(buffer, samples, size_t{count} * format_.channels);
    else
        std::memcpy(buffer, samples, size_t{count} * format_.FrameBytes());
    position_ += count;
    return count;
}

void PackSamples(void *to, const void *from, size_t count)
{
    auto *target = static_cast<uint8_t *>(to);
    const auto *source = static_cast<const uint8_t *>(from);
    for (size_t i = 0; i < count; ++i) {
        std::memcpy(target, source + 1, 3);
        target += 3;
        source += 4;
    }
}

} // namespace tonekit::python
