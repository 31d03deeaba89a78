// terminal_text.h: texts of others as a terminal may get them.
#pragma once

#include <string>

namespace tonekit::host {

// The text in one line that no terminal obeys: control characters (those of U+0080 to U+009F too), marks that
// turn the direction of writing, and bytes that are no UTF-8 become escapes such as \n, \x1b or \u009b. With
// `lines`, line feeds stay.
std::string TerminalText(const std::string &text, bool lines = false);

} // namespace tonekit::host
