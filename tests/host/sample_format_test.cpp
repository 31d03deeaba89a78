// sample_format_test.cpp: exact values of samples, and their names.
#include "host/audio/sample_format.h"

#include <cstring>
#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(SampleFormat, ValuesAreExact)
{
    double values[3];
    const uint8_t bytes[] = {0, 128, 255};
    SamplesToDouble(SampleFormat::Int8, bytes, values, 3);
    EXPECT_EQ(values[0], -1.0);
    EXPECT_EQ(values[1], 0.0);
    EXPECT_EQ(values[2], 127.0 / 128);

    const int16_t shorts[] = {-32768, 1, 32767};
    SamplesToDouble(SampleFormat::Int16, shorts, values, 3);
    EXPECT_EQ(values[0], -1.0);
    EXPECT_EQ(values[1], 1.0 / 32768);
    EXPECT_EQ(values[2], 32767.0 / 32768);

    const uint8_t packed[] = {0, 0, 0x80, 1, 0, 0, 0xFF, 0xFF, 0x7F};
    SamplesToDouble(SampleFormat::Int24, packed, values, 3);
    EXPECT_EQ(values[0], -1.0);
    EXPECT_EQ(values[1], 1.0 / 8388608);
    EXPECT_EQ(values[2], 8388607.0 / 8388608);

    const int32_t longs[] = {INT32_MIN, -1, INT32_MAX};
    SamplesToDouble(SampleFormat::Int32, longs, values, 3);
    EXPECT_EQ(values[0], -1.0);
    EXPECT_EQ(values[1], -1.0 / 2147483648.0);
    EXPECT_EQ(values[2], 2147483647.0 / 2147483648.0);

    const float floats[] = {1.5f, -0.1f, 0};
    SamplesToDouble(SampleFormat::Float32, floats, values, 3);
    EXPECT_EQ(values[0], 1.5);
    EXPECT_EQ(values[1], double{-0.1f});

    const double doubles[] = {0.1, -7, 0};
    SamplesToDouble(SampleFormat::Float64, doubles, values, 3);
    EXPECT_EQ(std::memcmp(values, doubles, sizeof(values)), 0);
}

TEST(SampleFormat, HasNamesForPeople)
{
    EXPECT_EQ(NameOf(AudioFormat{SampleFormat::Int16, 2, 44100}), "44100 Hz, 16 bit, stereo");
    EXPECT_EQ(NameOf(AudioFormat{SampleFormat::Float32, 6, 48000}), "48000 Hz, 32 bit float, 5.1");
    EXPECT_EQ(NameOfChannels(9), "9 channels");
}

} // namespace
} // namespace tonekit::host
