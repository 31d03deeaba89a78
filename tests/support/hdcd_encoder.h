// hdcd_encoder.h: hides HDCD packets in the least significant bits of stereo audio.
//
// A decoder sees the bits scrambled: view[t] = bit[t] ^ bit[t - 5] ^ bit[t - 23]. To make it see a packet,
// each of the packet's bits is solved for bit[t], which leaves all samples outside the packet as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

class HdcdEncoder {
public:
    static constexpr int kPrefixBits = 32;
    static constexpr int kFramesA = kPrefixBits + 8;
    static constexpr int kFramesB = kPrefixBits + 16;

    // Works on interleaved stereo samples in place.
    explicit HdcdEncoder(std::vector<int32_t> &samples) : samples_(samples) {}

    // Hide a packet that begins on a frame; return the frame on which its code is complete. The byte of a
    // code A is valid if its bits 3, 6 and 7 are clear; the check byte of a code B, if it is the complement
    // of the byte.
    size_t CodeA(int channel, size_t frame, uint8_t byte);
    size_t CodeB(int channel, size_t frame, uint8_t byte);
    size_t CodeB(int channel, size_t frame, uint8_t byte, uint8_t check);

    // Makes the decoder see any bits, the first one on top, and returns the last frame.
    size_t See(int channel, size_t frame, uint64_t bits, int count);

private:
    int Bit(int channel, ptrdiff_t frame) const; // 0 before the audio, as in a new decoder's window

    std::vector<int32_t> &samples_;
};

} // namespace tonekit
