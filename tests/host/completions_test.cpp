// completions_test.cpp: the shells' completions have the whole table of options.
#include "host/command_line/completions.h"
#include "host/command_line/option_table.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(Completions, NameEveryOption)
{
    const std::string bash = BashCompletion();
    const std::string zsh = ZshCompletion();
    const std::string fish = FishCompletion();
    int options = 0;
    for (const OptionRow &row : OptionRows()) {
        if (!row.name)
            continue;
        const std::string name = row.name;
        const bool last = bash.find(" --" + name + "'") != std::string::npos;
        EXPECT_TRUE(last || bash.find("--" + name + " ") != std::string::npos) << name;
        const bool value = zsh.find("'*--" + name + "=[") != std::string::npos;
        EXPECT_TRUE(value || zsh.find("'*--" + name + "[") != std::string::npos) << name;
        const std::string letter = row.letter ? std::string(" -s ") + row.letter : "";
        EXPECT_NE(fish.find(letter + " -l " + name + " "), std::string::npos) << name;
        ++options;
    }
    EXPECT_GT(options, 35);
}

TEST(Completions, HaveTheValuesThatOptionsTake)
{
    for (const OptionRow &row : OptionRows()) {
        if (!row.values)
            continue;
        for (const std::string &value : row.values()) {
            Options options;
            EXPECT_NO_THROW(row.apply(options, value)) << row.name << " " << value;
            for (const std::string &text : {BashCompletion(), ZshCompletion()})
                EXPECT_NE(text.find(value), std::string::npos) << row.name << " " << value;
        }
    }
    EXPECT_NE(FishCompletion().find("-l quality -x -a 'normal high very-high best' -d"), std::string::npos);
    EXPECT_NE(FishCompletion().find("-l cover -r -F -d"), std::string::npos);
}

} // namespace
} // namespace tonekit::host
