// plan.h: decides what a conversion makes of its input.
#pragma once

#include "host/audio/container.h"
#include "host/audio/loudspeakers.h"
#include "host/audio/sample_format.h"
#include "host/command_line/options.h"

#include <cstdint>

namespace tonekit::host {

struct Source {
    AudioFormat format;
    uint64_t frames = 0;                  // 0: unknown
    bool lossy = false;                   // out of a coder that has no sample depth
    const Container *container = nullptr; // that holds the very same coded audio; null: none
    Loudspeakers loudspeakers = 0;        // where the converter takes the channels for others
};

struct Plan {
    AudioFormat source;
    AudioFormat target;
    const Container *container = nullptr;
    Loudspeakers loudspeakers = 0; // of the target, where they aren't the converter's
    EncoderSettings encoder;
    bool dither = false;
    bool decodeHdcd = false;
    bool limiter = true;         // where a mix can exceed full scale
    bool changesLevel = false;   // the sound becomes louder or softer by the gain
    double gain = 1;             // a factor
    bool copyFile = false;       // not even the coded form changes: the file is copied
    bool copySamples = false;    // nothing changes: the samples are written as they were read
    uint64_t expectedFrames = 0; // 0: unknown

    // Whether sums of channels can exceed full scale.
    bool MixesDown() const { return source.channels > target.channels; }
};

// Throws UsageError if the options alone ask for what the container can't hold.
void CheckTarget(const Options &options, const Container &wanted);

// The plan of a file whose audio is kept as it is, in the form in which the file has it.
Plan PlanToKeep(const AudioFormat &format, Loudspeakers loudspeakers);

// Whether the samples of the plan, complete but for this, are to be dithered.
bool WantsDither(const Options &options, const Plan &plan);

// `wanted` is the container that the output's name or --type asks for. Throws Failure, without a file's name,
// if such an input can't become what is asked for.
Plan MakePlan(const Options &options, const Source &source, const Container &wanted, bool decodeHdcd);

} // namespace tonekit::host
