// completions.h: what shells have to know to complete the program's arguments.
#pragma once

#include <string>

namespace tonekit::host {

// The files that bash, zsh and fish look for, made from the table of options.
std::string BashCompletion();
std::string ZshCompletion();
std::string FishCompletion();

} // namespace tonekit::host
