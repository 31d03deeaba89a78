// option_list.cpp: applies rows of the host's option table.
#include "python/src/option_list.h"

#include "host/command_line/option_table.h"
#include "host/system/failure.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <nanobind/nanobind.h>

namespace tonekit::python {

std::string ForPython(std::string message)
{
    for (const host::OptionRow &row : host::OptionRows()) {
        if (!row.name)
            continue;
        const std::string option = std::string(" --") + row.name;
        std::string argument = std::string(" ") + row.name;
        std::replace(argument.begin(), argument.end(), '-', '_');
        for (size_t at; (at = message.find(option)) != std::string::npos;)
            message.replace(at, option.size(), argument);
    }
    return host::TerminalText(message);
}

host::Options ReadOptions(const OptionList &list)
{
    host::Options options;
    for (const auto &[name, value] : list) {
        const host::OptionRow *const row = host::RowByName(name);
        if (!row)
            throw nanobind::value_error(("there is no option " + name).c_str());
        try {
            row->apply(options, value);
        } catch (const host::UsageError &error) {
            std::string argument = name;
            std::replace(argument.begin(), argument.end(), '-', '_');
            throw nanobind::value_error((argument + " " + error.what() + ", not '" + value + "'").c_str());
        }
    }
    return options;
}

} // namespace tonekit::python
