// detection.cpp: sums up what both channels have shown.
#include "hdcd/detection.h"

#include "hdcd/hdcd_log.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace tonekit {

const char *const HdcdDetectedText[3] = {"not detected", "detected (no effect)", "detected"};

namespace {

enum : uint32_t { kPeakExtendNever = 0, kPeakExtendSometimes = 1, kPeakExtendAlways = 2 };

const char *PacketTypeText(uint32_t type)
{
    static constexpr const char *kTexts[] = {"?", "A", "B", "A+B"};
    return type < 4 ? kTexts[type] : "";
}

const char *PeakExtendText(uint32_t peakExtend)
{
    static constexpr const char *kTexts[] = {"never enabled", "enabled intermittently",
                                             "enabled permanently"};
    return peakExtend < 3 ? kTexts[peakExtend] : "";
}

void AddChannel(HdcdDetection *detection, const HdcdChannelState &channel)
{
    const int32_t packets = channel.code_counterA + channel.code_counterB;
    detection->total_packets += packets;
    detection->errors +=
        channel.code_counterA_almost + channel.code_counterB_checkfails + channel.code_counterC_unmatched;
    if (channel.code_counterA != 0)
        detection->packet_type |= 1;
    if (channel.code_counterB != 0)
        detection->packet_type |= 2;
    if (channel.count_transient_filter != 0)
        detection->uses_transient_filter = 1;
    // One channel, or one update, that has seen it come and go decides for good.
    if (channel.count_peak_extend != 0 && detection->peak_extend != kPeakExtendSometimes)
        detection->peak_extend =
            channel.count_peak_extend == packets ? kPeakExtendAlways : kPeakExtendSometimes;
    const float gain = HdcdTargetGainDecibels(channel.max_gain);
    if (gain < detection->max_gain_adjustment || detection->max_gain_adjustment > 0.0f)
        detection->max_gain_adjustment = gain;
    if (channel.sustain != 0)
        ++detection->active_count;
    if (channel.count_sustain_expired >= 0) {
        if (detection->cdt_expirations < 0)
            detection->cdt_expirations = 0;
        detection->cdt_expirations += channel.count_sustain_expired;
    }
}

} // namespace

void ResetDetection(HdcdDetection *detection)
{
    *detection = {};
    detection->detection_kind = kHdcdDetectionRecord;
    detection->cdt_expirations = -1;
}

void UpdateDetection(HdcdDecoder *decoder)
{
    HdcdDetection *detection = &decoder->detection;
    detection->total_packets = 0;
    detection->errors = 0;
    detection->cdt_expirations = -1;
    detection->active_count = 0;
    for (const HdcdChannelState &channel : decoder->channel)
        AddChannel(detection, channel);
    if (detection->active_count == 2)
        detection->detected =
            detection->max_gain_adjustment == 0.0f && detection->peak_extend == kPeakExtendNever
                ? kHdcdWithoutEffect
                : kHdcdEffective;
}

extern "C" void hdcd_detection_text(const HdcdDetection *detection, char *text, size_t size)
{
    static constexpr char kNotDetected[] = "HDCD detected: no";
    if (!detection)
        return;
    if (detection->detected == kHdcdNotDetected) {
        std::memcpy(text, kNotDetected, sizeof kNotDetected);
        return;
    }
    // Not "%0.1f" in the text itself: the locale would choose the decimal sign.
    char gain[64];
    const auto end = std::to_chars(gain, gain + sizeof gain - 1, double{detection->max_gain_adjustment},
                                   std::chars_format::fixed, 1);
    *end.ptr = '\0';
    std::snprintf(text, size,
                  "HDCD detected: yes (%s:%d), peak_extend: %s, max_gain_adj: %s dB, transient_filter: %s, "
                  "detectable errors: %d",
                  PacketTypeText(detection->packet_type), detection->total_packets,
                  PeakExtendText(detection->peak_extend), gain,
                  detection->uses_transient_filter != 0 ? "detected" : "not detected", detection->errors);
}

} // namespace tonekit
