// code_scan.h: a scan for control codes, and what the control bytes mean.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

// One scan for the next control code, taken in pieces. The timers are charged for the whole of it at its
// beginning, so it can't be widened; how it is cut into pieces makes no difference.
struct CodeScan {
    HdcdChannelState *states;
    const std::int32_t *samples; // of the next frame
    std::int32_t channels;
    std::int32_t stride;
    std::int32_t frames; // that the scan may take at most: until the first timer lapses
    std::int32_t consumed;
    bool accepted; // a valid code has ended it
    bool timed[2]; // the channel's timer ran at the beginning
};

// Whether a channel's peaks are extended, by its code or by its options. Always inlined: tier units may not
// leave a copy of it behind.
[[gnu::always_inline]] inline bool ExtendsPeaks(const HdcdChannelState &channel)
{
    return (channel.control & kHdcdPeakExtend) != 0 || (channel.decoder_options & kHdcdForcePeakExtend) != 0;
}

// Resolves what both control bytes mean together: sets the shared target gain if they agree on it, and each
// channel's peak extension on its own. Gives 1 if the target gains differ, else 0.
extern "C" std::int32_t hdcd_control_linked(HdcdDecoder *decoder, std::int32_t *peak_extend_0,
                                            std::int32_t *peak_extend_1);

} // namespace tonekit
