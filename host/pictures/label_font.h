// label_font.h: letters for the labels of pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tonekit::host {

// A letter, whose pixels lie right of and above (below zero) the place at which it is written.
struct LabelLetter {
    uint16_t code;    // Unicode
    uint32_t pixels;  // where its pixels begin in kLabelPixels, row by row
    uint8_t advance;  // from this letter to the next
    int8_t left, top; // of its first pixel
    uint8_t width, height;
};

extern const LabelLetter kLabelLetters[]; // rising by code
extern const size_t kLabelLetterCount;
extern const char kLabelPixels[]; // how much of each the letter covers, a hexadecimal digit

constexpr int kLabelAscent = 9; // of a capital, above the line

// The letters of a text in UTF-8; an empty square for those that there aren't.
std::vector<LabelLetter> LabelLettersOf(const std::string &text);

// The width in pixels.
int LabelWidth(const std::string &text);

// The text, or its beginning and its end with … between them, so that it is no wider.
std::string LabelCutToWidth(const std::string &text, int width);

} // namespace tonekit::host
