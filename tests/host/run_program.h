// run_program.h: runs tonekit-convert as a user would.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace tonekit::host::test {

struct Outcome {
    int status = -1; // exit status; 128 + signal if one ended the program
    std::string out; // standard output
    std::string err; // standard error
};

// What the program itself wrote on standard error. Windows has no way to keep the lines of libraries off it,
// and there they are left out; elsewhere this is all.
inline std::string OwnLines(const std::string &err)
{
#ifndef _WIN32
    return err;
#else
    std::string own;
    for (size_t at = 0, end = 0; at < err.size(); at = end) {
        end = std::min(err.find('\n', at), err.size() - 1) + 1;
        if (err.compare(at, 17, "tonekit-convert: ") == 0)
            own += err.substr(at, end - at);
    }
    return own;
#endif
}

Outcome RunHost(const std::vector<std::string> &arguments);
// The same with a pipe at standard input, through which these bytes come; `out` holds the bytes as they are.
Outcome RunHostOnPipes(const std::string &input, const std::vector<std::string> &arguments);

} // namespace tonekit::host::test
