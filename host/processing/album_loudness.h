// album_loudness.h: the loudness of several tracks as one piece of music.
#pragma once

#include "host/audio/sample_format.h"

#include <cstddef>
#include <cstdint>
#include <ebur128.h>
#include <memory>
#include <optional>
#include <vector>

namespace tonekit::host {

// What one track adds to the loudness of its album. Loudness can't be added up from that of tracks: the gates
// look at all parts of all tracks.
class AlbumPart {
public:
    explicit AlbumPart(const AudioFormat &format);

    // Interleaved, full scale at 1.0.
    void Take(const double *samples, size_t frames);

    // The ReplayGain of all parts together, in dB: -18 minus their loudness in LUFS. Nothing for silence and
    // for less than the measurement needs.
    static std::optional<double> GainOf(const std::vector<const AlbumPart *> &parts);

private:
    struct Release {
        void operator()(ebur128_state *state) const { ebur128_destroy(&state); }
    };

    std::unique_ptr<ebur128_state, Release> state_;
};

} // namespace tonekit::host
