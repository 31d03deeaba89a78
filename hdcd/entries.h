// entries.h: the dispatched functions of this family that are not exported.
#pragma once

#include "hdcd/control.h"
#include "hdcd/gain.h"

namespace tonekit {

extern "C" {

// A whole scan: returns the frames up to and including the one that completes a valid code or before which a
// timer lapses, at most max; 0 with nothing changed if max is 0 or less. Changes no sample.
int32_t hdcd_find_codes(HdcdChannelState *states, int32_t channels, const int32_t *samples, int32_t max,
                        int32_t stride);

// Scales `count` samples at a stride to full scale at 2^30, with peak extension if extend is nonzero, and
// attenuates them along the ramp from gain to target_gain: a step of 1 a sample towards more attenuation, of
// 8 towards less, and a rest below 8 is dropped, in a run of no samples too. Returns the gain reached. Bits
// is 16, 20 or 24.
int32_t hdcd_envelope(int32_t *samples, int32_t count, int32_t stride, int32_t bits, int32_t gain,
                      int32_t target_gain, int32_t extend);

// The same for both channels of interleaved frames, 0 or more of them.
void EnvelopeLinked(int32_t *samples, int32_t frames, LinkedGain *gain);

// Decodes count frames of one channel in place; a code takes effect on the frame that completes it. Returns
// the running gain. Sample_count moves on by count, even by a negative one, which has no other effect.
int32_t hdcd_process_channel(HdcdChannelState *state, int32_t *samples, int32_t count, int32_t stride);

// Decodes count stereo frames in place, both channels on one target gain. Returns the right channel's gain.
// Sample_count moves on as above.
int32_t hdcd_process_linked(HdcdDecoder *decoder, int32_t *samples, int32_t count);

// The same without the decoded samples: moves all of the decoder's state on. Writes to the samples in the
// analysis modes only.
int32_t FollowLinked(HdcdDecoder *decoder, int32_t *samples, int32_t count);

} // extern "C"

} // namespace tonekit
