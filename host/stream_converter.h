// stream_converter.h: the library's converter as an object that feeds a sink.
#pragma once

#include "host/options.h"
#include "host/plan.h"

#include <cstdint>
#include <functional>

namespace tonekit::host {

// Takes converted frames; they are valid during the call only.
using FrameSink = std::function<void(const void *samples, uint32_t frames)>;

// One stream from the plan's source format (or from decoded HDCD) to its target format, on one thread.
class StreamConverter {
public:
    StreamConverter(const Options &options, const Plan &plan);
    StreamConverter(const StreamConverter &) = delete;
    StreamConverter &operator=(const StreamConverter &) = delete;
    ~StreamConverter();

    void Write(const void *samples, uint32_t frames, const FrameSink &sink);
    void Finish(const FrameSink &sink);

private:
    void *handle_;
};

// Hands the options that all converters of the process share to the library. Call before the first converter
// is made.
void ApplySharedSettings(const Options &options);

} // namespace tonekit::host
