// dither.h: noise and noise shaping before a conversion to fewer bits, one object per channel.
#pragma once
#include <cstdint>

namespace tonekit {

// Dither of one channel, for float and for double samples. Plain records: a copy is a flat copy.
//
// ProcessBlock works in place on samples[0], samples[stride], samples[2 * stride] and so on, while the index
// is below `count`; a stride of 0 does nothing. Scale is 2 to the power (bits of the output - 1). It leaves
// values between the steps of the output: rounding is the store kernel's. Modes:
//   0  rectangular noise of one output step, one step of the generator per sample
//   1  the first difference of such noise, which is high-pass and triangular
//   2  triangular noise of two steps, two steps of the generator per sample, with error feedback that moves
//   the noise
//      to high frequencies; a sample that is not a number counts as 0.0
// Any other mode leaves the samples as they are.
//
// The generator's state is one for the process. The first object ever built seeds it from the calendar;
// objects at work on several threads at once may lose or repeat some of its steps, which is only noise. An
// object itself belongs to one thread at a time.
class FloatDither {
public:
    FloatDither();
    // Forgets noise and errors so far; the generator goes on.
    void Reset();
    void ProcessBlock(int32_t mode, float scale, float *samples, uint32_t count, uint32_t stride);
    // Mode 2 for one value, which is in output steps already and stays so.
    float ShapeSample(float value);

    int32_t position; // of the newest entry of history, 0 to 7
    float previous;   // the last noise of mode 1
    float history[8]; // what rounding did to the latest samples of mode 2
};

class DoubleDither {
public:
    DoubleDither();
    void Reset();
    void ProcessBlock(int32_t mode, double scale, double *samples, uint32_t count, uint32_t stride);
    double ShapeSample(double value);

    int32_t position;
    double previous;
    double history[8];
};

// The state of the noise generator; 0 until the first object is built. Read and written relaxed: a plain
// variable in cost and by rule, without the undefined behaviour of a race. Only the two functions below touch
// it.
extern uint32_t ditherSeedState;

[[gnu::always_inline]] inline uint32_t DitherSeed()
{
    return __atomic_load_n(&ditherSeedState, __ATOMIC_RELAXED);
}

[[gnu::always_inline]] inline void SetDitherSeed(uint32_t seed)
{
    __atomic_store_n(&ditherSeedState, seed, __ATOMIC_RELAXED);
}

extern "C" {

// The bodies of ProcessBlock.
void FloatDitherProcessBlock(FloatDither *dither, int32_t mode, float scale, float *samples, uint32_t count,
                             uint32_t stride);
void DoubleDitherProcessBlock(DoubleDither *dither, int32_t mode, double scale, double *samples,
                              uint32_t count, uint32_t stride);

// What ProcessBlock does for each channel of interleaved frames in turn, dithers[0] on channel 0 first, in
// less time.
void FloatDitherProcessFrames(FloatDither *dithers, int32_t mode, float scale, float *samples,
                              uint32_t frames, uint32_t channels);
void DoubleDitherProcessFrames(DoubleDither *dithers, int32_t mode, double scale, double *samples,
                               uint32_t frames, uint32_t channels);
}

} // namespace tonekit
