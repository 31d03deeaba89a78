// settings_test.cpp: defaults and ranges of the process-wide settings.
#include "frame/settings.h"

#include <gtest/gtest.h>
#include <tonekit/frame.h>

namespace tonekit {
namespace {

// Each test runs in a process of its own, so defaults can be seen; a run of the whole program restores what
// it changes.
class SettingsTest : public testing::Test {
protected:
    void TearDown() override
    {
        SetSampleRateConverterParameters2(0, 0);
        SetDitherParameters(0, 1);
        SetDSDPCMQuality(0);
        SetDSDPCMGain(6);
        SetHDCDGain(6);
        XHEAAC_DRC_Enable(0);
        XHEAAC_DRC_Set_Loudness(96);
        XHEAAC_DRC_Set_Effect(0);
    }
};

TEST_F(SettingsTest, StartAtTheirDefaults)
{
    EXPECT_EQ(ResamplerMode(), 0u);
    EXPECT_EQ(ResamplerAliasing(), 0u);
    EXPECT_EQ(DitherEnabled(), 0u);
    EXPECT_EQ(DitherMode(), 1u);
    EXPECT_EQ(GetDSDPCMQuality(), 0u);
    EXPECT_EQ(GetDSDPCMGain(), 6u);
    EXPECT_EQ(GetHDCDGain(), 6u);
    EXPECT_EQ(XHEAAC_DRC_Enabled(), 0u);
    EXPECT_EQ(XHEAAC_DRC_Get_Loudness(), 96u);
    EXPECT_EQ(XHEAAC_DRC_Get_Effect(), 0u);
}

TEST_F(SettingsTest, UnknownResamplerModeBecomesZeroAndTheFlagIsStored)
{
    for (const uint32_t earlier : {0u, 1u, 2u}) {
        SetSampleRateConverterParameters2(earlier, 0);
        EXPECT_EQ(ResamplerMode(), earlier);
        SetSampleRateConverterParameters2(3, 1);
        EXPECT_EQ(ResamplerMode(), 0u);
        EXPECT_EQ(ResamplerAliasing(), 1u);
    }
    SetSampleRateConverterParameters2(0xFFFFFFFFu, 0x80);
    EXPECT_EQ(ResamplerMode(), 0u);
    EXPECT_EQ(ResamplerAliasing(), 0x80u);
}

TEST_F(SettingsTest, UnknownDitherModeKeepsTheEarlierOneAndStoresEnable)
{
    SetDitherParameters(1, 3);
    EXPECT_EQ(DitherEnabled(), 1u);
    EXPECT_EQ(DitherMode(), 1u);
    SetDitherParameters(0x100, 2);
    EXPECT_EQ(DitherEnabled(), 0x100u);
    EXPECT_EQ(DitherMode(), 2u);
    SetDitherParameters(0, 0xFFFFFFFFu);
    EXPECT_EQ(DitherEnabled(), 0u);
    EXPECT_EQ(DitherMode(), 2u);
    SetDitherParameters(0, 0);
    EXPECT_EQ(DitherMode(), 0u);
}

TEST_F(SettingsTest, GainsAndQualityKeepTheirRange)
{
    for (uint32_t gain = 0; gain < 7; ++gain) {
        SetHDCDGain(gain);
        SetDSDPCMGain(6 - gain);
        EXPECT_EQ(GetHDCDGain(), gain);
        EXPECT_EQ(GetDSDPCMGain(), 6 - gain);
    }
    SetHDCDGain(3);
    SetDSDPCMGain(4);
    SetDSDPCMQuality(1);
    for (const uint32_t wrong : {7u, 8u, 0x80000000u, 0xFFFFFFFFu}) {
        SetHDCDGain(wrong);
        SetDSDPCMGain(wrong);
        SetDSDPCMQuality(wrong);
    }
    SetDSDPCMQuality(2);
    EXPECT_EQ(GetHDCDGain(), 3u);
    EXPECT_EQ(GetDSDPCMGain(), 4u);
    EXPECT_EQ(GetDSDPCMQuality(), 1u);
}

TEST_F(SettingsTest, LoudnessControlTakesAnyValue)
{
    XHEAAC_DRC_Enable(0xFE);
    XHEAAC_DRC_Set_Loudness(0xFFFFFFFFu);
    XHEAAC_DRC_Set_Effect(12345);
    EXPECT_EQ(XHEAAC_DRC_Enabled(), 0xFEu);
    EXPECT_EQ(XHEAAC_DRC_Get_Loudness(), 0xFFFFFFFFu);
    EXPECT_EQ(XHEAAC_DRC_Get_Effect(), 12345u);
}

TEST_F(SettingsTest, UltraHdEntriesDoNothing)
{
    InitializeUltraHD();
    SetUltraHDQuality();
    EXPECT_EQ(GetDSDPCMQuality(), 0u);
}

} // namespace
} // namespace tonekit
