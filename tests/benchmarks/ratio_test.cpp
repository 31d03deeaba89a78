// ratio_test.cpp: what the tables of ratios print, keep and refuse.
#include "benchmarks/ratio.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <unistd.h>
#include <vector>

namespace tonekit {

namespace {

int RunTable(std::vector<std::string> words)
{
    RatioTable table("A table, of \"two\" rows");
    const auto wait = [](int steps) {
        return [steps] {
            for (int i = 0; i < steps; ++i)
                asm volatile("");
        };
    };
    table.Add("as fast", 0, wait(20000), wait(20000));
    table.Add("a tenth of the peer's speed", 0.5, wait(200000), wait(20000));
    std::vector<char *> argv;
    words.insert(words.begin(), "ratio_test");
    for (std::string &word : words)
        argv.push_back(word.data());
    return table.Run(static_cast<int>(argv.size()), argv.data());
}

class RatioTest : public testing::Test {
protected:
    RatioTest() : file_(testing::TempDir() + "ratio_test." + std::to_string(getpid()) + ".json") {}
    ~RatioTest() override { std::remove(file_.c_str()); }

    std::vector<std::string> Lines() const
    {
        std::ifstream stream(file_);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);)
            lines.push_back(line);
        return lines;
    }

    const std::string file_;
};

TEST_F(RatioTest, SaysWhetherEachLimitIsKept)
{
    EXPECT_EQ(RunTable({"--quick"}), 1);
    EXPECT_EQ(RunTable({"--quick", "--filter", "as fast"}), 0);
    EXPECT_EQ(RunTable({"--once"}), 0) << "limits of single calls";
    EXPECT_EQ(RunTable({"--quick", "--another-make"}), 0) << "limits are for the best bodies";
}

TEST_F(RatioTest, AppendsALineOfJsonARow)
{
    RunTable({"--quick", "--json", file_});
    RunTable({"--quick", "--filter", "tenth", "--another-make", "--json", file_});
    const std::string number = R"re([0-9]+(\.[0-9]+)?(e-?[0-9]+)?)re";
    const auto row = [&](const std::string &table, const std::string &name, const std::string &limit) {
        return std::regex(R"re(\{"processor":"[^"]+ family [0-9]+ model [0-9]+","table":")re" + table +
                          R"re(","row":")re" + name + R"re(","ours":)re" + number + R"re(,"beside":)re" +
                          number + R"re(,"ratio":)re" + number + R"re(,"limit":)re" + limit + R"re(\})re");
    };
    const std::string table = R"re(A table, of \\"two\\" rows)re";
    const std::vector<std::string> lines = Lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(std::regex_match(lines[0], row(table, "as fast", "0"))) << lines[0];
    EXPECT_TRUE(std::regex_match(lines[1], row(table, "a tenth of the peer's speed", R"re(0\.5)re")))
        << lines[1];
    EXPECT_TRUE(std::regex_match(
        lines[2], row(table + ", as another make sees it", "a tenth of the peer's speed", "0")))
        << lines[2];
}

TEST_F(RatioTest, RefusesOptionsThatItDoesNotKnow)
{
    for (const char *word : {"--fliter", "text", "--filter", "--json", "--help", ""})
        EXPECT_EXIT(RunTable({"--once", word}), testing::ExitedWithCode(2),
                    "^usage: ratio_test \\[--filter TEXT\\]")
            << word;
}

TEST_F(RatioTest, EndsWithALineWhereRowsCannotBeWritten)
{
    const std::string path = file_ + "/rows.json"; // in a folder that doesn't exist
    EXPECT_EXIT(RunTable({"--quick", "--json", path}), testing::ExitedWithCode(2),
                "^can't write to .*rows\\.json\n$");
}

} // namespace

} // namespace tonekit
