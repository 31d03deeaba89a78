// sample_array.h: the samples of a caller's array, in whatever order they are in memory.
#pragma once

#include <Python.h>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit::python {

// A view of an array of one or two dimensions: frames, or frames by channels. Holds the array's buffer until
// it goes; made and destroyed with the GIL, used without.
class SampleArray {
public:
    // `sampleBytes` is what the array's items are to have. Throws nb::type_error or nb::python_error.
    SampleArray(PyObject *array, uint32_t sampleBytes);
    SampleArray(const SampleArray &) = delete;
    SampleArray &operator=(const SampleArray &) = delete;
    ~SampleArray();

    uint64_t frames() const { return frames_; }
    uint32_t channels() const { return channels_; }

    // Whether the frames are next to one another, channels in turn, so that nothing has to be gathered.
    bool interleaved() const;
    // Interleaved frames from `first` on: those of the array itself, or a copy that is valid until the next
    // call.
    const void *Frames(uint64_t first, uint32_t frames);

private:
    void Gather(uint64_t first, uint32_t frames);

    Py_buffer buffer_{};
    uint32_t sampleBytes_;
    uint64_t frames_ = 0;
    uint32_t channels_ = 1;
    ptrdiff_t frameStep_ = 0;   // bytes
    ptrdiff_t channelStep_ = 0; // bytes
    std::vector<uint8_t> gathered_;
};

} // namespace tonekit::python
