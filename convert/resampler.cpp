// resampler.cpp: derives the fields of a libsoxr quality specification and creates resamplers.
#ifdef TONEKIT_OWN_SOXR
    #include "convert/soxr/names.h"
#endif

#include "convert/resampler.h"
#include "frame/settings.h"

#ifdef TONEKIT_OWN_SOXR
    #include "convert/soxr/resampler_memory.h"
#endif

namespace tonekit {

namespace {

// halfPower is F of this derivation, with R the rejection in decibels, (precision in bits) * 20 log10(2):
//   x = ((2.0517e-7 R - 0.00011303) R + 0.023154) R + 0.55924
//   s = 1 - exp(-3 * 0.1151292546497023)           (-3 dB seen from the pass band)
//   p = log(0.5) / log(sin(x / 2))
//   F = asin(s ^ (1 / p)) / x
// The values are here as numbers, so that every system makes the same filter whatever its mathematics
// library.
constexpr ResamplerRecipe kRecipes[] = {
    {20, 0.42033251004210753, false},
    {28, 0.43612210864972273, false},
    {32, 0.4413292382724795, true},
    {56, 0.41763670497771965, true},
};

// Transition band, as a part of the Nyquist frequency, outside the -3 dB point: normal, steep, steeper.
constexpr double kTransition[] = {0.05, 0.01, 0.003};

constexpr double kLeastPrecision = 15;
constexpr uint32_t kLeastRateWithAliasing = 44100;

} // namespace

const ResamplerRecipe &RecipeForSpan(uint32_t span)
{
    if (span < 24)
        return kRecipes[0];
    if (span < 31)
        return kRecipes[1];
    if (span < 33)
        return kRecipes[2];
    return kRecipes[3];
}

soxr_quality_spec_t ResamplerQuality(const ResamplerRecipe &recipe, uint32_t mode, bool aliasing)
{
    // The fields are given directly: the recipe numbers of a packaged libsoxr mean other things from 8 on.
    soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    const double beyond = 1 - recipe.halfPower;
    quality.precision = recipe.precision;
    quality.phase_response = 50; // linear phase
    quality.passband_end = 1 - kTransition[mode] / beyond;
    quality.stopband_begin = aliasing ? 2 - (1 - beyond * (1 - quality.passband_end)) : 1.0;
    quality.flags = SOXR_ROLLOFF_SMALL;
    return quality;
}

namespace {

soxr_t TryPrecisions(uint32_t inputRate, uint32_t outputRate, uint32_t channels, const soxr_io_spec_t &io,
                     soxr_quality_spec_t quality)
{
    for (; quality.precision >= kLeastPrecision; quality.precision -= 1)
        if (soxr_t resampler = soxr_create(inputRate, outputRate, channels, nullptr, &io, &quality, nullptr))
            return resampler;
    return nullptr;
}

} // namespace

soxr_t CreateResampler(uint32_t inputRate, uint32_t outputRate, uint32_t channels,
                       const ResamplerRecipe &recipe)
{
    if (channels == 0) // libsoxr would make one, and crash when it is fed
        return nullptr;
    const bool aliasing = ResamplerAliasing() != 0 && inputRate >= kLeastRateWithAliasing &&
                          outputRate >= kLeastRateWithAliasing;
    soxr_quality_spec_t quality = ResamplerQuality(recipe, ResamplerMode(), aliasing);
    const soxr_datatype_t type = recipe.useDoublePath ? SOXR_FLOAT64_I : SOXR_FLOAT32_I;
    soxr_io_spec_t io = soxr_io_spec(type, type);
    io.flags = SOXR_NO_DITHER;
#ifdef TONEKIT_OWN_SOXR
    NewResamplerBlocks blocks;
    const soxr_t resampler = TryPrecisions(inputRate, outputRate, channels, io, quality);
    blocks.Keep();
    return resampler;
#else
    return TryPrecisions(inputRate, outputRate, channels, io, quality);
#endif
}

size_t RunResampler(soxr_t &resampler, const void *input, size_t frames, void *output, size_t capacity)
{
    if (!resampler)
        return 0;
    size_t consumed = 0; // always all of it: the output has room for what the input becomes
    size_t produced = 0;
    try {
        soxr_process(resampler, input, frames, &consumed, output, capacity, &produced);
    } catch (...) {
        DeleteResampler(resampler);
        resampler = nullptr;
        throw;
    }
    return produced;
}

void SkipFirstFrames([[maybe_unused]] soxr_t resampler, [[maybe_unused]] size_t frames)
{
#ifdef TONEKIT_OWN_SOXR
    if (resampler)
        soxr_skip_first(resampler, frames);
#endif
}

void DeleteResampler(soxr_t resampler)
{
    soxr_delete(resampler);
}

} // namespace tonekit
