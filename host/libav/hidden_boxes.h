// hidden_boxes.h: which boxes of an MP4 file libavformat is better kept from.
#pragma once

#include "host/audio/header_bytes.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tonekit::host {

// Eight bytes that are to be read in the place of a box's header: one that is skipped up to the same end.
struct HiddenBox {
    uint64_t place = 0;
    std::array<unsigned char, 8> header{};
};

// Pictures, of which libavformat keeps copies, and all tags of a file after the first 2048, to each of which
// it compares every further one. (The program has them from TagLib.) In the order of their places; none of a
// file of another type. Throws std::system_error if the system fails.
std::vector<HiddenBox> BoxesToHide(HeaderBytes &bytes);

} // namespace tonekit::host
