// kernel_selection_test.cpp: which kernels a format code and a bit depth select.
#include <gtest/gtest.h>

// The selection is code of a tier; here it is that of the baseline.
#define TONEKIT_TIER A
#define TONEKIT_ROWS <cstdint>
#include "convert/kernel_choice.h"
#include "tests/support/bodies.h"

namespace tonekit {
namespace {

template <class Kernel>
void *Address(Kernel kernel)
{
    return reinterpret_cast<void *>(kernel);
}

void ExpectLoads(uint32_t format, uint32_t bits, const char *toDouble, const char *toFloat)
{
    ConverterKernels kernels{};
    A::ChooseLoads(format, bits, kernels);
    EXPECT_EQ(Address(kernels.loadDouble), BodyAddress(toDouble, 'A')) << format << " " << bits;
    EXPECT_EQ(Address(kernels.loadFloat), BodyAddress(toFloat, 'A')) << format << " " << bits;
}

void ExpectStores(uint32_t format, uint32_t bits, const char *fromDouble, const char *fromFloat)
{
    ConverterKernels kernels{};
    A::ChooseStores(format, bits, kernels);
    EXPECT_EQ(Address(kernels.storeDouble), BodyAddress(fromDouble, 'A')) << format << " " << bits;
    EXPECT_EQ(Address(kernels.storeFloat), BodyAddress(fromFloat, 'A')) << format << " " << bits;
}

TEST(KernelSelection, EachListedInputHasItsLoadKernels)
{
    ExpectLoads(0, 8, "LoadInt8ToDouble", "LoadInt8ToFloat");
    ExpectLoads(0, 16, "LoadInt16ToDouble", "LoadInt16ToFloat");
    ExpectLoads(0, 24, "LoadInt24ToDouble", "LoadInt24ToFloat");
    ExpectLoads(0, 32, "LoadInt32ToDouble", "LoadInt32ToFloat");
    ExpectLoads(0, 64, "LoadInt64ToDouble", "LoadInt64ToFloat");
    ExpectLoads(1, 32, "LoadFloat32ToDouble", "LoadFloat32ToFloat");
    ExpectLoads(1, 64, "LoadFloat64ToDouble", "LoadFloat64ToFloat");
    ExpectLoads(2, 32, "LoadHdcdInt32ToDouble", "LoadHdcdInt32ToFloat");
}

TEST(KernelSelection, EachListedOutputHasItsStoreKernels)
{
    ExpectStores(0, 8, "StoreDoubleToInt8", "StoreFloatToInt8");
    ExpectStores(0, 16, "StoreDoubleToInt16", "StoreFloatToInt16");
    ExpectStores(0, 24, "StoreDoubleToInt24", "StoreFloatToInt24");
    ExpectStores(0, 32, "StoreDoubleToInt32", "StoreFloatToInt32");
    ExpectStores(1, 32, "StoreDoubleToFloat32", "StoreFloatToFloat32");
    ExpectStores(1, 64, "StoreDoubleToFloat64", "StoreFloatToFloat64");
}

TEST(KernelSelection, AnythingElseLeavesWhatIsThere)
{
    for (uint32_t format = 0; format < 5; ++format)
        for (uint32_t bits = 0; bits < 130; ++bits) {
            const bool isInteger = format == 0 && (bits == 8 || bits == 16 || bits == 24 || bits == 32);
            const bool isFloat = format == 1 && (bits == 32 || bits == 64);
            ConverterKernels kernels{};
            A::ChooseLoads(format, bits, kernels);
            const bool loads =
                isInteger || isFloat || (format == 0 && bits == 64) || (format == 2 && bits == 32);
            EXPECT_EQ(kernels.loadDouble != nullptr, loads) << format << " " << bits;
            EXPECT_EQ(kernels.loadFloat != nullptr, loads) << format << " " << bits;
            A::ChooseStores(format, bits, kernels);
            EXPECT_EQ(kernels.storeDouble != nullptr, isInteger || isFloat) << format << " " << bits;
            EXPECT_EQ(kernels.storeFloat != nullptr, isInteger || isFloat) << format << " " << bits;
        }
}

TEST(KernelSelection, ANewConverterReadsSilenceAndWritesNothing)
{
    const ConverterKernels kernels = A::SilentKernels();
    EXPECT_EQ(Address(kernels.loadDouble), BodyAddress("LoadSilenceToDouble", 'A'));
    EXPECT_EQ(Address(kernels.loadFloat), BodyAddress("LoadSilenceToFloat", 'A'));
    EXPECT_EQ(Address(kernels.storeDouble), BodyAddress("StoreNothing", 'A'));
    EXPECT_EQ(Address(kernels.storeFloat), BodyAddress("StoreNothing", 'A'));
}

} // namespace
} // namespace tonekit
