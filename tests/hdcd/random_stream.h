// random_stream.h: stereo audio with random packets, cut into random blocks.
#pragma once

#include "hdcd/hdcd_state.h"
#include "tests/support/hdcd_encoder.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

class RandomStream {
public:
    struct Block {
        std::vector<int32_t> samples;
    };

    explicit RandomStream(Random &random) : random_(random), samples_(2 * (200 + random.Below(6000)))
    {
        // Full-range 16-bit audio, now and then words that are no 16-bit values at all.
        const int drop = random.Below(6) == 0 ? 0 : 16;
        random.Fill(samples_.data(), samples_.size() * sizeof samples_[0]);
        for (int32_t &sample : samples_)
            sample >>= drop;
        HidePackets();
    }

    // Sets modes and short timers, so that much happens in few frames.
    void DisturbDecoder(HdcdDecoder *decoder)
    {
        if (random_.Below(3) == 0)
            hdcd_set_analyze_mode(decoder, random_.Below(8));
        const int32_t bits = random_.Below(4) == 0 ? 20 : 16;
        for (HdcdChannelState &channel : decoder->channel) {
            channel.sustain_reset = 1 + random_.Below(2000);
            channel.bits = bits;
            channel.running_gain = static_cast<int32_t>(random_.Below(2) * random_.Below(1921));
            if (random_.Below(8) == 0)
                channel.decoder_options |= kHdcdForcePeakExtend;
        }
    }

    std::vector<Block> Blocks()
    {
        std::vector<Block> blocks;
        const uint32_t most = random_.Below(3) == 0 ? 20 : 3000;
        for (size_t at = 0; at < samples_.size();) {
            const size_t end = std::min(samples_.size(), at + 2 * random_.Below(most));
            blocks.push_back({{samples_.begin() + static_cast<ptrdiff_t>(at),
                               samples_.begin() + static_cast<ptrdiff_t>(end)}});
            at = end;
        }
        return blocks;
    }

private:
    void HidePackets()
    {
        HdcdEncoder encoder(samples_);
        const auto frames = static_cast<uint32_t>(samples_.size() / 2);
        for (uint32_t packet = random_.Below(12); packet != 0; --packet) {
            const uint32_t frame = random_.Below(frames - HdcdEncoder::kFramesB);
            const auto byte = static_cast<uint8_t>(random_.Next());
            // Most packets come on both channels at once, as on real records.
            const uint32_t channels = random_.Below(4);
            for (int channel = 0; channel < 2; ++channel)
                if (channels >= 2 || channels == static_cast<uint32_t>(channel))
                    HidePacket(encoder, channel, frame, byte, random_.Below(8) == 0);
        }
    }

    void HidePacket(HdcdEncoder &encoder, int channel, uint32_t frame, uint8_t byte, bool damaged)
    {
        if ((byte & 64) == 0)
            encoder.CodeA(channel, frame, damaged ? byte | 8 : byte & 0x37);
        else if (damaged)
            encoder.CodeB(channel, frame, byte, byte);
        else
            encoder.CodeB(channel, frame, byte);
    }

    Random &random_;
    std::vector<int32_t> samples_;
};

} // namespace tonekit
