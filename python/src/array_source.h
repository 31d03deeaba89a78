// array_source.h: an array as the source of a file's samples.
#pragma once

#include "host/audio/sample_source.h"
#include "python/src/result_array.h"
#include "python/src/sample_array.h"

#include <string>

namespace tonekit::python {

class ArraySource final : public host::SampleSource {
public:
    // Made and destroyed with the GIL, used without.
    ArraySource(nanobind::handle array, const ArrayFormat &format, uint32_t rate);

    std::string name() const override { return "the array"; }
    const host::AudioFormat &format() const override { return format_; }
    uint64_t frames() const override { return samples_.frames(); }
    const std::string &type() const override { return type_; }
    const std::string &encoding() const override { return encoding_; }
    const host::Container *container() const override { return nullptr; }
    host::TagKind tagKind() const override { return host::TagKind::None; }
    bool lossy() const override { return false; }
    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override { position_ = 0; }

private:
    bool wide24_;
    SampleArray samples_;
    host::AudioFormat format_;
    uint64_t position_ = 0;
    const std::string type_ = "array";
    const std::string encoding_;
};

// The upper three bytes of each int32.
void PackSamples(void *to, const void *from, size_t count);

} // namespace tonekit::python
