// file_conversion.h: converts one file.
#pragma once

#include "host/container.h"
#include "host/extras.h"
#include "host/options.h"
#include "host/report.h"

#include <filesystem>
#include <functional>

namespace tonekit::host {

struct Job {
    std::filesystem::path input;
    std::filesystem::path output;
    // The type that --type or the output's extension asks for.
    const Container *container = nullptr;
};

// The part that is done, 0 to 1, and the seconds of music that have gone through.
using ProgressSink = std::function<void(double done, double audioSeconds)>;

// Converts the file. Throws Failure or Interrupted; the output then is as it was before.
ConversionReport ConvertFile(const Options &options, const Extras &extras, const Job &job,
                             const ProgressSink &progress);

} // namespace tonekit::host
