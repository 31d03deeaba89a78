// hdcd_encoder.cpp: hides HDCD packets in the least significant bits of stereo audio.
#include "tests/support/hdcd_encoder.h"

#include <cstddef>

namespace tonekit {

size_t HdcdEncoder::CodeA(int channel, size_t frame, uint8_t byte)
{
    return See(channel, frame, uint64_t{0x7E0FA005} << 8 | byte, kFramesA);
}

size_t HdcdEncoder::CodeB(int channel, size_t frame, uint8_t byte)
{
    return CodeB(channel, frame, byte, static_cast<uint8_t>(~byte));
}

size_t HdcdEncoder::CodeB(int channel, size_t frame, uint8_t byte, uint8_t check)
{
    return See(channel, frame, uint64_t{0x7E0FA006} << 16 | uint64_t{byte} << 8 | check, kFramesB);
}

size_t HdcdEncoder::See(int channel, size_t frame, uint64_t bits, int count)
{
    for (int i = 0; i < count; ++i, ++frame) {
        const auto at = static_cast<ptrdiff_t>(frame);
        const int seen = static_cast<int>(bits >> (count - 1 - i) & 1);
        const int bit = seen ^ Bit(channel, at - 5) ^ Bit(channel, at - 23);
        int32_t &sample = samples_.at(2 * frame + static_cast<size_t>(channel));
        sample = (sample & ~1) | bit;
    }
    return frame - 1;
}

int HdcdEncoder::Bit(int channel, ptrdiff_t frame) const
{
    return frame < 0 ? 0 : samples_.at(2 * static_cast<size_t>(frame) + static_cast<size_t>(channel)) & 1;
}

} // namespace tonekit
