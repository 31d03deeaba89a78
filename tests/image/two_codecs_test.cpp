// two_codecs_test.cpp: a process that uses this library's codec and the system's other JPEG library at once.
// Both have functions of the same names over objects of different shapes: a call that went astray would end
// the process.
#include "tests/image/codec_user.h"

#include <cmath>
#include <gtest/gtest.h>
#include <thread>

namespace tonekit {
namespace {

constexpr unsigned kWidth = 240;

std::vector<uint8_t> Picture()
{
    std::vector<uint8_t> rgb;
    for (unsigned i = 0; i < kWidth * 180 * 3; ++i)
        rgb.push_back(static_cast<uint8_t>(128 + 100 * std::sin(i * 0.01) + i / kWidth % 20));
    return rgb;
}

TEST(TwoCodecs, EachUserReachesItsOwnLibrary)
{
    EXPECT_EQ(ours::Version(), 80);
    EXPECT_NE(other::Version(), 80);
    EXPECT_EQ(ours::LastMessage(), 130);
    EXPECT_NE(other::LastMessage(), 130);
}

TEST(TwoCodecs, BothDecodeBothFilesAlike)
{
    const std::vector<uint8_t> files[] = {ours::Encode(Picture(), kWidth), other::Encode(Picture(), kWidth)};
    EXPECT_NE(files[0], files[1]);
    for (const std::vector<uint8_t> &file : files)
        EXPECT_EQ(ours::Decode(file), other::Decode(file));
}

TEST(TwoCodecs, BothWorkAtOnce)
{
    const std::vector<uint8_t> picture = Picture();
    const std::vector<uint8_t> ourFile = ours::Encode(picture, kWidth),
                               otherFile = other::Encode(picture, kWidth);
    const std::vector<uint8_t> decoded = ours::Decode(ourFile);
    std::thread thread([&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(other::Encode(picture, kWidth), otherFile);
            EXPECT_EQ(other::Decode(ourFile), decoded);
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(ours::Encode(picture, kWidth), ourFile);
        EXPECT_EQ(ours::Decode(ourFile), decoded);
    }
    thread.join();
}

} // namespace
} // namespace tonekit
