// level_measurement.h: the first of two passes over a file whose level is to be changed.
#pragma once

#include "host/audio/sample_source.h"
#include "host/file_conversion.h"
#include "host/processing/level.h"

namespace tonekit::host {

// Reads all of the source and goes back to its first frame. Throws Failure where samples are no finite
// numbers, and what the source throws.
MeasuredLevel MeasureLevel(const Options &options, const Plan &plan, SampleSource &source,
                           const ProgressSink &progress);

} // namespace tonekit::host
