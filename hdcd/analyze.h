// analyze.h: the gain stage of the analysis modes, and the tone that they play.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

extern "C" {

// The gain stage of the analysis modes, for prepared samples: touches up those that have the feature that the
// mode shows, and moves the gain as hdcd_envelope does. Cdt_active is the channel's timer; tg_mismatch is 1
// or 0 where channels are linked, -1 elsewhere.
int32_t hdcd_analyze(int32_t *samples, int32_t count, int32_t stride, int32_t gain, int32_t target_gain,
                     int32_t extend, uint32_t mode, uint32_t cdt_active, int32_t tg_mismatch);

// Moves the tone on by one sample and returns it: 300 Hz at every rate.
int32_t hdcd_tone(uint32_t *tone_index, uint32_t sample_rate);

} // extern "C"

// Puts the tone in the place of a channel's audio. Bit 0 of each sample stays, for the control stream; bit 1
// says whether the sample reached the peak extend level of 16 bits.
void PrepareAnalysis(HdcdChannelState *channel, int32_t *samples, int32_t count, int32_t stride);

// What the analysis modes show, for a caller's display.
constexpr int kHdcdAnalyzeModes = 7;
extern const char *const HdcdAnalyzeModeText[kHdcdAnalyzeModes];

} // namespace tonekit
