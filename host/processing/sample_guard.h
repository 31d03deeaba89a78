// sample_guard.h: keeps samples that no coder takes away from coders.
#pragma once

#include "host/audio/sample_format.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tonekit::host {

// Not even sums of a million samples that are up to this loud (600 dB) are infinite as floats, which the
// resampler computes with.
constexpr double kLoudestSample = 1e30;

// Not a number and infinity become 0, and larger samples than `loudest` become it, with their sign. Other
// samples stay as they are, to the bit, and so do all samples of formats other than floats.
class SampleGuard {
public:
    // Of formats that can't hold `loudest` it is their largest number.
    SampleGuard(SampleFormat format, double loudest);

    // Returns the samples themselves, or a copy that is valid until the next call.
    const void *Guarded(const void *samples, size_t count);

    // The samples that became 0, and those that became the loudest, so far.
    uint64_t silenced() const { return silenced_; }
    uint64_t clamped() const { return clamped_; }

private:
    template <class Sample>
    const void *GuardedFloats(const Sample *samples, size_t count);

    SampleFormat format_;
    double loudest_;
    std::vector<uint8_t> copy_;
    uint64_t silenced_ = 0;
    uint64_t clamped_ = 0;
};

// How many of some floats are beyond -1 and 1, where they can be clipped; what is no finite number isn't one.
// 0 of other formats.
uint64_t LouderThanFullScale(SampleFormat format, const void *samples, size_t count);

// "2 samples that are no finite numbers became 0, 1 sample louder than 16.0 became that, 3 samples of the
// input were louder than full scale and are clipped", or of the mix; empty where all counts are 0.
std::string GuardText(uint64_t silenced, uint64_t clamped, double loudest, uint64_t clipped, bool mixed);

// The same for samples beyond kLoudestSample: "1 sample of the input was louder than 600 dB and became that".
std::string FarTooLoudText(uint64_t clamped);

} // namespace tonekit::host
