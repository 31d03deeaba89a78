// decoder.h: sets a decoder to another format.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

// Starts the decoder afresh for another format: 0 (44100), 44100, 48000, 88200, 96000, 176400 or 192000 Hz,
// and 0 (16), 16, 20 or 24 bits. Returns 1; 0 with nothing changed for anything else and for null.
extern "C" uint32_t hdcd_reconfigure(HdcdDecoder *decoder, uint32_t sample_rate, int32_t bits);

} // namespace tonekit
