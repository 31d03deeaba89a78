// kernel_choice.h: the kernels of the tier that includes it, and their choice by format code and bits.
#pragma once

#include "convert/sample_formats.h"
#include "convert/set_up.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(LoadInt8ToDouble);
TONEKIT_SIBLING(LoadInt8ToFloat);
TONEKIT_SIBLING(LoadInt16ToDouble);
TONEKIT_SIBLING(LoadInt16ToFloat);
TONEKIT_SIBLING(LoadInt24ToDouble);
TONEKIT_SIBLING(LoadInt24ToFloat);
TONEKIT_SIBLING(LoadInt32ToDouble);
TONEKIT_SIBLING(LoadInt32ToFloat);
TONEKIT_SIBLING(LoadInt64ToDouble);
TONEKIT_SIBLING(LoadInt64ToFloat);
TONEKIT_SIBLING(LoadHdcdInt32ToDouble);
TONEKIT_SIBLING(LoadHdcdInt32ToFloat);
TONEKIT_SIBLING(LoadFloat32ToDouble);
TONEKIT_SIBLING(LoadFloat32ToFloat);
TONEKIT_SIBLING(LoadFloat64ToDouble);
TONEKIT_SIBLING(LoadFloat64ToFloat);
TONEKIT_SIBLING(LoadSilenceToDouble);
TONEKIT_SIBLING(LoadSilenceToFloat);

TONEKIT_SIBLING(StoreDoubleToInt8);
TONEKIT_SIBLING(StoreFloatToInt8);
TONEKIT_SIBLING(StoreDoubleToInt16);
TONEKIT_SIBLING(StoreFloatToInt16);
TONEKIT_SIBLING(StoreDoubleToInt24);
TONEKIT_SIBLING(StoreFloatToInt24);
TONEKIT_SIBLING(StoreDoubleToInt32);
TONEKIT_SIBLING(StoreFloatToInt32);
TONEKIT_SIBLING(StoreDoubleToFloat32);
TONEKIT_SIBLING(StoreFloatToFloat32);
TONEKIT_SIBLING(StoreDoubleToFloat64);
TONEKIT_SIBLING(StoreFloatToFloat64);
TONEKIT_SIBLING(StoreNothing);

namespace {

struct LoadRow {
    uint32_t format;
    uint32_t bits;
    LoadDoubleKernel toDouble;
    LoadFloatKernel toFloat;
};

struct StoreRow {
    uint32_t format;
    uint32_t bits;
    StoreDoubleKernel fromDouble;
    StoreFloatKernel fromFloat;
};

// What a new converter holds: input that reads as silence, output that is not written.
inline ConverterKernels SilentKernels()
{
    return {LoadSilenceToDouble, LoadSilenceToFloat, reinterpret_cast<StoreDoubleKernel>(StoreNothing),
            reinterpret_cast<StoreFloatKernel>(StoreNothing)};
}

// Puts the load kernels of an input encoding in place of those given, if a row matches.
inline void ChooseLoads(uint32_t format, uint32_t bits, ConverterKernels &kernels)
{
    static constexpr LoadRow kRows[] = {
        {0, 8, LoadInt8ToDouble, LoadInt8ToFloat},
        {0, 16, LoadInt16ToDouble, LoadInt16ToFloat},
        {0, 24, LoadInt24ToDouble, LoadInt24ToFloat},
        {0, 32, LoadInt32ToDouble, LoadInt32ToFloat},
        {0, 64, LoadInt64ToDouble, LoadInt64ToFloat},
        {1, 32, LoadFloat32ToDouble, LoadFloat32ToFloat},
        {1, 64, LoadFloat64ToDouble, LoadFloat64ToFloat},
        {2, 32, LoadHdcdInt32ToDouble, LoadHdcdInt32ToFloat},
    };
    for (const LoadRow &row : kRows)
        if (row.format == format && row.bits == bits) {
            kernels.loadDouble = row.toDouble;
            kernels.loadFloat = row.toFloat;
        }
}

// The same for the store kernels of an output encoding.
inline void ChooseStores(uint32_t format, uint32_t bits, ConverterKernels &kernels)
{
    static constexpr StoreRow kRows[] = {
        {0, 8, StoreDoubleToInt8, StoreFloatToInt8},
        {0, 16, StoreDoubleToInt16, StoreFloatToInt16},
        {0, 24, StoreDoubleToInt24, StoreFloatToInt24},
        {0, 32, StoreDoubleToInt32, StoreFloatToInt32},
        {1, 32, StoreDoubleToFloat32, StoreFloatToFloat32},
        {1, 64, StoreDoubleToFloat64, StoreFloatToFloat64},
    };
    for (const StoreRow &row : kRows)
        if (row.format == format && row.bits == bits) {
            kernels.storeDouble = row.fromDouble;
            kernels.storeFloat = row.fromFloat;
        }
}

// The kernels for both encodings; where no row matches, those given stay.
inline ConverterKernels ChooseKernels(ConverterKernels kernels, const ConverterArguments &arguments)
{
    ChooseLoads(arguments.inputFormat, arguments.inputBits, kernels);
    ChooseStores(arguments.outputFormat, arguments.outputBits, kernels);
    return kernels;
}

} // namespace

} // namespace tonekit::TONEKIT_TIER
