// limiter_watch.h: when the limiter of a conversion turned the sound down, and how far.
#pragma once

#include "host/audio/sample_format.h"
#include "host/processing/stream_converter.h"
#include "host/report/report.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tonekit::host {

// Follows the limiter of one converter. Its gain only decreases, first in the frame whose mix exceeds full
// scale first.
class LimiterWatch {
public:
    // `format` is that of the frames that the converter takes.
    LimiterWatch(const StreamConverter &converter, const AudioFormat &format)
        : converter_(converter), format_(format)
    {}

    // Looks at frames that the converter has taken.
    void Look(const void *samples, uint32_t frames);
    // What there was, after the last frame; nothing if the limiter let everything through.
    std::optional<LimiterReport> Found() const;

private:
    const StreamConverter &converter_;
    AudioFormat format_;
    uint64_t frames_ = 0;
    std::optional<uint64_t> first_; // frame that exceeds full scale
    std::vector<double> values_;
};

} // namespace tonekit::host
