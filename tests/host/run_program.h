// run_program.h: runs tonekit-convert as a user would.
#pragma once

#include <string>
#include <vector>

namespace tonekit::host::test {

struct Outcome {
    int status = -1;  // exit status; 128 + signal if one ended the program
    std::string out;  // standard output
    std::string err;  // standard error
    long peakKiB = 0; // most memory that the program held at once
};

struct Circumstances {
    unsigned long fileSizeLimit = 0; // bytes that a file may have; 0: no limit
    int signal = 0;                  // sent as soon as a temporary file stands in `watchedFolder`
    std::string watchedFolder = {};
    std::string locale = {}; // LC_ALL; empty: as it is
};

Outcome RunHost(const std::vector<std::string> &arguments, const Circumstances &circumstances = {});

// The same on a terminal of 100 columns; `out` then holds both outputs as the terminal gets them.
Outcome RunOnTerminal(const std::vector<std::string> &arguments);

} // namespace tonekit::host::test
