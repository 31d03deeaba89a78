// resample.tier.cpp: the pass that takes one block from the input encoding to the output encoding.
#include "convert/resample.h"

#include "convert/biquad.h"
#include "convert/dither.h"
#include "convert/lpc.h"
#include "convert/mix.h"
#include "convert/resampler.h"
#include "frame/settings.h"
#include "frame/tier.h"

#include <cstring>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(MixPlainDouble);
TONEKIT_SIBLING(MixPlainFloat);
TONEKIT_SIBLING(MixLimitedDouble);
TONEKIT_SIBLING(MixLimitedFloat);
TONEKIT_SIBLING(FloatDitherProcessFrames);
TONEKIT_SIBLING(DoubleDitherProcessFrames);
TONEKIT_SIBLING(BiquadRunStridedDouble);
TONEKIT_SIBLING(BiquadRunStridedFloat);
TONEKIT_SIBLING(LpcExtrapolateDouble);
TONEKIT_SIBLING(LpcExtrapolateFloat);

namespace {

using Converter = CSampleRateConverter3;

constexpr uint32_t kLfeChannel = 3;
constexpr int32_t kPredictionOrder = 32;
constexpr uint32_t kLongestBlockWithoutEdge = 64; // frames

// Bytes of working samples, loaded and mixed, that a tile may take: a small first-level cache. Measured; half
// of it pays more for calls than it saves.
constexpr uint32_t kTileBytes = 32768;

// The members and kernels of one working format, so that the route through the resampler is written once.
struct DoublePath {
    using Sample = double;
    static Sample *WorkInput(Converter &c) { return c.workInputDouble; }
    static Sample *WorkOutput(Converter &c) { return c.workOutputDouble; }
    static Sample *Stage(Converter &c) { return c.stageDouble; }
    static Sample *StageBase(Converter &c) { return c.stageDoubleBase; }

    static void Load(Converter &c, const void *source, Sample *destination, uint32_t count)
    {
        c.loadDouble(source, destination, count);
    }
    static void Store(Converter &c, void *destination, const Sample *source, uint32_t count)
    {
        c.storeDouble(destination, source, count);
    }
    static void Mix(Converter &c, const Sample *input, Sample *output, uint32_t frames)
    {
        if (c.mixLimiterOn)
            TONEKIT_TIER::MixLimitedDouble(c.mixMatrixDouble, c.mixRows, c.inputChannels, c.outputChannels,
                                           input, output, frames, &c.mixLimiterGainDouble);
        else
            TONEKIT_TIER::MixPlainDouble(c.mixMatrixDouble, c.mixRows, c.inputChannels, c.outputChannels,
                                         input, output, frames);
    }
    static void LowPass(Converter &c, uint32_t count, const Sample *source, Sample *destination,
                        uint32_t stride)
    {
        TONEKIT_TIER::BiquadRunStridedDouble(&c.lfeLowPass, count, source, destination, stride);
    }
    static void Dither(Converter &c, Sample *samples, uint32_t frames)
    {
        TONEKIT_TIER::DoubleDitherProcessFrames(c.doubleDithers, static_cast<int32_t>(DitherMode()),
                                                c.ditherScale, samples, frames, c.outputChannels);
    }
    static void Extrapolate(Converter &c, Sample *history, uint32_t before, uint32_t after)
    {
        TONEKIT_TIER::LpcExtrapolateDouble(history, c.extrapolationHistoryFrames,
                                           static_cast<int32_t>(c.outputChannels), kPredictionOrder, before,
                                           after);
    }
};

struct FloatPath {
    using Sample = float;
    static Sample *WorkInput(Converter &c) { return c.workInputFloat; }
    static Sample *WorkOutput(Converter &c) { return c.workOutputFloat; }
    static Sample *Stage(Converter &c) { return c.stageFloat; }
    static Sample *StageBase(Converter &c) { return c.stageFloatBase; }

