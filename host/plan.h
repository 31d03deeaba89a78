// plan.h: decides what a conversion makes of its input.
#pragma once

#include "host/container.h"
#include "host/options.h"
#include "host/sample_format.h"

#include <cstdint>

namespace tonekit::host {

struct Source {
    AudioFormat format;
    uint64_t frames = 0; // 0: unknown
    bool lossy = false;  // out of a coder that has no sample depth
};

struct Plan {
    AudioFormat source;
    AudioFormat target;
    const Container *container = nullptr;
    EncoderSettings encoder;
    bool dither = false;
    bool decodeHdcd = false;
    bool copySamples = false;    // nothing changes: the samples are written as they were read
    uint64_t expectedFrames = 0; // 0: unknown
};

// Throws UsageError if the options alone ask for what the container can't hold.
void CheckTarget(const Options &options, const Container &wanted);

// `wanted` is the container that the output's name or --type asks for. Throws Failure, without a file's name,
// if such an input can't become what is asked for.
Plan MakePlan(const Options &options, const Source &source, const Container &wanted, bool decodeHdcd);

} // namespace tonekit::host
