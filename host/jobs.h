// jobs.h: from the names on the command line to pairs of an input and an output.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"

#include <filesystem>
#include <vector>

namespace tonekit::host {

// Pairs every input with its output: the file that the command line names, or one in the folder that it
// names. Folders among the inputs are walked. Nothing is written; throws UsageError or Failure if an input is
// missing or two files would become one. A place in a folder that can't be read is a job with an error.
std::vector<Job> MakeJobs(const Options &options);

// The pair of an input that may be anything, and the output that the options name. Throws UsageError.
Job JobFor(const Options &options, const std::filesystem::path &input);

// The name that a file has in the folder of results, before a template of names: its own, with the extension
// of the type that the options name.
std::filesystem::path OutputName(const Options &options, const std::filesystem::path &name);

// The files that --info looks at: the inputs, with the audio files of folders among them. What is missing, or
// can't be read, is among them too.
std::vector<std::filesystem::path> FilesToLookAt(const Options &options);

} // namespace tonekit::host
