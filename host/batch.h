// batch.h: one or many conversions, side by side on as many threads as asked for.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/report/console.h"
#include "host/tags/extras.h"

#include <vector>

namespace tonekit::host {

// Converts all files and prints what the options ask for. A failure ends one file, not the others. Returns
// the exit status; throws Interrupted.
int RunJobs(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console);

} // namespace tonekit::host
