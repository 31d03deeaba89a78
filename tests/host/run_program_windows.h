// run_program_windows.h: runs tonekit-convert as Windows starts programs.
#pragma once

#include "tests/host/run_program.h"

namespace tonekit::host::test {

// The rest of the command line after the program's name, as it is typed.
Outcome RunCommandLine(const std::string &arguments);

} // namespace tonekit::host::test
