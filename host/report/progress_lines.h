// progress_lines.h: progress as lines for people.
#pragma once

#include "host/report/progress_state.h"
#include "host/system/platform.h"

#include <string>
#include <vector>

namespace tonekit::host {

// Of a batch, a line for each file in work, and beneath them "3 of 12", a bar, the percentage, the speed as a
// multiple of real time and the time left; of a single file the same in one line, with its name at the end.
// What a narrow terminal has no room for is left out. No line reaches the last column.
std::vector<std::string> ProgressLines(const ProgressState &state, const TerminalSize &size);

} // namespace tonekit::host
