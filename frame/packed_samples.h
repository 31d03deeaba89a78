// packed_samples.h: the elements of callers' sample buffers, which may be at any address.
#pragma once

#include <cstdint>

namespace tonekit {

// A record, since a plain type with these attributes loses them wherever it is deduced.
template <class Value>
struct __attribute__((packed, may_alias)) PackedSample {
    Value value;
};

using PackedInt16 = PackedSample<int16_t>;
using PackedInt32 = PackedSample<int32_t>;
using PackedInt64 = PackedSample<int64_t>;
using PackedFloat32 = PackedSample<float>;
using PackedFloat64 = PackedSample<double>;

// The lowest byte first.
struct PackedInt24 {
    uint8_t bytes[3];
};

} // namespace tonekit
