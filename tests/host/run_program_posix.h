// run_program_posix.h: runs tonekit-convert under circumstances that only POSIX systems let a test arrange.
#pragma once

#include "tests/host/run_program.h"

namespace tonekit::host::test {

struct Circumstances {
    unsigned long fileSizeLimit = 0; // bytes that a file may have; 0: no limit
    unsigned long memoryLimit = 0;   // bytes of address space; 0: no limit
    unsigned long stackLimit = 0;    // bytes of a stack, which the program may raise; 0: no limit
    bool stackIsFixed = false;       // and no more than that
    unsigned long openFiles = 0;     // files open at a time, which the program may raise; 0: no limit
    int signal = 0;                  // sent as soon as a temporary file is in `watchedFolder`
    std::string watchedFolder = {};  // empty: as soon as the program has read `in` empty and waits
    bool signalIgnored = false; // the program inherits the signal as ignored, as a job in the background does
    std::string locale = {};    // LC_ALL; empty: as it is
    std::string preload = {};   // a library that is loaded before all others
    std::string out = {};       // where standard output goes; empty: into the outcome
    bool brokenOutput = false;  // nobody reads standard output
    int in = -1;                // standard input; below 0: that of the test
    bool closedStreams = false; // standard input, output and error aren't there; `out` and `err` stay empty
    long *peakKiB = nullptr;    // gets the most memory that the program held at once
};

Outcome RunHostUnder(const Circumstances &circumstances, const std::vector<std::string> &arguments);

// Whether the system has pseudo-terminals and lets this user open them; a container may not.
bool TerminalsCanBeOpened();

// On a terminal of so many columns; `out` then holds both outputs as the terminal gets them.
Outcome RunOnTerminal(const std::vector<std::string> &arguments, unsigned columns = 100);

} // namespace tonekit::host::test
