// terminal_drawing.h: the control sequences that draw lines in the place of earlier ones.
#pragma once

#include <string>
#include <vector>

namespace tonekit::host {

// Draws the lines from the cursor's row on, clears all beneath them, and puts the cursor back to their
// beginning. There it is still at their beginning when a terminal that is resized has broken them anew, or
// cut them, so that the next drawing leaves nothing of them. Without lines only clears. No line breaks at the
// edge of the terminal.
std::string TerminalDrawing(const std::vector<std::string> &lines);

} // namespace tonekit::host
