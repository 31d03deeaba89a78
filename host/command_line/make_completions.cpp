// make_completions.cpp: writes the completions of the shells while the program is built.
#include "host/command_line/completions.h"

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>

namespace {

bool WriteInto(const std::string &folder)
{
    namespace host = tonekit::host;
    const std::pair<const char *, std::string> files[] = {{"tonekit-convert", host::BashCompletion()},
                                                          {"_tonekit-convert", host::ZshCompletion()},
                                                          {"tonekit-convert.fish", host::FishCompletion()}};
    for (const auto &[name, text] : files) {
        std::ofstream file(folder + "/" + name, std::ios::binary);
        file << text;
        file.close();
        if (!file) {
            std::fprintf(stderr, "make_completions: %s/%s can't be written\n", folder.c_str(), name);
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2)
        return WriteInto(argv[1]) ? 0 : 1;
    std::fputs("usage: make_completions FOLDER\n", stderr);
    return 2;
}
