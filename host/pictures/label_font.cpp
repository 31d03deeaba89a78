// label_font.cpp: letters of texts, and how wide they are.
#include "host/pictures/label_font.h"

#include "host/system/terminal_text.h"

#include <algorithm>

namespace tonekit::host {

namespace {

constexpr uint32_t kSquare = 0x25A1;

// The bytes of the character that begins here, in UTF-8 without errors.
size_t BytesAt(const std::string &text, size_t place)
{
    const auto lead = static_cast<unsigned char>(text[place]);
    return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

uint32_t CodeAt(const std::string &text, size_t place, size_t bytes)
{
    const auto lead = static_cast<unsigned char>(text[place]);
    uint32_t code = bytes == 1 ? lead : lead & (0x7Fu >> bytes);
    for (size_t i = 1; i < bytes; ++i)
        code = code << 6 | (static_cast<unsigned char>(text[place + i]) & 0x3F);
    return code;
}

LabelLetter LetterOf(uint32_t code)
{
    const LabelLetter *const end = kLabelLetters + kLabelLetterCount;
    const auto find = [end](uint32_t wanted) {
        return std::lower_bound(kLabelLetters, end, wanted,
                                [](const LabelLetter &letter, uint32_t c) { return letter.code < c; });
    };
    const LabelLetter *const letter = find(code);
    return letter != end && letter->code == code ? *letter : *find(kSquare);
}

// The characters of a text of any bytes, each in its own string.
std::vector<std::string> CharactersOf(const std::string &text)
{
    const std::string shown = TerminalText(text);
    std::vector<std::string> characters;
    for (size_t place = 0; place < shown.size(); place += characters.back().size())
        characters.push_back(shown.substr(place, BytesAt(shown, place)));
    return characters;
}

} // namespace

std::vector<LabelLetter> LabelLettersOf(const std::string &text)
{
    std::vector<LabelLetter> letters;
    for (const std::string &character : CharactersOf(text))
        letters.push_back(LetterOf(CodeAt(character, 0, character.size())));
    return letters;
}

int LabelWidth(const std::string &text)
{
    int width = 0;
    for (const LabelLetter &letter : LabelLettersOf(text))
        width += letter.advance;
    return width;
}

std::string LabelCutToWidth(const std::string &text, int width)
{
    std::vector<std::string> characters = CharactersOf(text);
    const auto joined = [&](size_t left, size_t right) {
        std::string cut;
        for (size_t i = 0; i < left; ++i)
            cut += characters[i];
        if (left + right < characters.size())
            cut += "…";
        for (size_t i = characters.size() - right; i < characters.size(); ++i)
            cut += characters[i];
        return cut;
    };
    // Names of files differ at the end more often than at the beginning, and their type is there.
    size_t kept = characters.size();
    while (kept > 0 && LabelWidth(joined(kept - kept / 2, kept / 2)) > width)
        --kept;
    return joined(kept - kept / 2, kept / 2);
}

} // namespace tonekit::host
