// exports_test.cpp: the library exports the frozen lists of names, each in the form of the platform, and
// nothing else.
#include "tests/abi/exported_names.h"
#include "tests/support/bodies.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <string>

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
            EXPECT_TRUE(names.insert(name).second) << name << " is in the list twice";
            if (form == "nine")
                for (const char *letter = kTierLetters; *letter; ++letter)
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

// The names that `file` declares as functions, by their last word before an opening parenthesis.
std::set<std::string> Declared(const std::string &file)
{
    std::ifstream stream(file);
    EXPECT_TRUE(stream) << file;
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::regex declaration("(\\w+)\\([^()]*\\);");
    std::set<std::string> names;
    for (std::sregex_iterator match(text.begin(), text.end(), declaration), end; match != end; ++match)
        names.insert((*match)[1]);
    return names;
}

// The classes' members are compared by their types, and the codec's headers come as they are.
TEST(Exports, HaveAFrozenPrototypeEach)
{
    const std::string folder = TONEKIT_SOURCE_DIR "/tests/abi/";
    const std::set<std::string> declared = Declared(folder + "prototypes.h");
    std::set<std::string> listed;
    for (const char *family : {"frame", "convert", "hdcd", "loudness", "tags", "encode", "image"}) {
        std::ifstream list(folder + "exports/" + family + ".txt");
        ASSERT_TRUE(list) << family;
        for (std::string form, name; list >> form >> name;)
            if (name.rfind("_Z", 0) != 0)
                listed.insert(name);
    }
    EXPECT_EQ(declared, listed);
}

} // namespace
} // namespace tonekit
