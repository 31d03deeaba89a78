// state_test.cpp: what a reset leaves in the records, and who reaches them.
#include "hdcd/decoder.h"
#include "tests/hdcd/hdcd_bodies.h"

#include <cstring>
#include <gtest/gtest.h>

namespace tonekit {
namespace {

HdcdChannelState Garbage()
{
    HdcdChannelState channel;
    std::memset(static_cast<void *>(&channel), 0xAB, sizeof channel);
    return channel;
}

TEST(HdcdState, RecordsHaveTheirFieldsInOrder)
{
    EXPECT_EQ(offsetof(HdcdChannelState, window), 8u);
    EXPECT_EQ(offsetof(HdcdChannelState, control), 18u);
    EXPECT_EQ(offsetof(HdcdChannelState, sustain), 20u);
    EXPECT_EQ(offsetof(HdcdChannelState, gain_counts), 76u);
    EXPECT_EQ(offsetof(HdcdChannelState, log), 152u);
    EXPECT_EQ(offsetof(HdcdChannelState, tone_index), 168u);
    EXPECT_EQ(offsetof(HdcdDecoder, channel), 8u);
    EXPECT_EQ(offsetof(HdcdDetection, max_gain_adjustment), 28u);
    EXPECT_EQ(offsetof(HdcdLogSink, callback), 16u);
}

TEST(HdcdState, ChannelInitSetsEveryField)
{
    HdcdChannelState c = Garbage();
    hdcd_channel_init(&c, 96000, 24, 500, 128);
    EXPECT_EQ(c.record_kind, 1u);
    EXPECT_EQ(c.decoder_options, 128u);
    EXPECT_EQ(c.window, 0u);
    EXPECT_EQ(c.readahead, 32);
    EXPECT_EQ(c.arg, 0);
    EXPECT_EQ(c.control, 0);
    EXPECT_EQ(c.sustain, 0u);
    EXPECT_EQ(c.sustain_reset, 48000u);
    EXPECT_EQ(c.running_gain, 0);
    EXPECT_EQ(c.bits, 24);
    EXPECT_EQ(c.sample_rate, 96000u);
    EXPECT_EQ(c.cdt_ms, 500);
    EXPECT_EQ(c.code_counterA, 0);
    EXPECT_EQ(c.code_counterA_almost, 0);
    EXPECT_EQ(c.code_counterB, 0);
    EXPECT_EQ(c.code_counterB_checkfails, 0);
    EXPECT_EQ(c.code_counterC, 0);
    EXPECT_EQ(c.code_counterC_unmatched, 0);
    EXPECT_EQ(c.count_peak_extend, 0);
    EXPECT_EQ(c.count_transient_filter, 0);
    for (const int count : c.gain_counts)
        EXPECT_EQ(count, 0);
    EXPECT_EQ(c.max_gain, 0);
    EXPECT_EQ(c.count_sustain_expired, -1);
    EXPECT_EQ(c.log, nullptr);
    EXPECT_EQ(c.sample_count, 0);
    EXPECT_EQ(c.analyze_mode, 0u);
    EXPECT_EQ(c.tone_index, 0u);
}

TEST(HdcdState, ZeroArgumentsMeanTheUsualFormat)
{
    HdcdChannelState c = Garbage();
    hdcd_channel_init(&c, 0, 0, 0, 0);
    EXPECT_EQ(c.sample_rate, 44100u);
    EXPECT_EQ(c.bits, 16);
    EXPECT_EQ(c.cdt_ms, 2000);
    EXPECT_EQ(c.sustain_reset, 88200u);
}

TEST(HdcdState, TimerIsHeldToItsRangeAndTruncatedTwice)
{
    const struct {
        uint32_t rate;
        int32_t ms;
        int32_t held;
        uint32_t reset;
    } rows[] = {
        {44100, 1, 100, 4410},
        {44100, -5, 100, 4410},
        {44100, 99, 100, 4410},
        {44100, 101, 101, 4454},
        {44100, 60000, 60000, 2646000},
        {44100, 60001, 60000, 2646000},
        {192000, 60000, 60000, 11520000},
        {44199, 2000, 2000, 88200},
        {11025, 333, 333, 3663},
    };
    for (const auto &row : rows) {
        HdcdChannelState c = Garbage();
        hdcd_channel_init(&c, row.rate, 16, row.ms, 0);
        EXPECT_EQ(c.cdt_ms, row.held);
        EXPECT_EQ(c.sustain_reset, row.reset);
    }
}

TEST(HdcdState, DecoderInitLeavesWhatFollowsTheTwoChannels)
{
    HdcdDecoder d;
    std::memset(static_cast<void *>(&d), 0xAB, sizeof d);
    hdcd_decoder_init(&d, 48000, 20, 0, 64);
    EXPECT_EQ(d.record_kind, 2u);
    for (const HdcdChannelState &c : d.channel) {
        EXPECT_EQ(c.record_kind, 1u);
        EXPECT_EQ(c.sample_rate, 48000u);
        EXPECT_EQ(c.bits, 20);
        EXPECT_EQ(c.sustain_reset, 96000u);
        EXPECT_EQ(c.decoder_options, 64u);
        EXPECT_EQ(c.log, nullptr);
    }
    EXPECT_EQ(d.analyze_mode, 0u);
    EXPECT_EQ(d.val_target_gain, 0);
    EXPECT_EQ(d.count_tg_mismatch, 0);
    EXPECT_EQ(d.detection.detection_kind, 0xABABABABu);
    EXPECT_EQ(d.log_sink.enable, 0xABABABABu);
    EXPECT_EQ(d.linked, 0xABABABABu);
}

TEST(HdcdState, NullIsIgnored)
{
    hdcd_channel_init(nullptr, 0, 0, 0, 0);
    hdcd_decoder_init(nullptr, 0, 0, 0, 0);
    hdcd_set_log(nullptr, nullptr);
    hdcd_set_analyze_mode(nullptr, 1);
    EXPECT_EQ(hdcd_reconfigure(nullptr, 44100, 16), 0u);
}

TEST(HdcdState, NewDecoderIsReadyForTheUsualFormat)
{
    const OwnedDecoder d = NewDecoder();
    EXPECT_EQ(d->record_kind, 2u);
    EXPECT_EQ(d->linked, 1u);
    EXPECT_EQ(d->configured_rate, 44100u);
    EXPECT_EQ(d->configured_bits, 16u);
    EXPECT_EQ(d->detection.detection_kind, 3u);
    EXPECT_EQ(d->detection.cdt_expirations, -1);
    EXPECT_EQ(d->detection.detected, 0u);
    EXPECT_EQ(d->log_sink.record_kind, 4u);
    EXPECT_EQ(d->log_sink.enable, 0u);
    EXPECT_EQ(d->log_sink.priv, nullptr);
    EXPECT_NE(d->log_sink.callback, nullptr);
    for (const HdcdChannelState &c : d->channel) {
        EXPECT_EQ(c.decoder_options, 64u);
        EXPECT_EQ(c.log, &d->log_sink);
        EXPECT_EQ(c.sustain_reset, 88200u);
        EXPECT_EQ(c.analyze_mode, 0u);
    }
}

TEST(HdcdState, ResetUndoesEverythingButTheSink)
{
    const OwnedDecoder d = NewDecoder();
    d->linked = 0;
    d->detection.detected = 2;
    d->detection.peak_extend = 1;
    d->channel[0].decoder_options = 0xFF;
    d->channel[1].window = 77;
    d->log_sink.enable = 1;
    hdcd_set_analyze_mode(d.get(), 4);
    hdcd_reset(d.get());
    EXPECT_EQ(d->linked, 1u);
    EXPECT_EQ(d->detection.detected, 0u);
    EXPECT_EQ(d->detection.peak_extend, 0u);
    EXPECT_EQ(d->channel[0].decoder_options, 64u);
    EXPECT_EQ(d->channel[1].window, 0u);
    EXPECT_EQ(d->analyze_mode, 0u);
    EXPECT_EQ(d->log_sink.enable, 1u);
}

TEST(HdcdState, LogAndModeGoByTheKindOfTheRecord)
{
    const OwnedDecoder d = NewDecoder();
    HdcdLogSink sink{};
    hdcd_set_log(d.get(), &sink);
    hdcd_set_analyze_mode(d.get(), 3);
    EXPECT_EQ(d->channel[0].log, &sink);
    EXPECT_EQ(d->channel[1].log, &sink);
    EXPECT_EQ(d->analyze_mode, 3u);
    EXPECT_EQ(d->channel[0].analyze_mode, 3u);
    EXPECT_EQ(d->channel[1].analyze_mode, 3u);
    hdcd_set_log(&d->channel[1], nullptr);
    hdcd_set_analyze_mode(&d->channel[1], 5);
    EXPECT_EQ(d->channel[0].log, &sink);
    EXPECT_EQ(d->channel[1].log, nullptr);
    EXPECT_EQ(d->analyze_mode, 3u);
    EXPECT_EQ(d->channel[0].analyze_mode, 3u);
    EXPECT_EQ(d->channel[1].analyze_mode, 5u);
    hdcd_set_log(&d->detection, nullptr);
    hdcd_set_analyze_mode(&d->detection, 1);
    EXPECT_EQ(d->detection.detection_kind, 3u);
    EXPECT_EQ(d->channel[0].log, &sink);
}

TEST(HdcdState, ReconfigureTakesTheKnownFormatsAlone)
{
    const OwnedDecoder d = NewDecoder();
    for (const uint32_t rate : {44100u, 48000u, 88200u, 96000u, 176400u, 192000u})
        for (const int bits : {16, 20, 24}) {
            d->channel[0].window = 9;
            EXPECT_EQ(hdcd_reconfigure(d.get(), rate, bits), 1u);
            EXPECT_EQ(d->channel[0].window, 0u);
            EXPECT_EQ(d->configured_rate, rate);
            EXPECT_EQ(d->configured_bits, static_cast<uint32_t>(bits));
            EXPECT_EQ(d->channel[1].sample_rate, rate);
            EXPECT_EQ(d->channel[1].bits, bits);
            EXPECT_EQ(d->channel[1].sustain_reset, rate / 100 * 200);
        }
    d->channel[0].window = 9;
    EXPECT_EQ(hdcd_reconfigure(d.get(), 32000, 16), 0u);
    EXPECT_EQ(hdcd_reconfigure(d.get(), 44100, 8), 0u);
    EXPECT_EQ(hdcd_reconfigure(d.get(), 44100, 32), 0u);
    EXPECT_EQ(hdcd_reconfigure(d.get(), 44101, 16), 0u);
    EXPECT_EQ(d->channel[0].window, 9u);
    EXPECT_EQ(d->configured_rate, 192000u);
    EXPECT_EQ(hdcd_reconfigure(d.get(), 0, 0), 1u);
    EXPECT_EQ(d->configured_rate, 44100u);
    EXPECT_EQ(d->configured_bits, 16u);
}

} // namespace
} // namespace tonekit
