// sample_format.h: the six forms a sample can have in the program's buffers, which are those of the
// converter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <tonekit/convert.h>

namespace tonekit::host {

// Interleaved little-endian samples: 8 bit unsigned with silence at 128, 16, 24 (packed into 3 bytes) and 32
// bit signed, and IEEE floats.
enum class SampleFormat { Int8, Int16, Int24, Int32, Float32, Float64 };

constexpr bool IsFloat(SampleFormat format)
{
    return format == SampleFormat::Float32 || format == SampleFormat::Float64;
}

constexpr uint32_t BitsOf(SampleFormat format)
{
    switch (format) {
    case SampleFormat::Int8:
        return 8;
    case SampleFormat::Int16:
        return 16;
    case SampleFormat::Int24:
        return 24;
    case SampleFormat::Int32:
    case SampleFormat::Float32:
        return 32;
    case SampleFormat::Float64:
        return 64;
    }
    return 0;
}

constexpr uint32_t BytesOf(SampleFormat format)
{
    return BitsOf(format) / 8;
}

// The converter's format code.
constexpr uint32_t FormatCodeOf(SampleFormat format)
{
    return IsFloat(format) ? TONEKIT_FORMAT_FLOAT : TONEKIT_FORMAT_INTEGER;
}

// "16 bit", "32 bit float"
std::string NameOf(SampleFormat format);

// Samples as doubles with full scale at 1.0, exactly.
void SamplesToDouble(SampleFormat format, const void *samples, double *destination, size_t count);

// What a stream of samples is.
struct AudioFormat {
    SampleFormat sample = SampleFormat::Int16;
    uint32_t channels = 0;
    uint32_t rate = 0; // Hz

    uint32_t FrameBytes() const { return BytesOf(sample) * channels; }
    bool operator==(const AudioFormat &) const = default;
};

// "44100 Hz, 16 bit, stereo"
std::string NameOf(const AudioFormat &format);

// "mono", "stereo", "5.1", ... by the converter's layouts; "3 channels" where there is none
std::string NameOfChannels(uint32_t channels);

} // namespace tonekit::host
