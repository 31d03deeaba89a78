// name_template.h: names outputs by the tags of their inputs.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// A text such as "{albumartist}/{album}/{track:02} {title}". A field is the name of a tag in any case; with
// ":0" and a digit it is a number that is filled up with noughts to so many digits. Slashes separate folders.
class NameTemplate {
public:
    // Throws UsageError if the text makes no sense or would leave the folder that names are made for.
    explicit NameTemplate(const std::string &text);

    // Answers with the value of a tag, its name in capitals; nothing where there is none.
    using Lookup = std::function<std::optional<std::string>(const std::string &key)>;

    // A relative name without an extension, made of names that every file system takes. `stem` is the input's
    // name, which is the title of a file without one.
    std::filesystem::path NameOf(const Lookup &tag, const std::string &stem) const;

private:
    struct Piece {
        std::string text;   // between fields
        std::string key;    // of a field, in capitals; empty: there is only text
        unsigned width = 0; // digits of a number; 0: no number
    };

    std::string Value(const Piece &piece, const Lookup &tag, const std::string &stem) const;

    std::vector<std::vector<Piece>> parts_; // of the name, between slashes
};

// The text as a name that every file system takes: without separators, wild cards, control characters, dots
// and blanks at its ends and names of devices, and of at most 200 bytes.
std::string SafeName(const std::string &text);

} // namespace tonekit::host
