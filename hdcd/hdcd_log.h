// hdcd_log.h: where the decoder's messages go, and how it words a gain.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

// The sink of a new decoder: it would write to the standard error stream, but is disabled.
HdcdLogSink DisabledHdcdLogSink();

// Passes a message to the sink's callback, unless the sink is null or disabled.
extern "C" void hdcd_log_write(const HdcdLogSink *log, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

// A target gain value of 0 to 15 in dB: 0.0 down to -7.5.
float HdcdTargetGainDecibels(int32_t value);

// A gain in 1/256 dB of attenuation in dB, cut to steps of 0.5.
float HdcdGainDecibels(int32_t gain);

} // namespace tonekit
