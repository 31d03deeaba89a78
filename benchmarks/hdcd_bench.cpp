// hdcd_bench.cpp: decoding and scanning compared with a plain copy of the same audio, and with 1000 times
// real time.
//
// Decoding overwrites its input, so each turn restores it first; the peer makes the same copy and one more. A
// row's ratio of 0.4 thus means a decoding at a quarter of the copy's speed: (1 + 1) / (1 + 4).
#include "benchmarks/ratio.h"
#include "hdcd/entries.h"
#include "tests/support/bodies.h"
#include "tests/support/hdcd_encoder.h"
#include "tests/support/random.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <tonekit/hdcd.h>
#include <vector>

namespace {

using Samples = std::vector<int32_t>;
using Prepare = std::function<void(HdcdDecoder *)>;
using Process = std::function<void(HdcdDecoder *, int32_t *, int32_t)>;

constexpr double kQuarterOfACopy = 0.4;
constexpr double kThousandTimesRealTime = 44100 * 1000.0;

// 128 KiB: with its copy, well inside a second-level cache and far outside a first-level one.
constexpr int32_t kFrames = 16384;

Samples Noise(int32_t frames, int loudness)
{
    tonekit::Random random(1);
    Samples samples(2 * static_cast<size_t>(frames));
    for (int32_t &sample : samples)
        sample = static_cast<int16_t>(random.Next()) >> loudness;
    return samples;
}

// Audio, a decoder on it, and the room for copies.
class Stage {
public:
    Stage(Samples audio, Prepare prepare)
        : audio_(std::move(audio)), work_(audio_), other_(audio_), prepare_(std::move(prepare))
    {}

    int32_t Frames() const { return static_cast<int32_t>(audio_.size() / 2); }
    void Restore() { std::memcpy(work_.data(), audio_.data(), audio_.size() * sizeof audio_[0]); }
    void Copy() { std::memcpy(other_.data(), work_.data(), audio_.size() * sizeof audio_[0]); }
    void Decode(const Process &process)
    {
        prepare_(decoder_);
        process(decoder_, work_.data(), Frames());
    }
    HdcdDecoder *Decoder() { return decoder_; }
    const int32_t *Audio() const { return audio_.data(); }

private:
    Samples audio_, work_, other_;
    Prepare prepare_;
    HdcdDecoder *decoder_ = hdcd_new();
};

void WaitSeconds(double seconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
    }
}

void AddRows(tonekit::RatioTable &table, const std::string &name, double copyLimit, Stage &stage,
             const Process &process)
{
    table.Add(
        name + ", beside a copy", copyLimit, [&stage, process] { stage.Restore(), stage.Decode(process); },
        [&stage] { stage.Restore(), stage.Copy(); });
    table.Add(
        name + ", beside 1000x", 1, [&stage, process] { stage.Restore(), stage.Decode(process); },
        [&stage] { WaitSeconds(stage.Frames() / kThousandTimesRealTime); });
}

void SetChannels(HdcdDecoder *decoder, uint8_t control, int32_t gain)
{
    for (tonekit::HdcdChannelState &channel : decoder->channel) {
        channel.control = control;
        channel.sustain = 88200;
        channel.running_gain = gain;
    }
}

// Code after code on both channels, each asking for another gain.
Samples PacketsBackToBack()
{
    Samples samples = Noise(kFrames, 0);
    tonekit::HdcdEncoder encoder(samples);
    for (int32_t frame = 64; frame + 48 <= kFrames; frame += 48)
        for (int channel = 0; channel < 2; ++channel)
            encoder.CodeB(channel, static_cast<size_t>(frame),
                          static_cast<uint8_t>(frame % 96 == 0 ? 0x1F : 0x10));
    return samples;
}

} // namespace

int main(int argc, char **argv)
{
    tonekit::RatioTable table(
        "HDCD: restore and decode beside restore and copy; 0.40 is a quarter of a copy's speed");

    Stage plain(Noise(kFrames, 0), [](HdcdDecoder *) {});
    AddRows(table, "decode at unity gain", kQuarterOfACopy, plain, hdcd_process);
    for (const char letter : tonekit::RunnableLetters()) {
        auto *body = tonekit::Body<decltype(tonekit::hdcd_process_linked)>("hdcd_process_linked", letter);
        table.Add(
            std::string("decode at unity gain, body .") + letter, kQuarterOfACopy,
            [&plain, body] { plain.Restore(), plain.Decode(body); },
            [&plain] { plain.Restore(), plain.Copy(); });
    }

    Stage ramp(Noise(1920, 1), [](HdcdDecoder *decoder) { SetChannels(decoder, 0x0F, 0); });
    AddRows(table, "decode in an attack ramp", 0, ramp, hdcd_process);
    Stage held(Noise(kFrames, 1), [](HdcdDecoder *decoder) { SetChannels(decoder, 0x08, 1024); });
    AddRows(table, "decode at a held gain", 0, held, hdcd_process);
    Stage rarePeaks(Noise(kFrames, 1), [](HdcdDecoder *decoder) { SetChannels(decoder, 0x10, 0); });
    AddRows(table, "decode with peak extension", 0, rarePeaks, hdcd_process);
    Stage manyPeaks(Noise(kFrames, 0), [](HdcdDecoder *decoder) { SetChannels(decoder, 0x18, 1024); });
    AddRows(table, "decode with peaks everywhere, held", 0, manyPeaks, hdcd_process);
    Stage packets(PacketsBackToBack(), [](HdcdDecoder *) {});
    AddRows(table, "decode codes back to back", 0, packets, hdcd_process);
    Stage alone(Noise(kFrames, 1), [](HdcdDecoder *decoder) { decoder->linked = 0; });
    AddRows(table, "decode channels that aren't linked", 0, alone, hdcd_process);

    table.Add(
        "scan, beside a copy", 0.25, [&plain] { hdcd_scan(plain.Decoder(), plain.Audio(), kFrames); },
        [&plain] { plain.Copy(); });
    const std::vector<int16_t> narrow(plain.Audio(), plain.Audio() + 2 * kFrames);
    table.Add(
        "scan 16-bit audio, beside a copy of 32 bits", 0.25,
        [&] { hdcd_scan16(plain.Decoder(), narrow.data(), kFrames); }, [&] { plain.Copy(); });
    return table.Run(argc, argv);
}
