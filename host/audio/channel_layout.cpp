// channel_layout.cpp: the channel maps of Ogg files.
#include "host/audio/channel_layout.h"

#include <tonekit/convert.h>

namespace tonekit::host {

namespace {

// Place in the converter's order of each Vorbis channel, by channel count; counts without a row agree.
constexpr uint8_t kOrder[9][8] = {{},
                                  {},
                                  {},
                                  {0, 2, 1},                 // L C R
                                  {},                        // L R back L, back R
                                  {0, 2, 1, 3, 4},           // L C R, back L, back R
                                  {0, 2, 1, 4, 5, 3},        // L C R, back L, back R, LFE
                                  {0, 2, 1, 5, 6, 4, 3},     // L C R, side L, side R, back C, LFE
                                  {0, 2, 1, 6, 7, 4, 5, 3}}; // L C R, side L, side R, back L, back R, LFE

void Permute(void *samples, uint32_t frames, const AudioFormat &format, bool toVorbis)
{
    if (format.channels > 8 || kOrder[format.channels][1] == 0)
        return;
    uint8_t map[16];
    for (uint8_t channel = 0; channel < format.channels; ++channel) {
        map[2 * channel + (toVorbis ? 1 : 0)] = channel;
        map[2 * channel + (toVorbis ? 0 : 1)] = kOrder[format.channels][channel];
    }
    ChangeChannelOrder(static_cast<uint8_t *>(samples), frames, BitsOf(format.sample), format.channels, map);
}

} // namespace

void FromVorbisOrder(void *samples, uint32_t frames, const AudioFormat &format)
{
    Permute(samples, frames, format, false);
}

void ToVorbisOrder(void *samples, uint32_t frames, const AudioFormat &format)
{
    Permute(samples, frames, format, true);
}

} // namespace tonekit::host
