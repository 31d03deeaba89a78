// sample_format.cpp: names of sample formats, and their exact values as doubles.
#include "host/audio/sample_format.h"

#include <cstring>

namespace tonekit::host {

namespace {

template <class Sample, class Value>
void EachToDouble(const void *samples, double *destination, size_t count, Value value)
{
    const auto *bytes = static_cast<const unsigned char *>(samples);
    for (size_t i = 0; i < count; ++i) {
        Sample sample;
        std::memcpy(&sample, bytes + i * sizeof(Sample), sizeof(Sample));
        destination[i] = value(sample);
    }
}

void PackedToDouble(const void *samples, double *destination, size_t count)
{
    const auto *bytes = static_cast<const unsigned char *>(samples);
    for (size_t i = 0; i < count; ++i, bytes += 3) {
        const uint32_t top = uint32_t{bytes[0]} << 8 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 24;
        destination[i] = static_cast<int32_t>(top) * 0x1p-31;
    }
}

} // namespace

std::string NameOf(SampleFormat format)
{
    return std::to_string(BitsOf(format)) + (IsFloat(format) ? " bit float" : " bit");
}

std::string NameOfChannels(uint32_t channels)
{
    static const char *const names[] = {"0 channels", "mono", "stereo", "3 channels", "4.0",
                                        "5.0",        "5.1",  "6.1",    "7.1"};
    return channels < std::size(names) ? names[channels] : std::to_string(channels) + " channels";
}

std::string NameOf(const AudioFormat &format)
{
    return std::to_string(format.rate) + " Hz, " + NameOf(format.sample) + ", " +
           NameOfChannels(format.channels);
}

void SamplesToDouble(SampleFormat format, const void *samples, double *destination, size_t count)
{
    switch (format) {
    case SampleFormat::Int8:
        EachToDouble<uint8_t>(samples, destination, count, [](uint8_t s) { return (s - 128) * 0x1p-7; });
        break;
    case SampleFormat::Int16:
        EachToDouble<int16_t>(samples, destination, count, [](int16_t s) { return s * 0x1p-15; });
        break;
    case SampleFormat::Int24:
        PackedToDouble(samples, destination, count);
        break;
    case SampleFormat::Int32:
        EachToDouble<int32_t>(samples, destination, count, [](int32_t s) { return s * 0x1p-31; });
        break;
    case SampleFormat::Float32:
        EachToDouble<float>(samples, destination, count, [](float s) { return double{s}; });
        break;
    case SampleFormat::Float64:
        std::memcpy(destination, samples, count * sizeof(double));
        break;
    }
}

} // namespace tonekit::host
