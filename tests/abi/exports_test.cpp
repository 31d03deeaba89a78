// exports_test.cpp: the library exports the frozen lists of names, each in the form of the platform, and
// nothing else.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "tests/abi/exported_names.h"
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

TEST(Exports, EqualTheFrozenLists)
{
    const std::set<std::string> expected = FrozenNames();
    const std::set<std::string> actual = ExportedNames();
    ASSERT_GT(actual.size(), 30u);
    for (const std::string &name : expected)
        EXPECT_TRUE(actual.count(name)) << name << " is not exported";
    for (const std::string &name : actual)
        EXPECT_TRUE(expected.count(name)) << name << " is exported and in no list";
}

} // namespace
} // namespace tonekit
