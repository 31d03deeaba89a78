// set_up.h: a converter's construction and set-up, which are the same for every processor but for its
// kernels.
#pragma once

#include <cstdint>
#include <tonekit/convert.h>

namespace tonekit {

// What a converter is set up with, in the order of its Init.
struct ConverterArguments {
    uint32_t inputFormat, inputBits, inputChannels, inputRate;
    uint32_t outputFormat, outputBits, outputChannels, outputRate;
    bool dither, autoLimit;
    uint32_t qualityLow, qualityHigh;
};

// The numbers of frames that follow from the two rates.
struct BlockSizes {
    uint32_t blockFrames;
    uint32_t inputEdgeFrames;
    uint32_t outputEdgeFrames;
    uint32_t resamplerOutputFrames;
};
BlockSizes DeriveBlockSizes(uint32_t inputRate, uint32_t outputRate);

// The kernels of a converter, which a tier chooses from its own.
struct ConverterKernels {
    LoadDoubleKernel loadDouble;
    LoadFloatKernel loadFloat;
    StoreDoubleKernel storeDouble;
    StoreFloatKernel storeFloat;
};

// Makes a converter of memory that holds anything.
void Construct(CSampleRateConverter3 &converter, const ConverterKernels &kernels);
void Construct(CSampleRateConverter4 &converter, const ConverterKernels &kernels);

// Sets a constructed converter up. Throws as the allocator does; the destructor frees what the converter has
// got so far.
void SetUp(CSampleRateConverter3 &converter, const ConverterKernels &kernels,
           const ConverterArguments &arguments);
void SetUp(CSampleRateConverter4 &converter, const ConverterKernels &kernels,
           const ConverterArguments &arguments);

// Allocates, constructs and sets up a converter. Throws as the allocator does, and leaves nothing then.
CSampleRateConverter4 *NewConverter(const ConverterKernels &kernels, const ConverterArguments &arguments);

} // namespace tonekit
