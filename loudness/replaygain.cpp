// replaygain.cpp: measures the loudness of a track with libebur128.
#include "frame/allocator.h"
#include "loudness/state.h"

#include <cmath>
#include <limits>

namespace {

constexpr int kSamplePeakMode = EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK;
constexpr int kTruePeakMode = kSamplePeakMode | EBUR128_MODE_TRUE_PEAK;
static_assert(kSamplePeakMode == 21 && kTruePeakMode == 53);

// Below this libebur128 sizes its buffer for too few blocks and writes past its end.
constexpr uint32_t kLeastRate = 100;

// From here on libebur128 needs no interpolator for the true peak.
constexpr uint32_t kRateWithoutInterpolator = 192000;

// The value, in dB, of a track at 0 LUFS.
constexpr double kReferenceLoudness = -18.0;

void SetChannels(ebur128_state *ebur128, const int *map, uint32_t channels)
{
    for (uint32_t channel = 0; channel < channels; ++channel)
        ebur128_set_channel(ebur128, channel, map[channel]);
}

// Other counts keep the library's own map.
void MapChannels(ebur128_state *ebur128, uint32_t channels)
{
    static constexpr int kMono[] = {EBUR128_DUAL_MONO};
    static constexpr int kQuad[] = {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_LEFT_SURROUND,
                                    EBUR128_RIGHT_SURROUND};
    static constexpr int kFive[] = {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_LEFT_SURROUND,
                                    EBUR128_RIGHT_SURROUND};
    switch (channels) {
    case 1:
        return SetChannels(ebur128, kMono, channels);
    case 4:
        return SetChannels(ebur128, kQuad, channels);
    case 5:
        return SetChannels(ebur128, kFive, channels);
    default:
        return;
    }
}

bool ChangeParameters(ebur128_state *ebur128, uint32_t channels, uint32_t sampleRate)
{
    if (sampleRate < kLeastRate)
        return false;
    const int result = ebur128_change_parameters(ebur128, channels, sampleRate);
    return result == EBUR128_SUCCESS || result == EBUR128_ERROR_NO_CHANGE;
}

// A state of the library, or null if it refuses the format or has no memory. Where the last allocation of
// ebur128_init fails it forgets those of its interpolator. A change forgets nothing, and leaves the same
// state as an init with the new format. So what needs an interpolator begins without one.
ebur128_state *NewLibraryState(uint32_t channels, uint32_t sampleRate, int mode)
{
    if (sampleRate < kLeastRate)
        return nullptr;
    if (sampleRate >= kRateWithoutInterpolator)
        return ebur128_init(channels, sampleRate, mode);
    ebur128_state *ebur128 = ebur128_init(1, kRateWithoutInterpolator, mode);
    if (ebur128 && !ChangeParameters(ebur128, channels, sampleRate))
        ebur128_destroy(&ebur128); // leaves null
    return ebur128;
}

ReplayGainState *NewState(uint32_t channels, uint32_t sampleRate, bool truePeak)
{
    auto *state = static_cast<ReplayGainState *>(tonekit::Allocate(sizeof(ReplayGainState)));
    state->samples_seen = 0;
    state->use_true_peak = truePeak;
    state->channels = channels;
    state->ebur128 = NewLibraryState(channels, sampleRate, truePeak ? kTruePeakMode : kSamplePeakMode);
    if (state->ebur128)
        MapChannels(state->ebur128, channels);
    return state;
}

} // namespace

ReplayGainState *ReplayGain_Init(uint32_t channels, uint32_t sampleRate)
{
    return NewState(channels, sampleRate, false);
}

ReplayGainState *ReplayGain_Init_TruePeak(uint32_t channels, uint32_t sampleRate)
{
    return NewState(channels, sampleRate, true);
}

// state->channels stays: the peak is that of the channels at creation.
void ReplayGain_Change(ReplayGainState *state, uint32_t channels, uint32_t sampleRate)
{
    if (!state || !state->ebur128)
        return;
    if (ChangeParameters(state->ebur128, channels, sampleRate))
        MapChannels(state->ebur128, channels);
    else
        ebur128_destroy(&state->ebur128); // leaves null
}

void ReplayGain_Process(ReplayGainState *state, const double *samples, uint32_t frames)
{
    if (!state)
        return;
    // After a failed allocation libebur128 writes past its buffer with the next samples.
    if (state->ebur128 && ebur128_add_frames_double(state->ebur128, samples, frames) == EBUR128_ERROR_NOMEM)
        ebur128_destroy(&state->ebur128); // leaves null
    state->samples_seen += frames;
}

double ReplayGain_GetLoudness(ReplayGainState *state)
{
    if (!state || !state->ebur128)
        return tonekit::kMissingValue;
    double loudness = -std::numeric_limits<double>::infinity();
    ebur128_loudness_global(state->ebur128, &loudness);
    if (std::isinf(loudness) && loudness < 0)
        return tonekit::kMissingValue;
    return kReferenceLoudness - loudness;
}

uint64_t ReplayGain_GetSamples(ReplayGainState *state)
{
    return state ? state->samples_seen : 0;
}

void ReplayGain_Deinit(ReplayGainState *state)
{
    if (!state)
        return;
    if (state->ebur128)
        ebur128_destroy(&state->ebur128);
    tonekit::Release(state);
}
