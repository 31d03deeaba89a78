// dump.cpp: writes the counters of a decoder to its log.
#include "hdcd/dump.h"

#include "hdcd/hdcd_log.h"

#include <cstdio>

namespace tonekit {

namespace {

// What marks a line as a channel's: at most 20 bytes.
struct Prefix {
    char text[20 + 1] = "";

    Prefix(const char *format, int32_t number)
    {
        if (number >= 0)
            std::snprintf(text, sizeof text, format, number);
    }
};

} // namespace

extern "C" void hdcd_dump_state(const HdcdChannelState *channel_state, int32_t channel_number)
{
    if (!channel_state)
        return;
    const HdcdChannelState &c = *channel_state;
    const Prefix prefix(".channel%d", channel_number);
    const char *p = prefix.text;
    hdcd_log_write(c.log,
                   "%s.code_counterA: %d\n%s.code_counterA_almost: %d\n%s.code_counterB: %d\n"
                   "%s.code_counterB_checkfails: %d\n%s.code_counterC: %d\n%s.code_counterC_unmatched: %d\n"
                   "%s.count_peak_extend: %d\n%s.count_transient_filter: %d\n%s.count_sustain_expired: %d\n"
                   "%s.max_gain: [%02d] %0.1f dB\n",
                   p, c.code_counterA, p, c.code_counterA_almost, p, c.code_counterB, p,
                   c.code_counterB_checkfails, p, c.code_counterC, p, c.code_counterC_unmatched, p,
                   c.count_peak_extend, p, c.count_transient_filter, p, c.count_sustain_expired, p,
                   c.max_gain, HdcdTargetGainDecibels(c.max_gain));
    for (int32_t gain = 0; gain <= c.max_gain; ++gain)
        hdcd_log_write(c.log, "%s.tg[%02d] %0.1f dB: %d\n", p, gain, HdcdTargetGainDecibels(gain),
                       c.gain_counts[gain]);
}

extern "C" void hdcd_dump_state_brief(const HdcdChannelState *channel_state, int32_t channel_number)
{
    if (!channel_state)
        return;
    const HdcdChannelState &c = *channel_state;
    const Prefix prefix("Channel %d: ", channel_number);
    const char *p = prefix.text;
    hdcd_log_write(c.log, "%scounter A: %d, B: %d, C: %d\n", p, c.code_counterA, c.code_counterB,
                   c.code_counterC);
    hdcd_log_write(c.log,
                   "%spe: %d, tf: %d, almost_A: %d, checkfail_B: %d, unmatched_C: %d, cdt_expired: %d\n", p,
                   c.count_peak_extend, c.count_transient_filter, c.code_counterA_almost,
                   c.code_counterB_checkfails, c.code_counterC_unmatched, c.count_sustain_expired);
    for (int32_t gain = 0; gain <= c.max_gain; ++gain)
        hdcd_log_write(c.log, "%stg %0.1f: %d\n", p, HdcdTargetGainDecibels(gain), c.gain_counts[gain]);
}

extern "C" void hdcd_dump_both(const HdcdDecoder *decoder)
{
    if (!decoder)
        return;
    for (int32_t i = 0; i < 2; ++i)
        hdcd_dump_state(&decoder->channel[i], i);
}

} // namespace tonekit
