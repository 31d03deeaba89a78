// exported_names_posix.cpp: the dynamic symbols that the library defines, as nm shows them.
#include "tests/abi/exported_names.h"

#include <cstdio>
#include <memory>
#include <sstream>

namespace tonekit {

namespace {

std::string Output(const std::string &command)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    char part[4096];
    while (std::fgets(part, sizeof part, pipe.get()))
        text += part;
    return text;
}

} // namespace

std::set<std::string> ExportedNames()
{
    const std::string version = "@@TONEKIT_1.0";
    std::set<std::string> names;
    std::istringstream lines(Output(std::string(TONEKIT_NM) + " -D --defined-only " TONEKIT_LIBRARY));
    for (std::string address, kind, name; lines >> address >> kind >> name;) {
        if (kind == "A") // the name of the version itself
            continue;
        const size_t place = name.find('@');
        if (place != std::string::npos && name.substr(place) == version)
            names.insert(name.substr(0, place));
        else
            names.insert(name + " (without " + version + ")");
    }
    return names;
}

} // namespace tonekit
