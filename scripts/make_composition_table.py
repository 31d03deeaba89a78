#!/usr/bin/env python3
"""Writes encode/composition_table.cpp: Unicode's canonical compositions of two characters into one.

Usage: scripts/make_composition_table.py > encode/composition_table.cpp
The data is that of Python's unicodedata module; the table's head names its version.
"""
import sys
import unicodedata


def compositions():
    """All (mark, base, composed) that canonical composition makes, in ascending order. Hangul, which is composed by
    rule and of letters, is not among them."""
    found = []
    for point in range(sys.maxunicode + 1):
        composed = chr(point)
        parts = unicodedata.decomposition(composed).split()
        if len(parts) != 2 or parts[0].startswith("<"):
            continue
        if unicodedata.normalize("NFC", composed) != composed:
            continue  # excluded from composition
        base, mark = (int(part, 16) for part in parts)
        found.append((mark, base, point))
    return sorted(found)


def rows(entries, width):
    for start in range(0, len(entries), width):
        yield "    " + ", ".join(entries[start:start + width]) + ","


def main():
    table = compositions()
    pages = sorted({mark >> 8 for mark, _, _ in table if mark < 0x10000})
    bits = [sum(1 << (page & 7) for page in pages if page >> 3 == byte) for byte in range(32)]
    print(f"""\
// composition_table.cpp: Unicode {unicodedata.unidata_version}'s canonical compositions; written by
// scripts/make_composition_table.py, not by hand.
#include "encode/composition_table.h"

namespace tonekit {{

const size_t kCompositionCount = {len(table)};

// clang-format off
const uint8_t kMarkPages[32] = {{""")
    print("\n".join(rows([f"0x{byte:02X}" for byte in bits], 16)))
    print("};\n\nconst Composition kCompositions[] = {")
    print("\n".join(rows([f"{{0x{m:04X}, 0x{b:04X}, 0x{c:04X}}}" for m, b, c in table], 4)))
    print("};\n// clang-format on\n\n} // namespace tonekit")


main()
