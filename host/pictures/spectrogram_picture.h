// spectrogram_picture.h: draws the frequencies of sounds with the axes of time, frequency and level.
#pragma once

#include "host/pictures/png_picture.h"
#include "host/processing/spectrogram.h"

#include <string>
#include <vector>

namespace tonekit::host {

// The level of the lowest colour; that of the highest is a sine of full scale, 0 dBFS.
constexpr double kLowestLevel = -150; // dBFS

// A sound with what is written above it.
struct DrawnSound {
    const Spectrogram *sound;
    std::string title;
    std::string details;
};

// Rows of frequencies for each of so many parts in a picture.
uint32_t SpectrogramRows(uint32_t parts);

// Pixels for a sound of so many seconds: more for a longer one, and fewer for each of two.
uint32_t SpectrogramColumns(double seconds, size_t sounds);

// One sound, or two next to each other with the same axes. Parts of a sound are below each other. The rows of
// a sound of a lower rate than the other one's are expected to be fewer in proportion.
IndexedPicture DrawSpectrograms(const std::vector<DrawnSound> &sounds);

} // namespace tonekit::host
