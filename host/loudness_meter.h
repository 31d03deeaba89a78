// loudness_meter.h: ReplayGain of a stream of samples.
#pragma once

#include "host/report.h"
#include "host/sample_format.h"

#include <cstdint>
#include <memory>
#include <tonekit/loudness.h>
#include <vector>

namespace tonekit::host {

class LoudnessMeter {
public:
    LoudnessMeter(bool truePeak, const AudioFormat &format);

    void Take(const void *samples, uint32_t frames);
    Loudness Result() const;

private:
    struct Release {
        void operator()(ReplayGainState *state) const { ReplayGain_Deinit(state); }
    };

    bool truePeak_;
    AudioFormat format_;
    std::unique_ptr<ReplayGainState, Release> state_;
    std::vector<double> values_;
};

} // namespace tonekit::host
