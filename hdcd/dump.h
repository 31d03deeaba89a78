// dump.h: writes the counters of a decoder to its log.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

extern "C" {

// Write one channel's counters to its log, each line marked with the channel's number unless that is
// negative. Null is ignored.
void hdcd_dump_state(const HdcdChannelState *channel_state, int32_t channel_number);
void hdcd_dump_state_brief(const HdcdChannelState *channel_state, int32_t channel_number);

// hdcd_dump_state of channel 0, then of channel 1.
void hdcd_dump_both(const HdcdDecoder *decoder);

} // extern "C"

} // namespace tonekit
