// sample_writer.h: where the samples of a conversion go.
#pragma once

#include <cstdint>

namespace tonekit::host {

// A file in work. Failures are thrown as Failure.
class SampleWriter {
public:
    SampleWriter() = default;
    SampleWriter(const SampleWriter &) = delete;
    SampleWriter &operator=(const SampleWriter &) = delete;
    virtual ~SampleWriter() = default;

    // Writes frames in the format that the file was begun with, channels in the converter's order.
    virtual void Write(const void *samples, uint32_t frames) = 0;
    // Completes header and file; the file is closed and whole only if this returns.
    virtual void Finish() = 0;
};

} // namespace tonekit::host
