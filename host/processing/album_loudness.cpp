// album_loudness.cpp: gated loudness over many tracks, by libebur128.
#include "host/processing/album_loudness.h"

#include "host/system/failure.h"

#include <cmath>
#include <new>

namespace tonekit::host {

namespace {

constexpr double kReference = -18; // LUFS, of ReplayGain

// The places of the channels as the measurement of single tracks has them.
std::vector<int> PlacesOf(uint32_t channels)
{
    switch (channels) {
    case 1:
        return {EBUR128_DUAL_MONO};
    case 4:
        return {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND};
    case 5:
        return {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND};
    default: // those of libebur128 itself
        return {};
    }
}

} // namespace

AlbumPart::AlbumPart(const AudioFormat &format)
    : state_(ebur128_init(format.channels, format.rate, EBUR128_MODE_I))
{
    // Formats within its bounds it refuses for want of memory alone.
    constexpr uint32_t kMostChannels = 64;
    constexpr uint32_t kLeastRate = 16;
    constexpr uint32_t kMostRate = 2'822'400;
    if (!state_ && format.channels <= kMostChannels && format.rate >= kLeastRate && format.rate <= kMostRate)
        throw std::bad_alloc();
    if (!state_)
        throw Failure("the loudness of an album can't be measured at " + std::to_string(format.rate) + " Hz");
    const std::vector<int> places = PlacesOf(format.channels);
    for (size_t i = 0; i < places.size(); ++i)
        ebur128_set_channel(state_.get(), static_cast<unsigned>(i), places[i]);
}

void AlbumPart::Take(const double *samples, size_t frames)
{
    if (ebur128_add_frames_double(state_.get(), samples, frames) != EBUR128_SUCCESS)
        throw std::bad_alloc();
}

std::optional<double> AlbumPart::GainOf(const std::vector<const AlbumPart *> &parts)
{
    std::vector<ebur128_state *> states;
    for (const AlbumPart *part : parts)
        states.push_back(part->state_.get());
    double loudness = 0;
    if (states.empty())
        return std::nullopt;
    const int result = ebur128_loudness_global_multiple(states.data(), states.size(), &loudness);
    if (result == EBUR128_ERROR_NOMEM)
        throw std::bad_alloc();
    if (result != EBUR128_SUCCESS || !std::isfinite(loudness))
        return std::nullopt;
    return kReference - loudness;
}

} // namespace tonekit::host
