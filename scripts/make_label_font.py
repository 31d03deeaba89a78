#!/usr/bin/env python3
"""Writes host/pictures/label_font_table.cpp: the letters of labels in pictures, drawn from a font of the system.

Usage: scripts/make_label_font.py > host/pictures/label_font_table.cpp
The font is DejaVu Sans (Debian: fonts-dejavu-core), whose licence lets anyone pass on what is made of it; its notice is in
THIRD-PARTY.md. Drawing needs python3-pil.
"""
from PIL import ImageFont

FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
SIZE = 12
COLUMNS = 104
# Basic Latin, Latin-1, Latin Extended-A, Greek, Cyrillic, and what labels need.
RANGES = ((0x20, 0x7E), (0xA1, 0xAC), (0xAE, 0x17F), (0x384, 0x3CE), (0x400, 0x45F), (0x490, 0x491), (0x2010, 0x2015),
          (0x2018, 0x201E), (0x2022, 0x2022), (0x2026, 0x2026), (0x20AC, 0x20AC), (0x2190, 0x2193), (0x2212, 0x2212),
          (0x25A1, 0x25A1))
UNASSIGNED = (0x38B, 0x38D, 0x3A2)


def main():
    font = ImageFont.truetype(FONT, SIZE, layout_engine=ImageFont.Layout.BASIC)
    ascent = font.getmetrics()[0]
    glyphs, pixels = [], ""
    for first, last in RANGES:
        for code in range(first, last + 1):
            if code in UNASSIGNED:
                continue
            letter = chr(code)
            mask = font.getmask(letter, mode="L")
            width, height = mask.size
            left, top, _, _ = font.getbbox(letter)
            box = mask.getbbox()
            if not box:
                box = (0, 0, 0, 0)
            rows = ["".join(f"{mask.getpixel((x, y)) * 15 // 255:x}" for x in range(box[0], box[2]))
                    for y in range(box[1], box[3])]
            glyphs.append(f"{{0x{code:X}, {len(pixels)}, {round(font.getlength(letter))}, {left + box[0]}, "
                          f"{top + box[1] - ascent}, {box[2] - box[0]}, {box[3] - box[1]}}},")
            pixels += "".join(rows)
    print("""\
// label_font_table.cpp: the letters of DejaVu Sans at 12 pixels; written by
// scripts/make_label_font.py, not by hand.
#include "host/pictures/label_font.h"

namespace tonekit::host {

// clang-format off
const LabelLetter kLabelLetters[] = {""")
    line = "   "
    for glyph in glyphs:
        if len(line) + 1 + len(glyph) > COLUMNS:
            print(line)
            line = "   "
        line += " " + glyph
    print(line)
    print(f"""\
}};
const size_t kLabelLetterCount = {len(glyphs)};

const char kLabelPixels[] =""")
    for start in range(0, len(pixels), COLUMNS):
        end = ";" if start + COLUMNS >= len(pixels) else ""
        print(f'    "{pixels[start:start + COLUMNS]}"{end}')
    print("""\
// clang-format on

} // namespace tonekit::host""")


main()
