// result_array.h: bytes that grow during a conversion, and then are a NumPy array.
#pragma once

#include "host/audio/sample_format.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

namespace tonekit::python {

// How samples are laid out in arrays. 24 bits are three packed bytes, or the upper three of an int32.
struct ArrayFormat {
    host::SampleFormat sample = host::SampleFormat::Float32;
    bool wide24 = false;

    // Bytes of a sample in an array.
    uint32_t SampleBytes() const { return wide24 ? 4 : host::BytesOf(sample); }
};

using NumpyArray = nanobind::ndarray<nanobind::numpy>;

class ResultArray {
public:
    ResultArray(const ArrayFormat &format, uint32_t channels) : format_(format), channels_(channels) {}

    // Makes room for so many frames in all. Throws std::bad_alloc.
    void Reserve(uint64_t frames);
    // Adds frames as the converter makes them.
    void Add(const void *samples, uint32_t frames);
    uint64_t frames() const { return frames_; }

    // The array: (frames,) with one dimension, (frames, channels) with two, and a last one of 3 bytes where
    // 24 bits are packed. Needs the GIL; this object is empty afterwards.
    NumpyArray Take(bool flat);

private:
    struct Free {
        void operator()(uint8_t *bytes) const { std::free(bytes); }
    };

    ArrayFormat format_;
    uint32_t channels_;
    std::unique_ptr<uint8_t, Free> bytes_;
    uint64_t frames_ = 0;
    uint64_t room_ = 0; // frames
};

} // namespace tonekit::python
