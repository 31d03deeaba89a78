// level_colours.h: the colours of levels in pictures of sound.
#pragma once

#include <array>
#include <cstdint>

namespace tonekit::host {

using Colour = std::array<uint8_t, 3>; // red, green and blue

// From black by violet, red and orange to light yellow: steps look equally large, and they grow brighter all
// the way, so that people who see few colours, and printers without any, keep the order. The table "inferno"
// by Nathaniel J. Smith and Stéfan van der Walt, which is in the public domain (CC0 1.0). `part`: 0 to 1.
Colour ColourOfLevel(double part);

} // namespace tonekit::host
