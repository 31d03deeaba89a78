// loudspeakers.h: for which loudspeakers channels are, where that isn't what the converter takes them for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// A bit for each loudspeaker, by its number in the header of WAV files: front left is the lowest one.
using Loudspeakers = uint64_t;

// Of channels that are for these, in NamedChannels' order: the same, or 0 where the converter takes them for
// no others. Rear and side loudspeakers are alike to it, and of one or two channels it needs no names.
Loudspeakers UnlikeConverter(Loudspeakers loudspeakers, uint32_t channels);

// Whether the converter's mixes are right for what UnlikeConverter returned. Of three channels they take the
// first two, which is right if the third is a low-frequency channel.
bool CanBeMixed(Loudspeakers unlike);

// Whether files that name no loudspeakers are taken to be for these.
bool NeedNoNames(Loudspeakers unlike);

// "front left, front right, front centre, rear centre"
std::string NamesOf(Loudspeakers loudspeakers);

// The numbers of libsndfile for these, which the program needs to write a header.
std::vector<int> SoundFileMapOf(Loudspeakers loudspeakers);

// The channels of a file whose header names them.
struct NamedChannels {
    Loudspeakers loudspeakers = 0;
    // The file's channel for each place of the converter's order, which is that of the numbers, but for a
    // rear centre that comes before the rear channels of 6.1.
    std::vector<uint8_t> order;
};

// Out of the number of each channel's loudspeaker; nothing where two are for the same, or one is for none.
std::optional<NamedChannels> FromNumbers(const std::vector<int> &numbers);
// The same out of libsndfile's numbers.
std::optional<NamedChannels> FromSoundFileMap(const std::vector<int> &map);

} // namespace tonekit::host
