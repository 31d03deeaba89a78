// json_test.cpp: JSON text, byte for byte.
#include "host/json.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace tonekit::host {
namespace {

std::string TextAsJson(const std::string &text)
{
    JsonWriter json;
    json.Text(nullptr, text);
    return json.text();
}

TEST(Json, NestsObjectsAndArrays)
{
    JsonWriter json;
    json.BeginObject();
    json.Whole("n", 18446744073709551615u);
    json.BeginArray("list");
    json.Truth(nullptr, true);
    json.Text(nullptr, "x");
    json.EndArray();
    json.BeginObject("empty");
    json.EndObject();
    json.EndObject();
    EXPECT_EQ(json.text(), "{\n  \"n\": 18446744073709551615,\n  \"list\": [\n    true,\n    \"x\"\n  ],\n"
                           "  \"empty\": {}\n}");
}

TEST(Json, EscapesWhatMustBeEscaped)
{
    EXPECT_EQ(TextAsJson("a\"b\\c\nd\x1F\x7F"), "\"a\\\"b\\\\c\\u000ad\\u001f\\u007f\"");
}

TEST(Json, KeepsUtf8AndReplacesWhatIsNone)
{
    EXPECT_EQ(TextAsJson("\u00e4\u20ac\U0001F3B5"), "\"\u00e4\u20ac\U0001F3B5\"");
    EXPECT_EQ(TextAsJson("\xFF"), "\"\\ufffd\"");
    EXPECT_EQ(TextAsJson("\xC3"), "\"\\ufffd\"");
    EXPECT_EQ(TextAsJson("\xC0\x80"), "\"\\ufffd\\ufffd\"");
    EXPECT_EQ(TextAsJson("\xED\xA0\x80"), "\"\\ufffd\\ufffd\\ufffd\"");
    EXPECT_EQ(TextAsJson("\xF4\x90\x80\x80"), "\"\\ufffd\\ufffd\\ufffd\\ufffd\"");
}

TEST(Json, HasNoNumberThatIsNone)
{
    JsonWriter json;
    json.BeginArray();
    json.Real(nullptr, 1.25, 1);
    json.Real(nullptr, -0.5, 3);
    json.Real(nullptr, std::nan(""), 3);
    json.Real(nullptr, std::numeric_limits<double>::infinity(), 3);
    json.EndArray();
    EXPECT_EQ(json.text(), "[\n  1.2,\n  -0.500,\n  null,\n  null\n]");
}

} // namespace
} // namespace tonekit::host
