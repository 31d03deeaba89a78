// json_test.cpp: JSON text, byte for byte.
#include "host/report/json.h"
#include "host/system/memory_limit.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <nlohmann/json.hpp>

namespace tonekit::host {
namespace {

TEST(Json, KeepsTheOrderOfMembers)
{
    const Json json = {
        {"n", 18446744073709551615u}, {"list", Json::Array({true, "x", nullptr})}, {"empty", Json::Object()}};
    EXPECT_EQ(JsonText(json),
              "{\n  \"n\": 18446744073709551615,\n  \"list\": [\n    true,\n    \"x\",\n    null\n  ],\n"
              "  \"empty\": {}\n}");
}

TEST(Json, FitsIntoALineWhereAsked)
{
    EXPECT_EQ(JsonLine({{"a", Json::Array({1, "\n\x7F"})}}), "{\"a\":[1,\"\\n\\u007f\"]}");
}

TEST(Json, EscapesWhatATerminalWouldObey)
{
    EXPECT_EQ(JsonText("a\"b\\c\nd\x1F\x7F"), "\"a\\\"b\\\\c\\nd\\u001f\\u007f\"");
    EXPECT_EQ(JsonLine("\u202Egnp.wav\u2028\u2066\u200E\u200D"),
              "\"\\u202egnp.wav\\u2028\\u2066\\u200e\u200D\"");
    EXPECT_EQ(JsonText("\xC2\x80\xC2\x9B\xC2\x9F\xC2\xA0"), "\"\\u0080\\u009b\\u009f\xC2\xA0\"");
}

TEST(Json, KeepsUtf8AndReplacesWhatIsNone)
{
    EXPECT_EQ(JsonText("\u00e4\u20ac\U0001F3B5"), "\"\u00e4\u20ac\U0001F3B5\"");
    EXPECT_EQ(JsonText("\xFF"), "\"\uFFFD\"");
    EXPECT_EQ(JsonText("a\xC3"), "\"a\uFFFD\"");
    EXPECT_EQ(JsonText("\xC2"), "\"\uFFFD\"");
    EXPECT_EQ(JsonText("\xF0\x9F\x8E"), "\"\uFFFD\"");
    EXPECT_EQ(nlohmann::json::parse(JsonText("\xED\xA0\x80.")).get<std::string>().back(), '.');
}

TEST(Json, HasNoNumberThatIsNone)
{
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(JsonText(Json::Array({1.25, -0.5, std::nan(""), infinity})),
              "[\n  1.25,\n  -0.5,\n  null,\n  null\n]");
}

TEST(Json, SetsMembersInTheirPlaces)
{
    Json json = {{"a", 1}, {"b\x7F", "x"}};
    json.Set("c", Json::Array());
    json.Set("b\x7F", std::vector<std::string>{"y", "z"});
    json.SetAll({{"d", -2}, {"a", false}});
    EXPECT_EQ(JsonLine(json), R"({"a":false,"b\u007f":["y","z"],"c":[],"d":-2})");
}

TEST(Json, EndsInAnExceptionWhereverMemoryEnds)
{
    const std::string expected =
        R"({"files":[{"name":"a name that a short string can't hold","bits":[16,24]}]})";
    std::string text;
    size_t failures = 0;
    for (uint64_t bytes = 0; text.empty(); bytes += 8) {
        const AllocationBudget budget(bytes);
        try {
            Json files = Json::Array();
            files.Add({{"name", "a name that a short string can't hold"}, {"bits", Json::Array({16, 24})}});
            text = JsonLine({{"files", files}});
        } catch (const std::bad_alloc &) {
            ++failures;
        }
    }
    EXPECT_EQ(text, expected);
    EXPECT_GT(failures, 10u);
}

} // namespace
} // namespace tonekit::host
