// result_array.cpp: passes converted samples to NumPy without another copy.
#include "python/src/result_array.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace tonekit::python {

namespace nb = nanobind;

namespace {

nb::dlpack::dtype DtypeOf(const ArrayFormat &format)
{
    using host::SampleFormat;
    switch (format.sample) {
    case SampleFormat::Int8:
        return nb::dtype<uint8_t>();
    case SampleFormat::Int16:
        return nb::dtype<int16_t>();
    case SampleFormat::Int24:
        return format.wide24 ? nb::dtype<int32_t>() : nb::dtype<uint8_t>();
    case SampleFormat::Int32:
        return nb::dtype<int32_t>();
    case SampleFormat::Float32:
        return nb::dtype<float>();
    case SampleFormat::Float64:
        return nb::dtype<double>();
    }
    return nb::dtype<uint8_t>();
}

// Three little-endian bytes into the upper three of an int32.
void Widen(uint8_t *to, const uint8_t *from, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t sample = static_cast<uint32_t>(from[0]) << 8 | static_cast<uint32_t>(from[1]) << 16 |
                                static_cast<uint32_t>(from[2]) << 24;
        std::memcpy(to, &sample, sizeof sample);
        to += 4;
        from += 3;
    }
}

// Writing large arrays for the first time costs less with large pages; NumPy asks for them too.
void AskForHugePages(void *memory, size_t size)
{
    constexpr size_t kWorthwhile = size_t{4} << 20;
    constexpr uintptr_t kPage = 4096;
    if (size < kWorthwhile)
        return;
    const uintptr_t first = (reinterpret_cast<uintptr_t>(memory) + kPage - 1) / kPage * kPage;
    const uintptr_t end = (reinterpret_cast<uintptr_t>(memory) + size) / kPage * kPage;
    madvise(reinterpret_cast<void *>(first), end - first, MADV_HUGEPAGE); // a wish: failure changes nothing
}

} // namespace

void ResultArray::Reserve(uint64_t frames)
{
    if (frames <= room_)
        return;
    const uint64_t frameBytes = uint64_t{format_.SampleBytes()} * channels_;
    if (frames > PTRDIFF_MAX / frameBytes)
        throw std::bad_alloc();
    void *const larger = std::realloc(bytes_.get(), frames * frameBytes);
    if (!larger)
        throw std::bad_alloc();
    static_cast<void>(bytes_.release());
    bytes_.reset(static_cast<uint8_t *>(larger));
    room_ = frames;
    AskForHugePages(larger, frames * frameBytes);
}

void ResultArray::Add(const void *samples, uint32_t frames)
{
    if (frames > room_ - frames_)
        Reserve(std::max(frames_ + frames, frames_ + frames_ / 2));
    const size_t frameBytes = size_t{format_.SampleBytes()} * channels_;
    uint8_t *const end = bytes_.get() + frames_ * frameBytes;
    if (format_.wide24)
        Widen(end, static_cast<const uint8_t *>(samples), size_t{frames} * channels_);
    else
        std::memcpy(end, samples, frames * frameBytes);
    frames_ += frames;
}

NumpyArray ResultArray::Take(bool flat)
{
    size_t shape[3] = {frames_};
    size_t dimensions = 1;
    if (!flat)
        shape[dimensions++] = channels_;
    if (format_.sample == host::SampleFormat::Int24 && !format_.wide24)
        shape[dimensions++] = 3;
    // An array of no frames has memory too, as NumPy's own have.
    if (!bytes_)
        Reserve(1);
    uint8_t *const bytes = bytes_.release();
    nb::capsule owner(bytes, [](void *memory) noexcept { std::free(memory); });
    frames_ = room_ = 0;
    return NumpyArray(bytes, dimensions, shape, owner, nullptr, DtypeOf(format_));
}

} // namespace tonekit::python
