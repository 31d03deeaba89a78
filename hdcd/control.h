// control.h: what the control bytes mean.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

// Whether a channel's peaks are extended, by its code or by its options. Always inlined: tier units may not
// leave a copy of it.
[[gnu::always_inline]] inline bool ExtendsPeaks(const HdcdChannelState &channel)
{
    return (channel.control & kHdcdPeakExtend) != 0 || (channel.decoder_options & kHdcdForcePeakExtend) != 0;
}

// Resolves what both control bytes mean together: sets the shared target gain if they agree on it, and each
// channel's peak extension on its own. Returns 1 if the target gains differ, else 0.
extern "C" int32_t hdcd_control_linked(HdcdDecoder *decoder, int32_t *peak_extend_0, int32_t *peak_extend_1);

} // namespace tonekit
