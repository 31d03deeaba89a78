// batch.h: one or many conversions, side by side on as many threads as asked for.
#pragma once

#include "host/console.h"
#include "host/extras.h"
#include "host/file_conversion.h"
#include "host/options.h"

#include <vector>

namespace tonekit::host {

// Pairs every input with its output: the file that the command line names, or one in the folder that it
// names. Creates that folder if it isn't there. Throws UsageError, or Failure if the folder can't be made.
std::vector<Job> MakeJobs(const Options &options);

// Converts all files and prints what the options ask for. A failure ends one file, not the others. Returns
// the exit status; throws Interrupted.
int RunJobs(const Options &options, const Extras &extras, const std::vector<Job> &jobs, Console &console);

} // namespace tonekit::host