    static void Load(Converter &c, const void *source, Sample *destination, uint32_t count)
    {
        c.loadFloat(source, destination, count);
    }
    static void Store(Converter &c, void *destination, const Sample *source, uint32_t count)
    {
        c.storeFloat(destination, source, count);
    }
    static void Mix(Converter &c, const Sample *input, Sample *output, uint32_t frames)
    {
        if (c.mixLimiterOn)
            TONEKIT_TIER::MixLimitedFloat(c.mixMatrixFloat, c.mixRows, c.inputChannels, c.outputChannels,
                                          input, output, frames, &c.mixLimiterGainFloat);
        else
            TONEKIT_TIER::MixPlainFloat(c.mixMatrixFloat, c.mixRows, c.inputChannels, c.outputChannels, input,
                                        output, frames);
    }
    static void LowPass(Converter &c, uint32_t count, const Sample *source, Sample *destination,
                        uint32_t stride)
    {
        TONEKIT_TIER::BiquadRunStridedFloat(&c.lfeLowPass, count, source, destination, stride);
    }
    static void Dither(Converter &c, Sample *samples, uint32_t frames)
    {
        TONEKIT_TIER::FloatDitherProcessFrames(c.floatDithers, static_cast<int32_t>(DitherMode()),
                                               static_cast<float>(c.ditherScale), samples, frames,
                                               c.outputChannels);
    }
    static void Extrapolate(Converter &c, Sample *history, uint32_t before, uint32_t after)
    {
        TONEKIT_TIER::LpcExtrapolateFloat(history, c.extrapolationHistoryFrames,
                                          static_cast<int32_t>(c.outputChannels), kPredictionOrder, before,
                                          after);
    }
};

// Frames whose working samples, in and out, stay in the first-level cache.
template <class Path>
uint32_t TileFrames(const Converter &c)
{
    const uint64_t frameBytes =
        (uint64_t{c.inputChannels} + c.outputChannels) * sizeof(typename Path::Sample);
    const uint64_t frames = kTileBytes / (frameBytes ? frameBytes : 1);
    return frames ? static_cast<uint32_t>(frames) : 1;
}

// Whether the mix returns the bits that the load made, so that it can be left out: a matrix of ones on its
// diagonal, over samples from integers, which are finite and never -0.0. (A -0.0 would become 0.0, a NaN
// reach its neighbours.)
bool MixKeepsSamples(const Converter &c)
{
    return c.inputChannels == c.outputChannels && c.inputChannels <= 8 && c.inputChannels != 3 &&
           c.inputFormat != 1;
}

// Loads and mixes the block tile by tile, and passes each mixed tile to use(first frame, frames, samples).
// The mixed tiles are one after the other at output, or all at its start.
template <class Path, class Use>
void LoadAndMix(Converter &c, const void *source, uint32_t frames, typename Path::Sample *output,
                bool keepTiles, Use use)
{
    const uint32_t tileFrames = TileFrames<Path>(c);
    const bool direct = MixKeepsSamples(c);
    const auto *input = static_cast<const uint8_t *>(source);
    for (uint32_t first = 0; first < frames; first += tileFrames) {
        const uint32_t tile = frames - first < tileFrames ? frames - first : tileFrames;
        typename Path::Sample *mixed = output + (keepTiles ? size_t{first} * c.outputChannels : 0);
        const uint8_t *encoded = input + size_t{first} * c.inputFrameBytes;
        typename Path::Sample *loaded = mixed;
        if (!direct)
            loaded = Path::WorkInput(c);
        Path::Load(c, encoded, loaded, tile * c.inputChannels);
        if (!direct)
            Path::Mix(c, loaded, mixed, tile);
        use(first, tile, mixed);
    }
}

// Layouts without a low-frequency channel of their own; the matrices make one up from the other channels.
bool LacksLfe(uint32_t channels)
{
    return channels == 1 || channels == 2 || channels == 4 || channels == 5;
}

// ---- Equal encodings, channels and rates: the bytes are copied.

bool IsPassThrough(const Converter &c)
{
    return c.inputFormat == c.outputFormat && c.inputBits == c.outputBits &&
           c.inputChannels == c.outputChannels && c.inputRate == c.outputRate && c.inputFormat == 0;
}

uint32_t PassThrough(Converter &c, const void *input, uint32_t frames)
{
    c.finished = true;
    std::memcpy(c.outputBuffer, input, size_t{c.inputBits >> 3} * c.inputChannels * frames);
    return frames;
}

// ---- Equal rates: everything in double.

// Low-passes elements 3, 9, 15 and so on of the mixed block, as many as it has frames. The step is 6 for 8
// channels as well, where the walk strays through other channels: that is how this route has to be. Here it
// goes tile by tile.
class EqualRateLowPass {
public:
    explicit EqualRateLowPass(const Converter &c)
        : on_(LacksLfe(c.inputChannels) && (c.outputChannels == 6 || c.outputChannels == 8))
    {}
    void Run(Converter &c, uint32_t frames, uint32_t firstFrame, uint32_t tileFrames, double *tile)
    {
        if (!on_)
            return;
        const uint64_t begin = uint64_t{firstFrame} * c.outputChannels;
        const uint64_t end = begin + uint64_t{tileFrames} * c.outputChannels;
        if (walked_ >= frames || Element() >= end)
            return;
        double *sample = tile + (Element() - begin);
        const uint64_t inTile = (end - Element() + (kStep - 1)) / kStep;
        const uint32_t count = inTile < frames - walked_ ? static_cast<uint32_t>(inTile) : frames - walked_;
        DoublePath::LowPass(c, count, sample, sample, kStep);
        walked_ += count;
    }

private:
    static constexpr uint32_t kStep = 6;
    uint64_t Element() const { return uint64_t{kStep} * walked_ + kLfeChannel; }

