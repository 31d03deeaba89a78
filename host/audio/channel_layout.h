// channel_layout.h: brings the channels of Ogg files into the converter's order and back.
#pragma once

#include "host/audio/sample_format.h"

#include <cstdint>

namespace tonekit::host {

// Vorbis and Opus put the centre between left and right and the low-frequency channel last. The other
// containers have the converter's order. Both work on the interleaved frames in place.
void FromVorbisOrder(void *samples, uint32_t frames, const AudioFormat &format);
void ToVorbisOrder(void *samples, uint32_t frames, const AudioFormat &format);

} // namespace tonekit::host
