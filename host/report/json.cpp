// json.cpp: JSON text that is safe to show.
#include "host/report/json.h"

#include "host/system/terminal_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace tonekit::host {

namespace {

std::string ScalarText(const nlohmann::json &value)
{
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string StringText(const std::string &value)
{
    std::string text;
    for (const char c : ScalarText(value)) {
        if (c == '\x7F')
            text += "\\u007f";
        else
            text += c;
    }
    // The others have the same escapes there.
    return TerminalText(text);
}

void NewLine(std::string &text, int depth)
{
    if (depth < 0)
        return;
    text += '\n';
    text.append(2 * static_cast<size_t>(depth), ' ');
}

} // namespace

std::string Json::TextOf(bool value)
{
    return ScalarText(value);
}

std::string Json::TextOf(double value)
{
    return ScalarText(value);
}

std::string Json::TextOf(int64_t value)
{
    return ScalarText(value);
}

std::string Json::TextOf(uint64_t value)
{
    return ScalarText(value);
}

Json::Json(const char *text) : text_(StringText(text)) {}

Json::Json(const std::string &text) : text_(StringText(text)) {}

Json::Json(const std::vector<std::string> &texts) : kind_(Kind::Array), values_(texts.begin(), texts.end()) {}

Json::Json(std::initializer_list<Member> members) : kind_(Kind::Object)
{
    for (const Member &member : members)
        Set(member.name, member.value);
}

Json Json::Array(std::initializer_list<Json> values)
{
    Json array;
    array.kind_ = Kind::Array;
    array.values_ = values;
    return array;
}

Json Json::Object()
{
    return Json(std::initializer_list<Member>());
}

void Json::Add(Json value)
{
    values_.push_back(std::move(value));
}

void Json::Set(const std::string &name, Json value)
{
    SetQuoted(StringText(name), std::move(value));
}

void Json::SetQuoted(const std::string &name, Json value)
{
    const auto place = std::find(names_.begin(), names_.end(), name);
    if (place != names_.end()) {
        values_[static_cast<size_t>(place - names_.begin())] = std::move(value);
        return;
    }
    names_.push_back(name);
    values_.push_back(std::move(value));
}

void Json::SetAll(const Json &object)
{
    for (size_t i = 0; i < object.names_.size(); ++i)
        SetQuoted(object.names_[i], object.values_[i]);
}

void Json::WriteItem(std::string &text, size_t index, int depth) const
{
    if (index > 0)
        text += ',';
    NewLine(text, depth);
    if (kind_ == Kind::Object)
        text += names_[index] + (depth < 0 ? ":" : ": ");
    values_[index].Write(text, depth);
}

void Json::Write(std::string &text, int depth) const
{
    if (kind_ == Kind::Scalar) {
        text += text_;
        return;
    }
    text += kind_ == Kind::Object ? '{' : '[';
    for (size_t i = 0; i < values_.size(); ++i)
        WriteItem(text, i, depth < 0 ? depth : depth + 1);
    if (!values_.empty())
        NewLine(text, depth);
    text += kind_ == Kind::Object ? '}' : ']';
}

std::string JsonText(const Json &value)
{
    std::string text;
    value.Write(text, 0);
    return text;
}

std::string JsonLine(const Json &value)
{
    std::string text;
    value.Write(text, -1);
    return text;
}

} // namespace tonekit::host
