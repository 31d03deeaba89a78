// hdcd_fuzz.cpp: arbitrary audio with arbitrary packets in arbitrary blocks, decoded by every body, scanned,
// and held against the model.
//
// Each byte takes an action and its operand: a block of frames to decode, a packet to hide, a change of mode.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hdcd/entries.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/bodies.h"
#include "tests/support/hdcd_encoder.h"
#include <tonekit/hdcd.h>

namespace {

using Samples = std::vector<std::int32_t>;
using Process = decltype(tonekit::hdcd_process_linked);

// Frames that one input may decode: enough for many packets and for timers to lapse.
constexpr std::size_t kMostFrames = 320;

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

// The input, taken from the beginning; zeros after its end.
class Input {
public:
    Input(const std::uint8_t *data, std::size_t size) : data_(data), size_(size) {}
    bool Empty() const { return size_ == 0; }
    std::uint8_t Byte()
    {
        if (size_ == 0)
            return 0;
        --size_;
        return *data_++;
    }

private:
    const std::uint8_t *data_;
    std::size_t size_;
};

// Audio whose bits are the input's, or noise that begins with one of its bytes.
Samples TakeFrames(Input &input, std::size_t frames)
{
    Samples samples(2 * frames);
    std::uint32_t noise = input.Byte();
    for (std::int32_t &sample : samples) {
        noise = noise * 1664525 + 1013904223;
        sample = static_cast<std::int16_t>(noise >> 16);
    }
    return samples;
}

void HidePacket(Input &input, Samples &samples)
{
    tonekit::HdcdEncoder encoder(samples);
    const std::uint8_t how = input.Byte();
    const std::size_t frame = input.Byte() + (how >> 4);
    const std::uint8_t byte = input.Byte();
    if (frame + tonekit::HdcdEncoder::kFramesB > samples.size() / 2)
        return;
    for (int channel = 0; channel < 2; ++channel) {
        if ((how >> channel & 1) == 0)
            continue;
        if ((how & 4) != 0)
            encoder.CodeA(channel, frame, byte & ((how & 8) != 0 ? 0xFF : 0x37));
        else
            encoder.CodeB(channel, frame, byte,
                          (how & 8) != 0 ? input.Byte() : static_cast<std::uint8_t>(~byte));
    }
}

// The bodies that differ, found once.
const std::vector<Process *> &Bodies()
{
    static const std::vector<Process *> bodies = [] {
        std::vector<Process *> found;
        for (const char letter : tonekit::RunnableLetters()) {
            auto *body = tonekit::Body<Process>("hdcd_process_linked", letter);
            if (found.empty() || found.back() != body)
                found.push_back(body);
        }
        return found;
    }();
    return bodies;
}

// One decoder for each body, the model, and a decoder that only scans.
class Decoders {
public:
    Decoders()
    {
        for (std::size_t i = 0; i < Bodies().size(); ++i)
            decoders_.push_back(hdcd_new());
        model_ = *decoders_[0];
    }
    ~Decoders()
    {
        for (HdcdDecoder *decoder : decoders_)
            hdcd_free(decoder);
        hdcd_free(scanner_);
    }
    Decoders(const Decoders &) = delete;
    Decoders &operator=(const Decoders &) = delete;

    template <class Change>
    void ChangeAll(Change change)
    {
        for (HdcdDecoder *decoder : decoders_)
            change(decoder);
        change(&model_);
    }

    void Decode(const Samples &block)
    {
        const auto frames = static_cast<std::int32_t>(block.size() / 2);
        Samples expected = block;
        tonekit::reference::HdcdProcessLinked(&model_, expected.data(), frames);
        for (std::size_t i = 0; i < Bodies().size(); ++i) {
            Samples samples = block;
            Bodies()[i](decoders_[i], samples.data(), frames);
            Require(samples == expected);
            Require(tonekit::reference::HdcdDifferences(*decoders_[i], model_).empty());
        }
        Require(hdcd_scan(scanner_, block.data(), frames) == hdcd_detected(scanner_));
    }

private:
    std::vector<HdcdDecoder *> decoders_;
    HdcdDecoder *scanner_ = hdcd_new();
    HdcdDecoder model_{};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    Decoders decoders;
    std::size_t decoded = 0;
    while (!input.Empty() && decoded < kMostFrames) {
        const std::uint8_t action = input.Byte();
        if ((action & 0xF0) == 0xF0) {
            decoders.ChangeAll(
                [&](HdcdDecoder *decoder) { tonekit::hdcd_set_analyze_mode(decoder, action & 7); });
        } else if ((action & 0xF0) == 0xE0) {
            const std::uint32_t timer = 1 + 16u * input.Byte();
            decoders.ChangeAll(
                [&](HdcdDecoder *decoder) { decoder->channel[action & 1].sustain_reset = timer; });
        } else {
            Samples samples = TakeFrames(input, (action & 0x80) != 0 ? action & 0x7F : 2u * action);
            decoded += samples.size() / 2;
            for (std::uint8_t packets = input.Byte() & 7; packets != 0; --packets)
                HidePacket(input, samples);
            decoders.Decode(samples);
        }
    }
    return 0;
}
