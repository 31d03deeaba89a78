// exports_test.cpp: the library exports the frozen lists of names, each under its version, and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/bodies.h"

namespace tonekit {
namespace {

// The names that the lists freeze; the nine-name form is written out.
std::set<std::string> FrozenNames()
{
    std::set<std::string> names;
    std::ifstream lists(TONEKIT_EXPORT_LISTS);
    for (std::string file; std::getline(lists, file);) {
        std::ifstream list(file);
        EXPECT_TRUE(list) << file;
        for (std::string form, name; list >> form >> name;) {
            EXPECT_TRUE(form == "nine" || form == "plain") << file << ": " << form;
            EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
            if (form == "nine")
                for (const char *letter = kLetters; *letter; ++letter)
                    names.insert(name + "." + *letter);
        }
    }
    return names;
}

std::string Output(const std::string &command)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    char part[4096];
    while (std::fgets(part, sizeof part, pipe.get()))
        text += part;
    return text;
}

// The dynamic symbols that the library defines, with their versions as nm shows them.
std::set<std::string> ExportedNames()
{
    std::set<std::string> names;
    std::istringstream lines(Output(std::string(TONEKIT_NM) + " -D --defined-only " TONEKIT_LIBRARY));
    for (std::string address, kind, name; lines >> address >> kind >> name;)
        if (kind != "A") // the name of the version itself
            names.insert(name);
    return names;
}

TEST(Exports, EqualTheFrozenLists)
{
    std::set<std::string> expected;
    for (const std::string &name : FrozenNames())
        expected.insert(name + "@@TONEKIT_1.0");
    const std::set<std::string> actual = ExportedNames();
    ASSERT_GT(actual.size(), 30u);
    for (const std::string &name : expected)
        EXPECT_TRUE(actual.count(name)) << name << " is not exported";
    for (const std::string &name : actual)
        EXPECT_TRUE(expected.count(name)) << name << " is exported and in no list";
}

} // namespace
} // namespace tonekit
