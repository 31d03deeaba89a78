// sample_formats_kernels.h: the list of load and store kernels, for tests that go through all of them.
#pragma once

#include "tests/reference/sample_formats.h"

namespace tonekit {

using LoadDoubleBody = void(const void *, double *, uint32_t);
using LoadFloatBody = void(const void *, float *, uint32_t);
using StoreDoubleBody = void(void *, const double *, uint32_t);
using StoreFloatBody = void(void *, const float *, uint32_t);

struct KernelPair {
    reference::Encoding encoding;
    const char *ofDouble; // the kernel of the double path
    const char *ofFloat;  // the kernel of the float path
};

inline constexpr KernelPair kLoadKernels[] = {
    {reference::Encoding::kInt8, "LoadInt8ToDouble", "LoadInt8ToFloat"},
    {reference::Encoding::kInt16, "LoadInt16ToDouble", "LoadInt16ToFloat"},
    {reference::Encoding::kInt24, "LoadInt24ToDouble", "LoadInt24ToFloat"},
    {reference::Encoding::kInt32, "LoadInt32ToDouble", "LoadInt32ToFloat"},
    {reference::Encoding::kInt64, "LoadInt64ToDouble", "LoadInt64ToFloat"},
    {reference::Encoding::kHdcdInt32, "LoadHdcdInt32ToDouble", "LoadHdcdInt32ToFloat"},
    {reference::Encoding::kFloat32, "LoadFloat32ToDouble", "LoadFloat32ToFloat"},
    {reference::Encoding::kFloat64, "LoadFloat64ToDouble", "LoadFloat64ToFloat"},
    {reference::Encoding::kNone, "LoadSilenceToDouble", "LoadSilenceToFloat"},
};

inline constexpr KernelPair kStoreKernels[] = {
    {reference::Encoding::kInt8, "StoreDoubleToInt8", "StoreFloatToInt8"},
    {reference::Encoding::kInt16, "StoreDoubleToInt16", "StoreFloatToInt16"},
    {reference::Encoding::kInt24, "StoreDoubleToInt24", "StoreFloatToInt24"},
    {reference::Encoding::kInt32, "StoreDoubleToInt32", "StoreFloatToInt32"},
    {reference::Encoding::kFloat32, "StoreDoubleToFloat32", "StoreFloatToFloat32"},
    {reference::Encoding::kFloat64, "StoreDoubleToFloat64", "StoreFloatToFloat64"},
    {reference::Encoding::kNone, "StoreNothing", "StoreNothing"},
};

} // namespace tonekit
