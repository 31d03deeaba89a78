// dependency_calls.cpp: passes calls of libsoxr and libebur128 on, and counts what they return.
#include "tests/support/dependency_calls.h"

#include <atomic>
#include <ebur128.h>

#ifdef TONEKIT_OWN_SOXR // whose functions have names of their own
    #define __real_soxr_create __real_tonekit_soxr_create
    #define __wrap_soxr_create __wrap_tonekit_soxr_create
    #define __real_soxr_delete __real_tonekit_soxr_delete
    #define __wrap_soxr_delete __wrap_tonekit_soxr_delete
#endif

extern "C" {
soxr_t __real_soxr_create(double inputRate, double outputRate, unsigned channels, soxr_error_t *error,
                          soxr_io_spec_t const *io, soxr_quality_spec_t const *quality,
                          soxr_runtime_spec_t const *runtime);
soxr_t __wrap_soxr_create(double inputRate, double outputRate, unsigned channels, soxr_error_t *error,
                          soxr_io_spec_t const *io, soxr_quality_spec_t const *quality,
                          soxr_runtime_spec_t const *runtime);
void __real_soxr_delete(soxr_t resampler);
void __wrap_soxr_delete(soxr_t resampler);
ebur128_state *__real_ebur128_init(unsigned channels, unsigned long rate, int mode);
ebur128_state *__wrap_ebur128_init(unsigned channels, unsigned long rate, int mode);
void __real_ebur128_destroy(ebur128_state **state);
void __wrap_ebur128_destroy(ebur128_state **state);
}

namespace tonekit {

namespace {

std::atomic<int64_t> resamplers{0};
std::atomic<int64_t> loudnessStates{0};
std::vector<ResamplerRequest> *recorded = nullptr;

} // namespace

int64_t LiveResamplers()
{
    return resamplers;
}

int64_t LiveLoudnessStates()
{
    return loudnessStates;
}

void RecordResamplers(std::vector<ResamplerRequest> *requests)
{
    recorded = requests;
}

} // namespace tonekit

soxr_t __wrap_soxr_create(double inputRate, double outputRate, unsigned channels, soxr_error_t *error,
                          soxr_io_spec_t const *io, soxr_quality_spec_t const *quality,
                          soxr_runtime_spec_t const *runtime)
{
    const soxr_t resampler = __real_soxr_create(inputRate, outputRate, channels, error, io, quality, runtime);
    tonekit::resamplers += resampler != nullptr;
    if (tonekit::recorded)
        tonekit::recorded->push_back({inputRate, outputRate, channels, error != nullptr, *io, *quality,
                                      runtime != nullptr, resampler != nullptr});
    return resampler;
}

void __wrap_soxr_delete(soxr_t resampler)
{
    tonekit::resamplers -= resampler != nullptr;
    __real_soxr_delete(resampler);
}

ebur128_state *__wrap_ebur128_init(unsigned channels, unsigned long rate, int mode)
{
    ebur128_state *state = __real_ebur128_init(channels, rate, mode);
    tonekit::loudnessStates += state != nullptr;
    return state;
}

void __wrap_ebur128_destroy(ebur128_state **state)
{
    tonekit::loudnessStates -= *state != nullptr;
    __real_ebur128_destroy(state);
}
