// terminal_text.h: texts of others as a terminal may get them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tonekit::host {

// The text in one line that no terminal obeys: control characters (those of U+0080 to U+009F too), marks that
// turn the direction of writing, and bytes that are no UTF-8 become escapes such as \n, \x1b or \u009b. With
// `lines`, line feeds stay.
std::string TerminalText(const std::string &text, bool lines = false);

// The text with an underscore in the place of each such character or byte.
std::string WithoutOrders(const std::string &text);

// Whether a text is well-formed UTF-8.
bool IsUtf8(std::string_view text);

// The columns that a text takes on a terminal: East Asian characters and pictures take two, marks that join
// the character before them none.
size_t ColumnsOf(const std::string &text);
// The text, or as much of its beginning as fits into so many columns.
std::string CutToColumns(const std::string &text, size_t columns);

} // namespace tonekit::host
