// option_list.h: options by name, read by the host's own table.
#pragma once

#include "host/command_line/options.h"

#include <string>
#include <utility>
#include <vector>

namespace tonekit::python {

// Names as in the table, values as text; empty for options without one.
using OptionList = std::vector<std::pair<std::string, std::string>>;

// A message of the program, in one line of valid UTF-8, in which its options are arguments of Python.
std::string ForPython(std::string message);

// Throws nb::value_error with the name in front, written as an argument of Python.
host::Options ReadOptions(const OptionList &list);

} // namespace tonekit::python
