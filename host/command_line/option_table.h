// option_table.h: the one table of options, from which the command line is read and the help is made.
#pragma once

#include "host/command_line/options.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tonekit::host {

struct OptionRow {
    const char *name;     // after "--"; null: `help` is a heading
    char letter;          // after "-"; 0 for none
    const char *argument; // as help shows it; null for none
    const char *help;
    void (*apply)(Options &options, const std::string &value);
    bool changesAudio = false; // or where it goes: of no use where files are changed in place
    // The values that there are, where they are few; a file is meant where `argument` is FILE.
    std::vector<std::string> (*values)() = nullptr;
};

// All rows, in the order in which help lists them.
std::span<const OptionRow> OptionRows();

// The row of an option; null if there is none.
const OptionRow *RowByName(std::string_view name);
const OptionRow *RowByLetter(char letter);

} // namespace tonekit::host
