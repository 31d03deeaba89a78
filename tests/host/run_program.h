// run_program.h: runs tonekit-convert as a user would.
#pragma once

#include <string>
#include <vector>

namespace tonekit::host::test {

struct Outcome {
    int status = -1; // exit status; 128 + signal if one ended the program
    std::string out; // standard output
    std::string err; // standard error
};

Outcome RunHost(const std::vector<std::string> &arguments);
// The same with a pipe at standard input, through which these bytes come; `out` holds the bytes as they are.
Outcome RunHostOnPipes(const std::string &input, const std::vector<std::string> &arguments);

} // namespace tonekit::host::test
