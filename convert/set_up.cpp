// set_up.cpp: derives a converter's numbers from its arguments and allocates its buffers.
#include "convert/set_up.h"

#include "convert/biquad.h"
#include "convert/dither.h"
#include "convert/mix.h"
#include "convert/resampler.h"
#include "frame/allocator.h"
#include "frame/settings.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>

namespace tonekit {

namespace {

constexpr float kLfeFrequency = 120.0f; // Hz
constexpr float kLfeResonance = 1.0f;   // dB

constexpr uint32_t kEqualRateBlock = 262144;
constexpr double kLargestBlock = 65536.0;
constexpr uint32_t kSmallestBlock = 512;

constexpr uint32_t kEdgesPerSecond = 20; // an edge lasts about 50 ms
constexpr uint32_t kLongestEdge = 8192;  // frames, as far as the ratio of the rates allows

constexpr double kOutputReserve = 512.0; // frames of output beyond what the rates' ratio gives
constexpr uint32_t kSpareElements = 16;  // after each buffer, for unrolled loops

// Truncation toward zero; 0 for what 32 bits can't hold, which only rates of 0 lead to.
uint32_t Truncate(double value)
{
    return value >= 0.0 && value < 4294967296.0 ? static_cast<uint32_t>(value) : 0;
}

uint32_t BlockFrames(uint32_t inputRate, uint32_t outputRate, double ratio)
{
    if (inputRate == outputRate)
        return kEqualRateBlock;
    // Downsampling: the nearer the ratio is to 1, the smaller the block. That is the formula as intended.
    const double frames =
        inputRate < outputRate ? kLargestBlock / ratio : -kLargestBlock * ratio + kLargestBlock;
    const uint32_t whole = Truncate(frames);
    return whole > kSmallestBlock ? whole : kSmallestBlock;
}

// The scale of the dither, by the depth alone, whatever the format; 0.0 for a depth without one.
double DitherScale(uint32_t outputBits)
{
    switch (outputBits) {
    case 8:
        return 128.0;
    case 16:
        return 32768.0;
    case 24:
        return 8388608.0;
    case 32:
        return 2147483648.0;
    default:
        return 0.0;
    }
}

// Bytes of a count of elements and the spare ones after them. A count that 32 bits can't hold is more than
// any conversion needs, and counts as exhausted memory.
template <class Element>
size_t BytesOf(uint64_t count)
{
    if (count > std::numeric_limits<uint32_t>::max() - kSpareElements)
        return SIZE_MAX;
    return (count + kSpareElements) * sizeof(Element);
}

template <class Element>
Element *AllocateElements(uint64_t count)
{
    return static_cast<Element *>(Allocate(BytesOf<Element>(count)));
}

template <class Element>
Element *AllocateZeroes(uint64_t count)
{
    return static_cast<Element *>(AllocateZeroed(BytesOf<Element>(count)));
}

template <class Dither>
Dither *AllocateDithers(uint32_t channels)
{
    auto *dithers = static_cast<Dither *>(Allocate(uint64_t{channels} * sizeof(Dither)));
    for (uint32_t channel = 0; channel < channels; ++channel)
        new (dithers + channel) Dither;
    return dithers;
}

// Products of two 32-bit numbers are taken in 64 bits, so that no buffer is smaller than it is used.
struct Counts {
    explicit Counts(const CSampleRateConverter3 &c)
        : workInput(uint64_t{c.inputChannels} * c.blockFrames),
          stage((c.blockFrames + 2 * uint64_t{c.inputEdgeFrames}) * c.outputChannels),
          workOutput(uint64_t{c.resamplerOutputFrames} * c.outputChannels)
    {}
    uint64_t workInput;
    uint64_t stage;
    uint64_t workOutput;
};

void AllocateDoubleBuffers(CSampleRateConverter3 &c, const Counts &counts, bool staged)
{
    c.workInputDouble = AllocateElements<double>(counts.workInput);
    if (staged) {
        c.stageDoubleBase = AllocateZeroes<double>(counts.stage);
        c.stageDouble = c.stageDoubleBase + size_t{c.inputEdgeFrames} * c.outputChannels;
    }
    c.workOutputDouble = AllocateElements<double>(counts.workOutput);
    c.doubleDithers = AllocateDithers<DoubleDither>(c.outputChannels);
}

void AllocateFloatBuffers(CSampleRateConverter3 &c, const Counts &counts)
{
    c.workInputFloat = AllocateElements<float>(counts.workInput);
    c.stageFloatBase = AllocateZeroes<float>(counts.stage);
    c.stageFloat = c.stageFloatBase + size_t{c.inputEdgeFrames} * c.outputChannels;
    c.workOutputFloat = AllocateElements<float>(counts.workOutput);
    c.floatDithers = AllocateDithers<FloatDither>(c.outputChannels);
}

void AllocateBuffers(CSampleRateConverter3 &c)
{
    const Counts counts(c);
    const uint64_t outputFrames = uint64_t{c.outputEdgeFrames} + c.resamplerOutputFrames;
    c.inputBuffer = AllocateElements<uint8_t>(uint64_t{c.inputFrameBytes} * c.blockFrames);
    if (c.inputRate == c.outputRate)
        AllocateDoubleBuffers(c, counts, false);
    else if (c.useDoublePath)
        AllocateDoubleBuffers(c, counts, true);
    else
        AllocateFloatBuffers(c, counts);
    c.outputBuffer = AllocateElements<uint8_t>(outputFrames * c.outputFrameBytes);
}

void SetUpMix(CSampleRateConverter3 &c)
{
    const MixSelection selection = SelectMix(c.inputChannels, c.outputChannels);
    c.mixRows = selection.rows;
    c.mixColumns = selection.columns;
    c.mixMatrixDouble = selection.doubleMatrix;
    c.mixMatrixFloat = selection.floatMatrix;
    c.mixCanOverflow = selection.canOverflow;
    c.mixLimiterOn = selection.canOverflow && c.autoLimitRequested;
}

void SetUpSizes(CSampleRateConverter3 &c)
{
    const BlockSizes sizes = DeriveBlockSizes(c.inputRate, c.outputRate);
    c.blockFrames = sizes.blockFrames;
    c.extrapolationHistoryFrames = sizes.blockFrames >> 1;
    c.inputEdgeFrames = sizes.inputEdgeFrames;
    c.outputEdgeFrames = sizes.outputEdgeFrames;
    c.resamplerOutputFrames = sizes.resamplerOutputFrames;
    c.inputFrameBytes = (c.inputBits * c.inputChannels) >> 3;
    c.outputFrameBytes = (c.outputBits * c.outputChannels) >> 3;
}

// Formats, dither and low-pass.
void SetUpFormats(CSampleRateConverter3 &converter, const ConverterArguments &arguments)
{
    converter.inputFormat = arguments.inputFormat;
    converter.inputBits = arguments.inputBits;
    converter.inputChannels = arguments.inputChannels;
    converter.inputRate = arguments.inputRate;
    converter.outputFormat = arguments.outputFormat;
    converter.outputBits = arguments.outputBits;
    converter.outputChannels = arguments.outputChannels;
    converter.outputRate = arguments.outputRate;
    converter.autoLimitRequested = arguments.autoLimit;
    converter.ditherActive = DitherEnabled() != 0 && arguments.dither;
    BiquadLowPass(&converter.lfeLowPass, static_cast<int32_t>(arguments.outputRate), kLfeFrequency,
                  kLfeResonance);
    converter.ditherScale = DitherScale(arguments.outputBits);
    if (arguments.outputBits == 32)
        converter.ditherActive = false;
}

// Matrices, resampler, sizes and buffers.
void SetUpStream(CSampleRateConverter3 &converter, const ConverterArguments &arguments)
{
    SetUpMix(converter);
    const bool resampling = arguments.inputRate != arguments.outputRate;
    const ResamplerRecipe &recipe = RecipeForSpan(arguments.qualityHigh - arguments.qualityLow);
    converter.useDoublePath = resampling && recipe.useDoublePath;
    SetUpSizes(converter);
    // Ahead of the resampler: a channel count that no memory can hold ends here, before libsoxr sees it.
    AllocateBuffers(converter);
    if (resampling) {
        converter.resampler =
            CreateResampler(arguments.inputRate, arguments.outputRate, arguments.outputChannels, recipe);
        converter.resamplerActive = true;
    }
}

void SetKernels(CSampleRateConverter3 &converter, const ConverterKernels &kernels)
{
    converter.loadDouble = kernels.loadDouble;
    converter.loadFloat = kernels.loadFloat;
    converter.storeDouble = kernels.storeDouble;
    converter.storeFloat = kernels.storeFloat;
}

} // namespace

BlockSizes DeriveBlockSizes(uint32_t inputRate, uint32_t outputRate)
{
    const bool equal = inputRate == outputRate;
    const double ratio = equal ? 1.0 : static_cast<double>(outputRate) / static_cast<double>(inputRate);
    const uint32_t block = BlockFrames(inputRate, outputRate, ratio);

    // An exact pair of edges at the conversion's ratio, so that the output of an edge is a whole number of
    // frames.
    const uint32_t divisor = std::gcd(inputRate, outputRate);
    const uint32_t reducedInput = divisor ? inputRate / divisor : 0;
    const uint32_t reducedOutput = divisor ? outputRate / divisor : 0;
    const uint32_t larger = reducedInput > reducedOutput ? reducedInput : reducedOutput;
    uint32_t multiple = (divisor + (kEdgesPerSecond - 1)) / kEdgesPerSecond;
    if (larger * multiple > kLongestEdge)
        multiple = kLongestEdge / larger;
    if (multiple == 0)
        multiple = 1;
    const uint32_t inputEdge = reducedInput * multiple;

    const double fed =
        equal ? static_cast<double>(block) : static_cast<double>(block) + static_cast<double>(inputEdge);
    return {block, inputEdge, reducedOutput * multiple, Truncate(fed * ratio + kOutputReserve)};
}

void Construct(CSampleRateConverter3 &converter, const ConverterKernels &kernels)
{
    std::memset(static_cast<void *>(&converter), 0, sizeof converter);
    converter.mixLimiterGainDouble = 1.0;
    converter.mixLimiterGainFloat = 1.0f;
    SetKernels(converter, kernels);
}

void Construct(CSampleRateConverter4 &converter, const ConverterKernels &kernels)
{
    std::memset(static_cast<void *>(&converter), 0, sizeof converter);
    Construct(static_cast<CSampleRateConverter3 &>(converter), kernels);
}

void SetUp(CSampleRateConverter3 &converter, const ConverterKernels &kernels,
           const ConverterArguments &arguments)
{
    SetUpFormats(converter, arguments);
    SetKernels(converter, kernels);
    SetUpStream(converter, arguments);
}

void SetUp(CSampleRateConverter4 &converter, const ConverterKernels &kernels,
           const ConverterArguments &arguments)
{
    SetUp(static_cast<CSampleRateConverter3 &>(converter), kernels, arguments);
    converter.readFrameBytes = (arguments.inputBits * arguments.inputChannels) >> 3;
    converter.readOutputFrameBytes = (arguments.outputBits * arguments.outputChannels) >> 3;
    converter.writeRemaining = 0;
    converter.blockFill = 0;
    converter.totalFramesIn = 0;
    converter.totalFramesOut = 0;
}

CSampleRateConverter4 *NewConverter(const ConverterKernels &kernels, const ConverterArguments &arguments)
{
    auto *converter = static_cast<CSampleRateConverter4 *>(Allocate(sizeof(CSampleRateConverter4)));
    Construct(*converter, kernels);
    try {
        SetUp(*converter, kernels, arguments);
    } catch (...) {
        SRC4_Deinit(converter);
        throw;
    }
    return converter;
}

} // namespace tonekit
