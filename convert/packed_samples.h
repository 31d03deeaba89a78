// packed_samples.h: the elements of callers' sample buffers, as types that may stand at any address.
#pragma once

#include <cstdint>

namespace tonekit {

using PackedInt16 = int16_t __attribute__((aligned(1), may_alias));
using PackedInt32 = int32_t __attribute__((aligned(1), may_alias));
using PackedInt64 = int64_t __attribute__((aligned(1), may_alias));
using PackedFloat32 = float __attribute__((aligned(1), may_alias));
using PackedFloat64 = double __attribute__((aligned(1), may_alias));

// Three bytes, the lowest first.
struct PackedInt24 {
    uint8_t bytes[3];
};

} // namespace tonekit
