// json.h: writes JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tonekit::host {

// Builds one JSON text, two blanks deeper for each level. Names are for the members of objects and null in
// arrays.
class JsonWriter {
public:
    void BeginObject(const char *name = nullptr) { Begin(name, '{'); }
    void BeginArray(const char *name = nullptr) { Begin(name, '['); }
    void EndObject() { End('}'); }
    void EndArray() { End(']'); }
    void Text(const char *name, std::string_view value);
    void Whole(const char *name, uint64_t value);
    // Not a number and infinity, which JSON lacks, become null.
    void Real(const char *name, double value, int decimals);
    void Truth(const char *name, bool value);
    void Null(const char *name);

    const std::string &text() const { return text_; }

private:
    void Next(const char *name);
    void Begin(const char *name, char bracket);
    void End(char bracket);

    std::string text_;
    size_t depth_ = 0;
    bool first_ = true;
};

} // namespace tonekit::host
