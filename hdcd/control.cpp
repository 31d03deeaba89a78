// control.cpp: what the control bytes of two linked channels mean together.
#include "hdcd/control.h"

#include "hdcd/hdcd_log.h"

namespace tonekit {

extern "C" int32_t hdcd_control_linked(HdcdDecoder *decoder, int32_t *peak_extend_0, int32_t *peak_extend_1)
{
    const HdcdChannelState &left = decoder->channel[0];
    const HdcdChannelState &right = decoder->channel[1];
    *peak_extend_0 = ExtendsPeaks(left);
    *peak_extend_1 = ExtendsPeaks(right);
    const int32_t leftGain = left.control & kHdcdGainMask;
    const int32_t rightGain = right.control & kHdcdGainMask;
    if (leftGain == rightGain) {
        decoder->val_target_gain = leftGain * kHdcdGainStep;
        return 0;
    }
    // Both channels go on towards the last gain on which they agreed.
    if ((left.decoder_options & kHdcdSilentMismatch) == 0)
        hdcd_log_write(left.log,
                       "hdcd error: Unmatched target_gain near %d: tg0: %0.1f, tg1: %0.1f, lvg: %0.1f\n",
                       left.sample_count, HdcdTargetGainDecibels(leftGain), HdcdTargetGainDecibels(rightGain),
                       HdcdGainDecibels(decoder->val_target_gain));
    return 1;
}

} // namespace tonekit
