// name_template.cpp: templates of file names, and names that every file system takes.
#include "host/name_template.h"

#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/terminal_text.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace tonekit::host {

namespace {

std::string Capitals(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

bool IsContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Names of devices on some systems, whatever their extension.
bool IsDevice(const std::string &name)
{
    std::string stem = Capitals(name.substr(0, name.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    if (stem == "CON" || stem == "PRN" || stem == "AUX" || stem == "NUL" || stem == "CONIN$" ||
        stem == "CONOUT$")
        return true;
    if (!stem.starts_with("COM") && !stem.starts_with("LPT"))
        return false;
    const std::string number = stem.substr(3);
    // Raised digits count too.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00b9" ||
           number == "\u00b2" || number == "\u00b3";
}

// Short names of tags that people know better.
std::string KeyOf(const std::string &field)
{
    const std::string key = Capitals(field);
    if (key == "TRACK")
        return "TRACKNUMBER";
    if (key == "DISC")
        return "DISCNUMBER";
    if (key == "YEAR")
        return "DATE";
    return key;
}

std::optional<std::string> NonEmpty(const std::optional<std::string> &value)
{
    return value && !value->empty() ? value : std::nullopt;
}

// "3/12" and "3" to "03"
std::string Padded(const std::string &value, unsigned width)
{
    const size_t end = std::min(value.find_first_not_of("0123456789"), value.size());
    std::string digits = value.substr(0, end);
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

std::string UnknownOf(const std::string &key)
{
    std::string word = key;
    std::transform(word.begin() + 1, word.end(), word.begin() + 1,
                   [](unsigned char c) { return std::tolower(c); });
    return "Unknown " + word;
}

} // namespace

NameTemplate::NameTemplate(const std::string &text)
{
    const auto refuse = [](const char *what) { throw UsageError(what); };
    if (text.empty())
        refuse("must be a name such as '{album}/{track:02} {title}'");
    if (text.front() == '/' || text.find('\\') != std::string::npos || (text.size() > 1 && text[1] == ':'))
        refuse("must stay in the output folder, and has folders separated by /");
    parts_.emplace_back();
    std::string plain; // of the part, to see whether it leads upwards
    Piece piece;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '}') {
            refuse("must have a { for each }");
        } else if (text[i] == '/') {
            parts_.back().push_back(std::exchange(piece, {}));
            if (plain.empty() || plain == "." || plain == "..")
                refuse("must stay in the output folder, without . and .. and empty names");
            plain.clear();
            parts_.emplace_back();
        } else if (text[i] != '{') {
            piece.text += text[i];
            plain += text[i];
        } else {
            const size_t end = text.find('}', i);
            if (end == std::string::npos)
                refuse("must have a } for each {");
            const std::string field = text.substr(i + 1, end - i - 1);
            const size_t colon = std::min(field.find(':'), field.size());
            const std::string width = field.substr(colon);
            if (colon == 0 || field.find_first_of("{/") != std::string::npos)
                refuse("must have the name of a tag between { and }");
            if (!width.empty()) {
                if (width.size() != 3 || width[1] != '0' || width[2] < '1' || width[2] > '9')
                    refuse("must have widths such as {track:02}");
                piece.width = static_cast<unsigned>(width[2] - '0');
            }
            piece.key = KeyOf(field.substr(0, colon));
            plain += '{';
            parts_.back().push_back(std::exchange(piece, {}));
            i = end;
        }
    }
    if (plain.empty() || plain == "." || plain == "..")
        refuse("must end in the name of a file, and stay in the output folder");
    parts_.back().push_back(piece);
}

std::string NameTemplate::Value(const Piece &piece, const Lookup &tag, const std::string &stem) const
{
    std::optional<std::string> value = NonEmpty(tag(piece.key));
    if (!value && piece.key == "ALBUMARTIST")
        value = NonEmpty(tag("ARTIST"));
    if (piece.key == "DATE" && value)
        value = value->substr(0, 4);
    if (piece.width > 0)
        return Padded(value.value_or(""), piece.width);
    if (!value && (piece.key == "TITLE" || piece.key == "NAME"))
        return stem;
    return value.value_or(UnknownOf(piece.key));
}

std::filesystem::path NameTemplate::NameOf(const Lookup &tag, const std::string &stem) const
{
    std::filesystem::path name;
    for (const std::vector<Piece> &part : parts_) {
        std::string text;
        for (const Piece &piece : part)
            text += piece.text + (piece.key.empty() ? "" : Value(piece, tag, stem));
        name /= PathFromUtf8(SafeName(text));
    }
    return name;
}

std::string SafeName(const std::string &text)
{
    constexpr size_t kLongest = 200; // bytes; file systems take 255, and an extension follows
    std::string name;
    for (const char c : WithoutOrders(text))
        name += std::string_view("/\\:*?\"<>|").find(c) != std::string::npos ? '_' : c;
    name.erase(0, std::min(name.find_first_not_of(' '), name.size()));
    name.erase(name.find_last_not_of(". ") + 1);
    // A dot at the start would hide the file.
    if (!name.empty() && name[0] == '.')
        name[0] = '_';
    // An extension makes no file of a device.
    if (name.empty() || IsDevice(name))
        name.insert(std::min(name.find('.'), name.size()), "_");
    if (name.size() > kLongest) {
        size_t end = kLongest;
        while (end > 0 && IsContinuation(name[end]))
            --end;
        name.resize(end);
        name.erase(name.find_last_not_of(". ") + 1);
    }
    return name;
}

} // namespace tonekit::host
