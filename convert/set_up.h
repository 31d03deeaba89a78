// set_up.h: the parts of a converter's set-up that are the same for every processor.
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

// Formats, dither and low-pass: everything that is settled before the kernels are chosen.
void SetUpFormats(CSampleRateConverter3 &converter, const ConverterArguments &arguments);

// Matrices, resampler, sizes and buffers: everything after that. Throws as the allocator does; the destructor
// frees what the converter has got so far.
void SetUpStream(CSampleRateConverter3 &converter, const ConverterArguments &arguments);

// Memory for a converter, which construct and init then set up; it is given back if init throws.
using ConstructConverter = void (*)(CSampleRateConverter4 *);
using InitConverter = void (*)(CSampleRateConverter4 *, const ConverterArguments &);
CSampleRateConverter4 *NewConverter(ConstructConverter construct, InitConverter init,
                                    const ConverterArguments &arguments);

} // namespace tonekit
