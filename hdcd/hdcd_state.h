// hdcd_state.h: the records that make up a decoder, and what sets them up.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <tonekit/hdcd.h>

namespace tonekit {

// The first word of each record is its kind; hdcd_set_log and hdcd_set_analyze_mode go by it.
enum HdcdRecordKind : uint32_t {
    kHdcdChannelRecord = 1,
    kHdcdDecoderRecord = 2,
    kHdcdDetectionRecord = 3,
    kHdcdLogRecord = 4,
};

// HdcdChannelState::decoder_options
constexpr uint32_t kHdcdSilentMismatch = 64;   // don't log target gain mismatches; read from channel 0
constexpr uint32_t kHdcdForcePeakExtend = 128; // peak extension on, whatever the code says

// HdcdChannelState::control. Bits 6 and 7 of a code B are kept as they come and mean nothing.
constexpr uint8_t kHdcdGainMask = 15; // target gain, in steps of 0.5 dB of attenuation
constexpr uint8_t kHdcdPeakExtend = 16;
constexpr uint8_t kHdcdTransientFilter = 32; // counted, never acted on

// Gains count in 1/256 dB of attenuation: a step of the target gain is 128, the deepest 1920.
constexpr int32_t kHdcdGainStep = 128;

// Takes messages. Created disabled.
struct HdcdLogSink {
    uint32_t record_kind;
    uint32_t enable;
    void *priv; // passed back to the callback
    void (*callback)(void *priv, const char *format, std::va_list arguments);
};

// What the control stream of one channel has said, and where its scan and its gain are.
struct HdcdChannelState {
    uint32_t record_kind;
    uint32_t decoder_options;
    uint64_t window;   // the last least significant bits, newest in bit 0
    uint8_t readahead; // samples to read before the window is looked at again
    uint8_t arg;       // 1: a prefix has been seen and its code is awaited
    uint8_t control;   // the control byte in force
    uint32_t sustain;  // code detect timer: samples left before control lapses; 0: not running
    uint32_t sustain_reset;
    int32_t running_gain; // 0 to 1920
    int32_t bits;         // significant bits of an input sample: 16, 20 or 24
    uint32_t sample_rate;
    int32_t cdt_ms;
    int32_t code_counterA;
    int32_t code_counterA_almost;
    int32_t code_counterB;
    int32_t code_counterB_checkfails;
    int32_t code_counterC;
    int32_t code_counterC_unmatched; // reported and summed, but never counted: it stays 0
    int32_t count_peak_extend;
    int32_t count_transient_filter;
    int32_t gain_counts[16];
    int32_t max_gain;              // the largest target gain seen, 0 to 15
    int32_t count_sustain_expired; // -1 until the timer has been set
    HdcdLogSink *log;              // not owned
    int32_t sample_count;          // as of the last processing call
    uint32_t analyze_mode;
    uint32_t tone_index;
};

// The summary of both channels' counters.
struct HdcdDetection {
    uint32_t detection_kind;
    uint32_t detected;    // 0 no; 1 without effect; 2 with effect
    uint32_t packet_type; // bit 0: code A seen; bit 1: code B
    int32_t total_packets;
    int32_t errors;
    uint32_t peak_extend; // 0 never; 1 intermittent, for good; 2 permanent so far
    uint32_t uses_transient_filter;
    float max_gain_adjustment; // dB, 0.0 down to -7.5
    int32_t cdt_expirations;
    uint32_t active_count; // channels with a running timer
};

// Resets one channel. A sample rate of 0 means 44100, 0 bits mean 16, a timer of 0 ms means 2000; other
// timers are held to 100 to 60000 ms. Null is ignored.
extern "C" void hdcd_channel_init(HdcdChannelState *channel, uint32_t sample_rate, int32_t bits,
                                  int32_t cdt_ms, uint32_t options);

// Zeroes the two-channel part of a decoder and resets both channels. The detection and what follows it stay.
// Null is ignored.
extern "C" void hdcd_decoder_init(HdcdDecoder *decoder, uint32_t sample_rate, int32_t bits, int32_t cdt_ms,
                                  uint32_t options);

// Set the log or the analysis mode of a channel, or of a decoder and both its channels, by the kind of the
// record. Null and any other kind are ignored.
extern "C" void hdcd_set_log(void *decoder_or_channel, HdcdLogSink *sink);
extern "C" void hdcd_set_analyze_mode(void *decoder_or_channel, uint32_t mode);

} // namespace tonekit

// The whole decoder.
struct HdcdDecoder {
    uint32_t record_kind;
    tonekit::HdcdChannelState channel[2];
    uint32_t analyze_mode;     // of the linked path
    int32_t val_target_gain;   // of the linked path, in the units of running_gain
    int32_t count_tg_mismatch; // frames processed while the channels disagreed on the target gain
    tonekit::HdcdDetection detection;
    tonekit::HdcdLogSink log_sink;
    uint32_t linked; // 1: both channels share the target gain; 0: each has its own
    uint32_t configured_rate;
    uint32_t configured_bits;
};
