// loudness_meter.h: ReplayGain of a stream of samples.
#pragma once

#include "host/audio/sample_format.h"
#include "host/processing/album_loudness.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <tonekit/loudness.h>
#include <vector>

namespace tonekit::host {

struct Loudness {
    std::optional<double> gain; // dB; none for silence or less than the measurement needs
    std::optional<double> peak; // linear; neither is known of samples beyond kLoudestSample
    bool truePeak = false;
};

class LoudnessMeter {
public:
    // Throws std::bad_alloc, as Result does, where memory for the measurement ran out.
    // `forAlbum`: what an album needs of the track is kept, too.
    LoudnessMeter(bool truePeak, const AudioFormat &format, bool forAlbum = false);

    void Take(const void *samples, uint32_t frames);
    Loudness Result() const;
    // Null if it wasn't asked for.
    std::shared_ptr<AlbumPart> albumPart() const { return albumPart_; }

private:
    struct Release {
        void operator()(ReplayGainState *state) const { ReplayGain_Deinit(state); }
    };

    void CheckMemory() const;

    bool truePeak_;
    AudioFormat format_;
    std::unique_ptr<ReplayGainState, Release> state_;
    std::shared_ptr<AlbumPart> albumPart_;
    std::vector<double> values_;
};

} // namespace tonekit::host
