// sample_formats.h: what a load or a store kernel makes of one sample, by the rules as they are stated and
// nothing else.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace tonekit::reference {

enum class Encoding { kInt8, kInt16, kInt24, kInt32, kInt64, kHdcdInt32, kFloat32, kFloat64, kNone };

inline uint32_t Bytes(Encoding encoding)
{
    switch (encoding) {
    case Encoding::kInt8:
        return 1;
    case Encoding::kInt16:
        return 2;
    case Encoding::kInt24:
        return 3;
    case Encoding::kInt32:
    case Encoding::kHdcdInt32:
    case Encoding::kFloat32:
        return 4;
    case Encoding::kInt64:
    case Encoding::kFloat64:
        return 8;
    case Encoding::kNone:
        break;
    }
    return 0;
}

// A signed little-endian integer of so many bytes.
inline int64_t SignedValue(const uint8_t *bytes, uint32_t count)
{
    int64_t value = bytes[count - 1] >= 128 ? -1 : 0;
    for (uint32_t i = count; i-- > 0;)
        value = value * 256 + bytes[i];
    return value;
}

template <class Value>
Value FromBytes(const uint8_t *bytes)
{
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

inline double LoadedDouble(Encoding encoding, const uint8_t *bytes, double gain)
{
    switch (encoding) {
    case Encoding::kInt8:
        return (bytes[0] - 128.0) * 0.0078125;
    case Encoding::kInt16:
        return static_cast<double>(SignedValue(bytes, 2)) * 3.0517578125e-05;
    case Encoding::kInt24:
        return static_cast<double>(SignedValue(bytes, 3)) * 1.1920928955078125e-07;
    case Encoding::kInt32:
        return static_cast<double>(SignedValue(bytes, 4)) * 4.656612873077393e-10;
    case Encoding::kHdcdInt32:
        return static_cast<double>(SignedValue(bytes, 4)) * 4.656612873077393e-10 * gain;
    case Encoding::kInt64:
        return static_cast<double>(SignedValue(bytes, 8)) * 1.0842021724855044e-19;
    case Encoding::kFloat32:
        return FromBytes<float>(bytes);
    case Encoding::kFloat64:
        return FromBytes<double>(bytes);
    case Encoding::kNone:
        break;
    }
    return 0.0;
}

inline float LoadedFloat(Encoding encoding, const uint8_t *bytes, double gain)
{
    switch (encoding) {
    case Encoding::kInt8:
        return (static_cast<float>(bytes[0]) + -128.0f) * 0.0078125f;
    case Encoding::kInt16:
        return static_cast<float>(SignedValue(bytes, 2)) * 3.0517578125e-05f;
    case Encoding::kInt24:
        return static_cast<float>(SignedValue(bytes, 3)) * 1.1920928955078125e-07f;
    case Encoding::kFloat32:
        return FromBytes<float>(bytes);
    default:
        return static_cast<float>(LoadedDouble(encoding, bytes, gain));
    }
}

// The whole part as a number of 32 bits; what those do not hold, NaN included, is the lowest of them.
template <class Work>
int32_t WholePart(Work value)
{
    const Work whole = std::trunc(value);
    if (whole >= Work(-2147483648.0) && whole < Work(2147483648.0))
        return static_cast<int32_t>(whole);
    return std::numeric_limits<int32_t>::min();
}

template <class Work>
int32_t IntegerRule(Work sample, Work scale, Work low, Work high)
{
    const Work x = sample * scale;
    if (x > 0) {
        Work y = x + Work(0.5);
        if (high < y)
            y = high;
        return WholePart(y);
    }
    Work y = x - Work(0.5);
    if (low > y)
        y = low;
    return WholePart(y);
}

template <class Work>
uint8_t OffsetRule(Work t)
{
    if (t > Work(255.0))
        return 255;
    if (Work(0.0) > t)
        return 0;
    return static_cast<uint8_t>(WholePart(t));
}

inline void PutInteger(int32_t value, uint32_t bytes, uint8_t *out)
{
    for (uint32_t i = 0; i < bytes; ++i)
        out[i] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
}

inline void StoreDouble(Encoding encoding, double sample, uint8_t *out)
{
    switch (encoding) {
    case Encoding::kInt8:
        out[0] = OffsetRule(sample * 128.0 + 128.0 + 0.5);
        break;
    case Encoding::kInt16:
        PutInteger(IntegerRule(sample, 32768.0, -32768.0, 32767.0), 2, out);
        break;
    case Encoding::kInt24:
        PutInteger(IntegerRule(sample, 8388608.0, -8388608.0, 8388607.0), 3, out);
        break;
    case Encoding::kInt32:
        PutInteger(IntegerRule(sample, 2147483648.0, -2147483648.0, 2147483647.0), 4, out);
        break;
    case Encoding::kFloat32: {
        const float value = static_cast<float>(sample > 1.0 ? 1.0 : sample < -1.0 ? -1.0 : sample);
        std::memcpy(out, &value, sizeof value);
        break;
    }
    case Encoding::kFloat64:
        std::memcpy(out, &sample, sizeof sample);
        break;
    default:
        break;
    }
}

inline void StoreFloat(Encoding encoding, float sample, uint8_t *out)
{
    switch (encoding) {
    case Encoding::kInt8:
        out[0] = OffsetRule(static_cast<float>(static_cast<double>(sample) * 128.0 + 128.0) + 0.5f);
        break;
    case Encoding::kInt16:
        PutInteger(IntegerRule(sample, 32768.0f, -32768.0f, 32767.0f), 2, out);
        break;
    case Encoding::kInt24:
        PutInteger(IntegerRule(sample, 8388608.0f, -8388608.0f, 8388607.0f), 3, out);
        break;
    case Encoding::kFloat32: {
        const float value = sample > 1.0f ? 1.0f : sample < -1.0f ? -1.0f : sample;
        std::memcpy(out, &value, sizeof value);
        break;
    }
    default:
        StoreDouble(encoding, sample, out);
        break;
    }
}

} // namespace tonekit::reference
