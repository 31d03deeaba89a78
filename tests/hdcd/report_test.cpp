// report_test.cpp: the texts: the summary, the messages and the dumps.
#include "hdcd/detection.h"
#include "hdcd/dump.h"
#include "hdcd/hdcd_log.h"
#include "tests/hdcd/hdcd_bodies.h"
#include "tests/support/comma_locale.h"
#include "tests/support/hdcd_encoder.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>

namespace tonekit {
namespace {

// A log that keeps its lines.
struct Log {
    HdcdLogSink sink = {kHdcdLogRecord, 1, this, Keep};
    std::string text;

    static void Keep(void *priv, const char *format, std::va_list arguments)
    {
        char line[2000];
        std::vsnprintf(line, sizeof line, format, arguments);
        static_cast<Log *>(priv)->text += line;
    }
};

std::string Text(const HdcdDetection &detection)
{
    char text[300];
    hdcd_detection_text(&detection, text, sizeof text);
    return text;
}

TEST(HdcdReport, SummaryOfTenPacketsOnEachChannel)
{
    Samples samples = NoiseFrames(6000, 1);
    HdcdEncoder encoder(samples);
    for (size_t i = 0; i < 10; ++i)
        for (int channel = 0; channel < 2; ++channel)
            encoder.CodeB(channel, 100 + 500 * i, 0x1C);
    const OwnedDecoder decoder = NewDecoder();
    hdcd_process(decoder.get(), samples.data(), 6000);
    EXPECT_EQ(Text(decoder->detection),
              "HDCD detected: yes (B:20), peak_extend: enabled permanently, max_gain_adj: -6.0 dB, "
              "transient_filter: not detected, detectable errors: 0");
}

TEST(HdcdReport, SummaryOfEachValue)
{
    HdcdDetection d{};
    d.detected = 1;
    EXPECT_EQ(Text(d), "HDCD detected: yes (?:0), peak_extend: never enabled, max_gain_adj: 0.0 dB, "
                       "transient_filter: not detected, detectable errors: 0");
    d.detected = 2;
    d.packet_type = 1;
    d.total_packets = 7;
    d.peak_extend = 1;
    d.max_gain_adjustment = -0.5f;
    d.uses_transient_filter = 1;
    d.errors = 3;
    EXPECT_EQ(Text(d),
              "HDCD detected: yes (A:7), peak_extend: enabled intermittently, max_gain_adj: -0.5 dB, "
              "transient_filter: detected, detectable errors: 3");
    d.packet_type = 3;
    d.peak_extend = 3;
    d.max_gain_adjustment = -7.5f;
    EXPECT_EQ(Text(d), "HDCD detected: yes (A+B:7), peak_extend: , max_gain_adj: -7.5 dB, "
                       "transient_filter: detected, detectable errors: 3");
    d.packet_type = 4;
    EXPECT_EQ(Text(d).substr(0, 24), "HDCD detected: yes (:7),");
}

TEST(HdcdReport, NoDetectionIsWrittenWhateverTheSize)
{
    char text[20];
    std::memset(text, 'x', sizeof text);
    const HdcdDetection d{};
    hdcd_detection_text(&d, text, 1);
    EXPECT_EQ(std::memcmp(text, "HDCD detected: no\0xx", 20), 0);
    hdcd_detection_text(nullptr, text, 20);
    EXPECT_EQ(std::memcmp(text, "HDCD detected: no\0xx", 20), 0);
}

TEST(HdcdReport, SummaryIsCutToItsBuffer)
{
    char text[12];
    std::memset(text, 'x', sizeof text);
    HdcdDetection d{};
    d.detected = 2;
    hdcd_detection_text(&d, text, 10);
    EXPECT_EQ(std::memcmp(text, "HDCD dete\0xx", 12), 0);
    hdcd_detection_text(&d, text, 0);
    EXPECT_EQ(text[0], 'H');
}

TEST(HdcdReport, SummaryHasAPointInALocaleThatHasAComma)
{
    const CommaLocale locale;
    if (!locale.IsSet())
        GTEST_SKIP() << "NO LOCALE WITH A DECIMAL COMMA: install Debian's locales package to run this test";
    char printed[16];
    std::snprintf(printed, sizeof printed, "%.1f", 1.5);
    ASSERT_STREQ(printed, "1,5") << "the locale is in force";
    HdcdDetection d{};
    d.detected = 2;
    d.max_gain_adjustment = -3.5f;
    EXPECT_NE(Text(d).find("max_gain_adj: -3.5 dB"), std::string::npos) << Text(d);
}

TEST(HdcdReport, DetectedHasTexts)
{
    EXPECT_STREQ(HdcdDetectedText[0], "not detected");
    EXPECT_STREQ(HdcdDetectedText[1], "detected (no effect)");
    EXPECT_STREQ(HdcdDetectedText[2], "detected");
}

TEST(HdcdReport, MessagesNeedAnEnabledSink)
{
    Log log;
    hdcd_log_write(nullptr, "%d", 1);
    log.sink.enable = 0;
    hdcd_log_write(&log.sink, "%d", 1);
    EXPECT_EQ(log.text, "");
    log.sink.enable = 7;
    hdcd_log_write(&log.sink, "%d and %s", 1, "two");
    EXPECT_EQ(log.text, "1 and two");
}

TEST(HdcdReport, DefaultSinkWritesToTheStandardErrorStream)
{
    HdcdLogSink sink = DisabledHdcdLogSink();
    testing::internal::CaptureStderr();
    hdcd_log_write(&sink, "lost");
    sink.enable = 1;
    hdcd_log_write(&sink, "kept %d\n", 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kept 3\n");
}

TEST(HdcdReport, GainsReadInDecibels)
{
    EXPECT_EQ(HdcdTargetGainDecibels(0), 0.0f);
    EXPECT_EQ(HdcdTargetGainDecibels(1), -0.5f);
    EXPECT_EQ(HdcdTargetGainDecibels(2), -1.0f);
    EXPECT_EQ(HdcdTargetGainDecibels(15), -7.5f);
    EXPECT_EQ(HdcdGainDecibels(127), 0.0f);
    EXPECT_EQ(HdcdGainDecibels(128), -0.5f);
    EXPECT_EQ(HdcdGainDecibels(255), -0.5f);
    EXPECT_EQ(HdcdGainDecibels(1920), -7.5f);
}

// The position is that of the beginning of the block.
TEST(HdcdReport, BadPacketsAreToldWithTheBeginningOfTheBlock)
{
    Log log;
    const OwnedDecoder decoder = NewDecoder();
    hdcd_set_log(decoder.get(), &log.sink);
    Samples samples = NoiseFrames(1000, 2);
    HdcdEncoder encoder(samples);
    encoder.CodeA(0, 100, 0x8F);
    encoder.CodeB(1, 600, 0x1A, 0xE4);
    hdcd_process(decoder.get(), samples.data(), 300);
    EXPECT_EQ(log.text, "hdcd error: Control A almost: 0x8f near 0\n");
    log.text.clear();
    hdcd_process(decoder.get(), samples.data() + 600, 700);
    EXPECT_EQ(log.text, "hdcd error: Control B check failed: 0x1ae4 (0x1a vs 0x1b) near 300\n");
}

TEST(HdcdReport, MismatchIsToldUnlessTheFirstChannelForbidsIt)
{
    Log log;
    const OwnedDecoder decoder = NewDecoder();
    hdcd_set_log(decoder.get(), &log.sink);
    decoder->channel[0].control = 0x03;
    decoder->channel[1].control = 0x0E;
    decoder->channel[0].sample_count = 4321;
    decoder->val_target_gain = 640;
    int32_t extend[2];
    const auto &control = hdcd_control_linked;
    EXPECT_EQ(control(decoder.get(), &extend[0], &extend[1]), 1);
    EXPECT_EQ(log.text, "");
    decoder->channel[0].decoder_options = 0;
    EXPECT_EQ(control(decoder.get(), &extend[0], &extend[1]), 1);
    EXPECT_EQ(log.text, "hdcd error: Unmatched target_gain near 4321: tg0: -1.5, tg1: -7.0, lvg: -2.5\n");
    EXPECT_EQ(decoder->val_target_gain, 640);
}

TEST(HdcdReport, LinkedControlResolvesBothBytes)
{
    const OwnedDecoder decoder = NewDecoder();
    int32_t extend[2] = {9, 9};
    decoder->channel[0].control = 0x15;
    decoder->channel[1].control = 0xC5;
    EXPECT_EQ(hdcd_control_linked(decoder.get(), &extend[0], &extend[1]), 0);
    EXPECT_EQ(decoder->val_target_gain, 640);
    EXPECT_EQ(extend[0], 1);
    EXPECT_EQ(extend[1], 0);
    decoder->channel[0].control = 0x02;
    decoder->channel[1].decoder_options |= 128;
    EXPECT_EQ(hdcd_control_linked(decoder.get(), &extend[0], &extend[1]), 1);
    EXPECT_EQ(decoder->val_target_gain, 640);
    EXPECT_EQ(extend[0], 0);
    EXPECT_EQ(extend[1], 1);
}

HdcdChannelState Counted(Log &log)
{
    HdcdChannelState c;
    hdcd_channel_init(&c, 0, 0, 0, 0);
    c.log = &log.sink;
    c.code_counterA = 1;
    c.code_counterA_almost = 2;
    c.code_counterB = 3;
    c.code_counterB_checkfails = 4;
    c.code_counterC = 5;
    c.count_peak_extend = 6;
    c.count_transient_filter = 7;
    c.max_gain = 1;
    c.gain_counts[0] = 8;
    c.gain_counts[1] = 9;
    return c;
}

TEST(HdcdReport, DumpWritesAllCounters)
{
    Log log;
    const HdcdChannelState c = Counted(log);
    hdcd_dump_state(&c, 1);
    EXPECT_EQ(log.text, ".channel1.code_counterA: 1\n.channel1.code_counterA_almost: 2\n"
                        ".channel1.code_counterB: 3\n.channel1.code_counterB_checkfails: 4\n"
                        ".channel1.code_counterC: 5\n.channel1.code_counterC_unmatched: 0\n"
                        ".channel1.count_peak_extend: 6\n.channel1.count_transient_filter: 7\n"
                        ".channel1.count_sustain_expired: -1\n.channel1.max_gain: [01] -0.5 dB\n"
                        ".channel1.tg[00] 0.0 dB: 8\n.channel1.tg[01] -0.5 dB: 9\n");
}

TEST(HdcdReport, DumpOfANegativeChannelHasNoPrefix)
{
    Log log;
    const HdcdChannelState c = Counted(log);
    hdcd_dump_state(&c, -1);
    EXPECT_EQ(log.text.substr(0, 18), ".code_counterA: 1\n");
    log.text.clear();
    hdcd_dump_state_brief(&c, -1);
    EXPECT_EQ(log.text.substr(0, 24), "counter A: 1, B: 3, C: 5");
}

TEST(HdcdReport, BriefDumpWritesThreeKindsOfLines)
{
    Log log;
    const HdcdChannelState c = Counted(log);
    hdcd_dump_state_brief(&c, 0);
    EXPECT_EQ(log.text,
              "Channel 0: counter A: 1, B: 3, C: 5\n"
              "Channel 0: pe: 6, tf: 7, almost_A: 2, checkfail_B: 4, unmatched_C: 0, cdt_expired: -1\n"
              "Channel 0: tg 0.0: 8\nChannel 0: tg -0.5: 9\n");
}

TEST(HdcdReport, DumpOfADecoderIsThatOfBothChannels)
{
    Log log;
    const OwnedDecoder decoder = NewDecoder();
    hdcd_set_log(decoder.get(), &log.sink);
    hdcd_dump_both(decoder.get());
    const std::string both = log.text;
    log.text.clear();
    hdcd_dump_state(&decoder->channel[0], 0);
    hdcd_dump_state(&decoder->channel[1], 1);
    EXPECT_EQ(both, log.text);
    EXPECT_NE(both.find(".channel1.tg[00] 0.0 dB: 0\n"), std::string::npos);
    hdcd_dump_both(nullptr);
    hdcd_dump_state(nullptr, 0);
    hdcd_dump_state_brief(nullptr, 0);
}

} // namespace
} // namespace tonekit
