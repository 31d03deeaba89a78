// open_input.h: the samples that a job asks for.
#pragma once

#include "host/audio/sample_source.h"
#include "host/file_conversion.h"

#include <memory>

namespace tonekit::host {

// Opens the job's input, or the part of it that the job is about. Throws Failure.
std::unique_ptr<SampleSource> OpenInput(const Options &options, const Job &job);

} // namespace tonekit::host
