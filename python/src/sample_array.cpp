// sample_array.cpp: gathers samples from arrays of any memory order.
#include "python/src/sample_array.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <nanobind/nanobind.h>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

// Channel by channel, so that one of a planar array is read from its start to its end.
template <size_t Bytes>
void CopyChannel(uint8_t *to, size_t toStep, const uint8_t *from, ptrdiff_t fromStep, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        std::memcpy(to, from, Bytes);
        to += toStep;
        from += fromStep;
    }
}

using CopyFunction = void (*)(uint8_t *, size_t, const uint8_t *, ptrdiff_t, uint32_t);

CopyFunction CopyFor(uint32_t bytes)
{
    switch (bytes) {
    case 1:
        return CopyChannel<1>;
    case 2:
        return CopyChannel<2>;
    case 3:
        return CopyChannel<3>;
    case 4:
        return CopyChannel<4>;
    default:
        return CopyChannel<8>;
    }
}

} // namespace

SampleArray::SampleArray(PyObject *array, uint32_t sampleBytes) : sampleBytes_(sampleBytes)
{
    if (PyObject_GetBuffer(array, &buffer_, PyBUF_STRIDED_RO) != 0)
        throw nb::python_error();
    // Three packed bytes of a 24-bit sample are three items.
    const uint32_t items = sampleBytes == 3 ? 3 : 1;
    if (buffer_.itemsize * items != sampleBytes || buffer_.ndim < 1 || buffer_.ndim > 2) {
        PyBuffer_Release(&buffer_);
        throw nb::type_error("the array has not the sample type or the dimensions of this stream");
    }
    frames_ = static_cast<uint64_t>(buffer_.shape[0]);
    frameStep_ = buffer_.strides[0];
    channelStep_ = static_cast<ptrdiff_t>(sampleBytes);
    if (buffer_.ndim == 2) {
        // More than fit are too many for everyone.
        channels_ = static_cast<uint32_t>(std::min<Py_ssize_t>(buffer_.shape[1] / items, UINT32_MAX));
        channelStep_ = buffer_.strides[1] * static_cast<ptrdiff_t>(items);
    }
}

SampleArray::~SampleArray()
{
    PyBuffer_Release(&buffer_);
}

bool SampleArray::interleaved() const
{
    const auto bytes = static_cast<ptrdiff_t>(sampleBytes_);
    return (channels_ == 1 || channelStep_ == bytes) &&
           (frames_ < 2 || frameStep_ == bytes * static_cast<ptrdiff_t>(channels_));
}

const void *SampleArray::Frames(uint64_t first, uint32_t frames)
{
    if (!interleaved()) {
        Gather(first, frames);
        return gathered_.data();
    }
    return static_cast<const uint8_t *>(buffer_.buf) + first * sampleBytes_ * channels_;
}

void SampleArray::Gather(uint64_t first, uint32_t frames)
{
    const size_t frameBytes = size_t{sampleBytes_} * channels_;
    gathered_.resize(frames * frameBytes);
    const auto *start =
        static_cast<const uint8_t *>(buffer_.buf) + static_cast<ptrdiff_t>(first) * frameStep_;
    const CopyFunction copy = CopyFor(sampleBytes_);
    for (uint32_t channel = 0; channel < channels_; ++channel)
        copy(gathered_.data() + size_t{channel} * sampleBytes_, frameBytes,
             start + static_cast<ptrdiff_t>(channel) * channelStep_, frameStep_, frames);
}

} // namespace tonekit::python
