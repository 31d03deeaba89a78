// canvas.h: a picture of levels and labels in the making.
#pragma once

#include "host/pictures/png_picture.h"

#include <cstdint>
#include <string>

namespace tonekit::host {

// Colours are places in one palette: those of levels, and those from the background to the brightest text.
constexpr uint8_t kLevelColours = 224;
constexpr uint8_t kInkColours = 32;
constexpr uint8_t kBackground = kLevelColours;
// Text and lines of a strength from 0, the background, to 31.
constexpr uint8_t kBrightInk = kInkColours - 1;
constexpr uint8_t kPlainInk = 22;
constexpr uint8_t kLineInk = 12;

class Canvas {
public:
    Canvas(uint32_t width, uint32_t height);

    void Put(int x, int y, uint8_t colour)
    {
        picture_.pixels[static_cast<size_t>(y) * picture_.width + static_cast<size_t>(x)] = colour;
    }
    void Fill(int x, int y, int width, int height, uint8_t colour);
    // A line of one pixel around what has this place and size.
    void Frame(int x, int y, int width, int height);
    // Text that begins at x, with y as its base line. What is outside the picture is left out.
    void Write(int x, int y, const std::string &text, uint8_t ink);

    const IndexedPicture &picture() const { return picture_; }

private:
    IndexedPicture picture_;
};

} // namespace tonekit::host
