// channel_layout_test.cpp: where the channels of Ogg files go.
#include "host/audio/channel_layout.h"

#include <gtest/gtest.h>
#include <vector>

namespace tonekit::host {
namespace {

// Each sample carries the name of its channel.
std::vector<int16_t> Moved(std::vector<int16_t> frame, bool toVorbis)
{
    const AudioFormat format{SampleFormat::Int16, static_cast<uint32_t>(frame.size()), 48000};
    (toVorbis ? ToVorbisOrder : FromVorbisOrder)(frame.data(), 1, format);
    return frame;
}

using Frame = std::vector<int16_t>;

TEST(ChannelLayout, MonoStereoAndFourChannelsStay)
{
    for (const Frame &frame : {Frame{'M'}, Frame{'L', 'R'}, Frame{'L', 'R', 'l', 'r'}}) {
        EXPECT_EQ(Moved(frame, false), frame);
        EXPECT_EQ(Moved(frame, true), frame);
    }
}

TEST(ChannelLayout, TheCentreMovesBehindRightAndTheLowChannelInFrontOfTheBack)
{
    EXPECT_EQ(Moved({'L', 'C', 'R'}, false), (Frame{'L', 'R', 'C'}));
    EXPECT_EQ(Moved({'L', 'C', 'R', 'l', 'r'}, false), (Frame{'L', 'R', 'C', 'l', 'r'}));
    EXPECT_EQ(Moved({'L', 'C', 'R', 'l', 'r', 'W'}, false), (Frame{'L', 'R', 'C', 'W', 'l', 'r'}));
    EXPECT_EQ(Moved({'L', 'C', 'R', 's', 'S', 'B', 'W'}, false), (Frame{'L', 'R', 'C', 'W', 'B', 's', 'S'}));
    EXPECT_EQ(Moved({'L', 'C', 'R', 's', 'S', 'b', 'B', 'W'}, false),
              (Frame{'L', 'R', 'C', 'W', 'b', 'B', 's', 'S'}));
}

TEST(ChannelLayout, TheWayBackUndoesTheWayThere)
{
    for (int16_t channels = 1; channels <= 8; ++channels) {
        Frame frame;
        for (int16_t c = 0; c < channels; ++c)
            frame.push_back(c);
        EXPECT_EQ(Moved(Moved(frame, true), false), frame);
    }
}

} // namespace
} // namespace tonekit::host
