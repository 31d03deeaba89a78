// stream_converter.h: the library's converter as an object that feeds a sink.
#pragma once

#include "host/command_line/options.h"
#include "host/plan.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <tonekit/convert.h>

namespace tonekit::host {

// Takes converted frames; they are valid during the call only.
using FrameSink = std::function<void(const void *samples, uint32_t frames)>;

// One stream from the plan's source format (or from decoded HDCD) to its target format, on one thread at a
// time. Takes its turn with the library's process-wide settings by itself, so that streams with different
// ones may run at once.
class StreamConverter {
public:
    StreamConverter(const Options &options, const Plan &plan);
    StreamConverter(const StreamConverter &) = delete;
    StreamConverter &operator=(const StreamConverter &) = delete;
    ~StreamConverter();

    void Write(const void *samples, uint32_t frames, const FrameSink &sink);
    void Finish(const FrameSink &sink);
    // Whether so many frames would only wait for more: a Write of them calls no sink and takes no longer than
    // a copy.
    bool OnlyGathers(uint64_t frames) const;

    // The factor by which the limiter has turned the mix down so far.
    double LimiterGain() const;
    // Whether there is a limiter in this conversion.
    bool CanLimit() const;
    // Whether the limiter, had it done nothing yet, would act on this frame of input. Full scale is at 1.0.
    bool MixExceedsFullScale(const double *frame) const;
    // Whether a mix of samples up to full scale can exceed it where no limiter acts.
    bool MixCanExceedFullScale() const;
    // How many samples of the mix of these frames are louder than full scale where no limiter acts.
    uint64_t LouderInMix(const double *frames, uint32_t count) const;

private:
    struct Release {
        void operator()(void *handle) const;
    };
    template <class Call>
    uint32_t WithSettings(Call call) const;

    const CSampleRateConverter4 &Converter() const;

    uint32_t ditherMode_;
    uint32_t hdcdGain_;
    bool dither_;
    bool decodeHdcd_;
    std::unique_ptr<void, Release> handle_;
};

} // namespace tonekit::host
