// channel_order_bench.cpp: ChangeChannelOrder in each of its bodies compared with the plain loop of copies.
#include "benchmarks/ratio.h"
#include "tests/support/bodies.h"

#include <cstring>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace {

constexpr uint32_t kFrames = 4096;

void PlainLoop(uint8_t *audio, uint32_t frames, uint32_t bits, uint32_t channels, const uint8_t *map)
{
    const uint32_t sampleBytes = bits / 8;
    const uint32_t frameBytes = channels * bits / 8;
    for (uint32_t frame = 0; frame < frames; ++frame, audio += frameBytes) {
        uint8_t copy[72];
        std::memcpy(copy, audio, frameBytes);
        for (uint32_t n = 0; n < channels; ++n)
            std::memcpy(audio + map[2 * n + 1] * sampleBytes, copy + map[2 * n] * sampleBytes, sampleBytes);
    }
}

} // namespace

int main(int argc, char **argv)
{
    using namespace tonekit;
    RatioTable table("ChangeChannelOrder, 4096 frames, every channel to the next place");
    std::vector<uint8_t> audio(kFrames * 64);
    for (uint32_t channels : {2u, 6u, 8u})
        for (uint32_t bits : {8u, 16u, 24u, 32u, 64u})
            for (const char letter : {'A', 'L', 'M'}) {
                std::vector<uint8_t> pairs;
                for (uint32_t n = 0; n < channels; ++n)
                    pairs.insert(pairs.end(),
                                 {static_cast<uint8_t>(n), static_cast<uint8_t>((n + 1) % channels)});
                auto *body = Body<decltype(ChangeChannelOrder)>("ChangeChannelOrder", letter);
                table.Add(
                    std::to_string(channels) + " channels of " + std::to_string(bits) + " bits." + letter,
                    1.0, [=, &audio] { body(audio.data(), kFrames, bits, channels, pairs.data()); },
                    [=, &audio] { PlainLoop(audio.data(), kFrames, bits, channels, pairs.data()); });
            }
    return table.Run(argc, argv);
}
