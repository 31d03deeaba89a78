// batch.h: one or many conversions, side by side on as many threads as asked for.
#pragma once

#include "host/console.h"
#include "host/extras.h"
#include "host/file_conversion.h"
#include "host/options.h"

#include <vector>

namespace tonekit::host {

// Converts all files and prints what the options ask for. A failure ends one file, not the others. Returns
// the exit status; throws Interrupted.
int RunJobs(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console);

} // namespace tonekit::host
