// canvas.cpp: a palette, rectangles and letters.
#include "host/pictures/canvas.h"

#include "host/pictures/label_font.h"
#include "host/pictures/level_colours.h"

#include <algorithm>

namespace tonekit::host {

namespace {

constexpr Colour kPaper = {24, 24, 28};
constexpr Colour kInk = {238, 238, 240};

std::vector<Colour> Palette()
{
    std::vector<Colour> palette;
    for (int i = 0; i < kLevelColours; ++i)
        palette.push_back(ColourOfLevel(i / (kLevelColours - 1.0)));
    for (int i = 0; i < kInkColours; ++i) {
        Colour colour;
        for (size_t c = 0; c < colour.size(); ++c)
            colour[c] = static_cast<uint8_t>(kPaper[c] + (kInk[c] - kPaper[c]) * i / (kInkColours - 1));
        palette.push_back(colour);
    }
    return palette;
}

int CoverageOf(char digit)
{
    return digit <= '9' ? digit - '0' : digit - 'a' + 10;
}

} // namespace

Canvas::Canvas(uint32_t width, uint32_t height)
    : picture_{width, height, std::vector<uint8_t>(size_t{width} * height, kBackground), Palette()}
{}

void Canvas::Fill(int x, int y, int width, int height, uint8_t colour)
{
    for (int row = y; row < y + height; ++row)
        for (int column = x; column < x + width; ++column)
            Put(column, row, colour);
}

void Canvas::Frame(int x, int y, int width, int height)
{
    constexpr uint8_t kColour = kBackground + kLineInk;
    Fill(x - 1, y - 1, width + 2, 1, kColour);
    Fill(x - 1, y + height, width + 2, 1, kColour);
    Fill(x - 1, y, 1, height, kColour);
    Fill(x + width, y, 1, height, kColour);
}

void Canvas::Write(int x, int y, const std::string &text, uint8_t ink)
{
    const int width = static_cast<int>(picture_.width);
    const int height = static_cast<int>(picture_.height);
    for (const LabelLetter &letter : LabelLettersOf(text)) {
        for (int i = 0; i < letter.width * letter.height; ++i) {
            const int column = x + letter.left + i % letter.width;
            const int row = y + letter.top + i / letter.width;
            const int coverage = CoverageOf(kLabelPixels[letter.pixels + static_cast<uint32_t>(i)]);
            if (coverage > 0 && column >= 0 && column < width && row >= 0 && row < height)
                Put(column, row, static_cast<uint8_t>(kBackground + (ink * coverage + 7) / 15));
        }
        x += letter.advance;
    }
}

} // namespace tonekit::host
