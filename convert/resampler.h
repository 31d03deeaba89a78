// resampler.h: the quality of a conversion and the libsoxr resampler that provides it.
#pragma once

#include <cstdint>
#include <soxr.h>

namespace tonekit {

// A resampler quality: precision and place of the filter's -3 dB point.
struct ResamplerRecipe {
    double precision;   // bits
    double halfPower;   // -3 dB point of the prototype filter as a part of its transition, see resampler.cpp
    bool useDoublePath; // samples go through the resampler in double
};

// The recipe for a span of bits, qualityHigh minus qualityLow.
const ResamplerRecipe &RecipeForSpan(uint32_t span);

// All its fields: mode 0 normal, 1 steep, 2 steeper; aliasing lets the stop band begin above Nyquist.
soxr_quality_spec_t ResamplerQuality(const ResamplerRecipe &recipe, uint32_t mode, bool aliasing);

// A resampler from the process-wide settings as they are now. Where libsoxr refuses the precision, it gets
// the highest that libsoxr accepts; null if it refuses the rates or channels. Throws std::bad_alloc.
soxr_t CreateResampler(uint32_t inputRate, uint32_t outputRate, uint32_t channels,
                       const ResamplerRecipe &recipe);

// Passes a resampler frames of input, or null and 0 to drain it. Returns the frames that came out, at most
// capacity; 0 from a null resampler. Throws std::bad_alloc and leaves a null resampler then: some of its
// channels may have got further than others.
size_t RunResampler(soxr_t &resampler, const void *input, size_t frames, void *output, size_t capacity);

// Says, before anything is fed, that the first `frames` frames that come out will not be looked at: then they
// may hold anything finite. The others stay the same to the last bit. Ignores a null resampler.
void SkipFirstFrames(soxr_t resampler, size_t frames);

// Releases a resampler; null is ignored.
void DeleteResampler(soxr_t resampler);

} // namespace tonekit
