// failure.h: the ways in which the program's work ends early.
#pragma once

#include <stdexcept>
#include <string>

namespace tonekit::host {

// One file can't be converted or looked at: one line on standard error, exit status 1. Other files go on.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The command line makes no sense: one line on standard error, exit status 2, nothing is touched.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user asked to stop (Ctrl-C or a polite kill). Temporary files are removed on the way up.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

} // namespace tonekit::host