    bool on_;
    uint32_t walked_ = 0;
};

uint32_t ConvertAtEqualRates(Converter &c, const void *input, uint32_t frames)
{
    c.finished = true;
    EqualRateLowPass lowPass(c);
    auto *out = static_cast<uint8_t *>(c.outputBuffer);
    if (!c.ditherActive) {
        LoadAndMix<DoublePath>(
            c, input, frames, c.workOutputDouble, false, [&](uint32_t first, uint32_t tile, double *mixed) {
                lowPass.Run(c, frames, first, tile, mixed);
                c.storeDouble(out + size_t{first} * c.outputFrameBytes, mixed, tile * c.outputChannels);
            });
        return frames;
    }
    // Dither draws its noise channel by channel over the whole block, so the block has to be complete.
    LoadAndMix<DoublePath>(
        c, input, frames, c.workOutputDouble, true,
        [&](uint32_t first, uint32_t tile, double *mixed) { lowPass.Run(c, frames, first, tile, mixed); });
    if (frames != 0) {
        DoublePath::Dither(c, c.workOutputDouble, frames);
        c.storeDouble(out, c.workOutputDouble, frames * c.outputChannels);
    }
    return frames;
}

// ---- Differing rates: through the resampler.

// Passes the resampler input, or null and 0 to drain it, and returns the frames that came out. A drained
// resampler must not be fed again.
uint32_t Process(Converter &c, const void *input, uint32_t frames, void *output)
{
    if (!input)
        c.resamplerDrained = true;
    else if (c.resamplerDrained)
        return 0;
    return static_cast<uint32_t>(RunResampler(c.resampler, input, frames, output, c.resamplerOutputFrames));
}

template <class Path>
uint32_t Drain(Converter &c)
{
    c.finished = true;
    return Process(c, nullptr, 0, Path::WorkOutput(c));
}

template <class Path>
uint32_t FeedFirstBlock(Converter &c, uint32_t frames)
{
    Path::Extrapolate(c, Path::Stage(c), c.inputEdgeFrames, 0);
    c.pendingSkipFrames = c.outputEdgeFrames;
    if (!c.lastBlockDone) // nothing has been fed
        SkipFirstFrames(c.resampler, c.outputEdgeFrames);
    return Process(c, Path::StageBase(c), c.inputEdgeFrames + frames, Path::WorkOutput(c));
}

template <class Path>
uint32_t FeedEndEdge(Converter &c)
{
    typename Path::Sample *end = Path::Stage(c) + size_t{c.blockFrames} * c.outputChannels;
    Path::Extrapolate(c, end - size_t{c.extrapolationHistoryFrames} * c.outputChannels, 0, c.inputEdgeFrames);
    const uint32_t produced = Process(c, end, c.inputEdgeFrames, Path::WorkOutput(c));
    return produced != 0 ? produced : Drain<Path>(c);
}

template <class Path>
uint32_t FeedResampler(Converter &c, uint32_t frames, bool last)
{
    uint32_t produced;
    if (last) {
        produced = c.lastBlockDone ? Drain<Path>(c) : FeedEndEdge<Path>(c);
        c.lastBlockDone = true;
    } else {
        produced = !c.firstBlockDone && frames > kLongestBlockWithoutEdge
                       ? FeedFirstBlock<Path>(c, frames)
                       : Process(c, Path::Stage(c), frames, Path::WorkOutput(c));
        c.firstBlockDone = true;
    }
    return produced;
}

// The destination isn't displaced by the skipped frames as the source is: in the block that ends the skip,
// filtered values land that many frames ahead of the kept ones. That shift is deliberate.
template <class Path>
void LowPassLfe(Converter &c, uint32_t skipped, uint32_t frames)
{
    typename Path::Sample *destination = Path::WorkOutput(c) + kLfeChannel;
    const typename Path::Sample *source = destination + size_t{skipped} * c.outputChannels;
    Path::LowPass(c, frames, source, destination, c.outputChannels);
}

// Leaves the frames held back by the last call at the start of the output buffer.
void KeepHeldFrames(Converter &c)
{
    if (c.heldOutputFrames <= c.outputEdgeFrames)
        return;
    auto *out = static_cast<uint8_t *>(c.outputBuffer);
    const size_t first = size_t{c.heldOutputFrames - c.outputEdgeFrames} * c.outputFrameBytes;
    std::memmove(out, out + first, size_t{c.outputEdgeFrames} * c.outputFrameBytes);
    c.heldOutputFrames = c.outputEdgeFrames;
}

// Finishes the frames after the skipped ones and puts them after those held back. As many frames as the edge
// has stay back on every call; at the end of the stream they are those of the invented edge, and are never
// output.
template <class Path>
uint32_t Deliver(Converter &c, uint32_t skipped, uint32_t frames)
{
    c.finished = false;
    if (LacksLfe(c.inputChannels) && c.outputChannels >= 6 && c.outputChannels <= 8)
        LowPassLfe<Path>(c, skipped, frames);
    typename Path::Sample *kept = Path::WorkOutput(c) + size_t{skipped} * c.outputChannels;
    if (c.ditherActive)
        Path::Dither(c, kept, frames);
    KeepHeldFrames(c);
    auto *out = static_cast<uint8_t *>(c.outputBuffer) + size_t{c.heldOutputFrames} * c.outputFrameBytes;
    Path::Store(c, out, kept, frames * c.outputChannels);
    c.heldOutputFrames += frames;
    return c.heldOutputFrames > c.outputEdgeFrames ? c.heldOutputFrames - c.outputEdgeFrames : 0;
}

// The truncation of the SSE2 instruction: what a 32-bit integer can't hold, NaN included, is its lowest
// value.
int32_t TruncateToInt32(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

uint32_t GreatestCommonDivisor(uint32_t a, uint32_t b)
{
    while (b != 0) {
        const uint32_t rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

// Rotates the first blockFrames samples of the stage left by the frames of a short block, so that the end of
// the audio is moved to before frame blockFrames, where the end of the stream is extrapolated from. Two
// properties are required as they are: it moves single samples, not frames, and the sample that opens a cycle
// of the rotation (as many of the first as the two counts have for a greatest common divisor) goes through an
// unsigned 8-bit form, which makes 0.0 of anything below 1.0. The scratch has room for a block of samples.
template <class Sample>
void RotateStage(Sample *stage, Sample *scratch, uint32_t blockFrames, uint32_t frames)
{
    const uint32_t step = frames % blockFrames;
    if (step == 0)
        return;
    const uint32_t cycles = GreatestCommonDivisor(blockFrames, step);
    std::memcpy(scratch, stage, step * sizeof(Sample));
    for (uint32_t i = 0; i < cycles; ++i)
        scratch[i] = static_cast<Sample>(static_cast<uint8_t>(TruncateToInt32(scratch[i])));
    std::memmove(stage, stage + step, (blockFrames - step) * sizeof(Sample));
    std::memcpy(stage + (blockFrames - step), scratch, step * sizeof(Sample));
}

template <class Path>
uint32_t ConvertThroughResampler(Converter &c, const void *input, uint32_t frames, bool last)
{
    LoadAndMix<Path>(c, input, frames, Path::Stage(c), true,
                     [](uint32_t, uint32_t, typename Path::Sample *) {});
    const uint32_t produced = FeedResampler<Path>(c, frames, last);
    const uint32_t skipped = c.pendingSkipFrames;
    uint32_t result = 0;
    if (produced < skipped) {
        c.pendingSkipFrames -= produced;
    } else {
        c.pendingSkipFrames = 0;
        if (produced != skipped)
            result = Deliver<Path>(c, skipped, produced - skipped);
    }
    // The work input is free again, and holds a block unless there is no input channel; then the stage is all
    // zeros. Without an output channel the stage holds nothing.
    if (frames != 0 && frames != c.blockFrames && c.inputChannels != 0 && c.outputChannels != 0)
        RotateStage(Path::Stage(c), Path::WorkInput(c), c.blockFrames, frames);
    return result;
}

} // namespace

TONEKIT_INTERNAL_BODY(ResampleFrom, uint32_t,
                      (CSampleRateConverter3 * self, const void *input, uint32_t frames, bool last))
{
    if (IsPassThrough(*self))
        return PassThrough(*self, input, frames);
    if (self->inputRate == self->outputRate)
        return ConvertAtEqualRates(*self, input, frames);
    if (self->useDoublePath)
        return ConvertThroughResampler<DoublePath>(*self, input, frames, last);
    return ConvertThroughResampler<FloatPath>(*self, input, frames, last);
}

TONEKIT_MEMBER_BODY(Resample, _ZN21CSampleRateConverter38ResampleEjb, uint32_t,
                    (CSampleRateConverter3 * self, uint32_t frames, bool last))
{
    return ResampleFrom(self, self->inputBuffer, frames, last);
}

} // namespace tonekit::TONEKIT_TIER
