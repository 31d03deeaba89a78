// hdcd_fuzz.cpp: arbitrary audio with arbitrary packets in arbitrary blocks, decoded by every body, scanned,
// and held against the model.
//
// Each byte takes an action and its operand: a block of frames to decode, a packet to hide, a change of mode,
// of format or of what is logged.
#include "fuzz/every_body.h"
#include "fuzz/input_bytes.h"
#include "hdcd/decoder.h"
#include "hdcd/detection.h"
#include "hdcd/dump.h"
#include "hdcd/entries.h"
#include "tests/reference/hdcd_model.h"
#include "tests/support/hdcd_encoder.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <tonekit/hdcd.h>
#include <vector>

namespace {

using tonekit::HdcdLogSink;
using tonekit::fuzz::EveryBody;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;
using Samples = std::vector<int32_t>;

// Frames that one input may decode: enough for many packets and for timers to lapse.
constexpr size_t kMostFrames = 320;

// Noise that begins with a byte of the input: 16 bits, or 24 if the byte's upper bit is set.
Samples TakeFrames(InputBytes &input, size_t frames)
{
    Samples samples(2 * frames);
    uint32_t noise = input.Byte();
    const int shift = (noise & 0x80) != 0 ? 8 : 16;
    for (int32_t &sample : samples) {
        noise = noise * 1664525 + 1013904223;
        sample = static_cast<int32_t>(noise) >> shift;
    }
    return samples;
}

void HidePacket(InputBytes &input, Samples &samples)
{
    tonekit::HdcdEncoder encoder(samples);
    const uint8_t how = input.Byte();
    const size_t frame = input.Byte() + (how >> 4);
    const uint8_t byte = input.Byte();
    if (frame + tonekit::HdcdEncoder::kFramesB > samples.size() / 2)
        return;
    for (int channel = 0; channel < 2; ++channel) {
        if ((how >> channel & 1) == 0)
            continue;
        if ((how & 4) != 0)
            encoder.CodeA(channel, frame, byte & ((how & 8) != 0 ? 0xFF : 0x37));
        else
            encoder.CodeB(channel, frame, byte, (how & 8) != 0 ? input.Byte() : static_cast<uint8_t>(~byte));
    }
}

// The bodies of decoding and scanning, found once.
struct AllBodies {
    std::vector<decltype(tonekit::hdcd_process_linked) *> linked =
        EveryBody<decltype(tonekit::hdcd_process_linked)>("hdcd_process_linked");
    std::vector<decltype(tonekit::hdcd_process_channel) *> channel =
        EveryBody<decltype(tonekit::hdcd_process_channel)>("hdcd_process_channel");
    std::vector<decltype(hdcd_scan) *> scan = EveryBody<decltype(hdcd_scan)>("hdcd_scan");
    std::vector<decltype(hdcd_scan16) *> scan16 = EveryBody<decltype(hdcd_scan16)>("hdcd_scan16");
};

const AllBodies &Bodies()
{
    static const AllBodies bodies;
    return bodies;
}

// Forms each message, as a real sink would.
void TakeMessage(void *, const char *format, std::va_list arguments)
{
    char text[512];
    Require(std::vsnprintf(text, sizeof text, format, arguments) >= 0);
}

HdcdLogSink messages = {tonekit::kHdcdLogRecord, 1, nullptr, TakeMessage};

// One decoder for each body, the model, one through the exported function, and some that only scan.
class Decoders {
public:
    Decoders()
    {
        for (size_t i = 0; i < Bodies().linked.size(); ++i)
            decoders_.push_back(hdcd_new());
        for (size_t i = 0; i < Bodies().scan.size() + Bodies().scan16.size(); ++i)
            scanners_.push_back(hdcd_new());
        model_ = *whole_;
    }
    ~Decoders()
    {
        for (HdcdDecoder *decoder : decoders_)
            hdcd_free(decoder);
        for (HdcdDecoder *scanner : scanners_)
            hdcd_free(scanner);
        hdcd_free(whole_);
    }
    Decoders(const Decoders &) = delete;
    Decoders &operator=(const Decoders &) = delete;

    template <class Change>
    void ChangeAll(Change change)
    {
        for (HdcdDecoder *decoder : decoders_)
            change(decoder);
        for (HdcdDecoder *scanner : scanners_)
            change(scanner);
        change(whole_);
        change(&model_);
    }

    void Decode(const Samples &block)
    {
        const auto frames = static_cast<int32_t>(block.size() / 2);
        Samples expected = block;
        tonekit::reference::HdcdProcess(&model_, expected.data(), frames);
        for (size_t i = 0; i < decoders_.size(); ++i) {
            Samples samples = block;
            DecodeWith(i, samples, frames);
            CheckDecoded(expected, samples, *decoders_[i]);
        }
        Samples samples = block;
        hdcd_process(whole_, samples.data(), frames);
        CheckDecoded(expected, samples, *whole_);
        Scan(block, frames);
    }

    // The counters and the summary as text.
    void Describe(size_t size) const
    {
        tonekit::hdcd_dump_both(whole_);
        tonekit::hdcd_dump_state_brief(&whole_->channel[0], 0);
        tonekit::hdcd_dump_state_brief(&whole_->channel[1], -1);
        constexpr size_t kTextOfNone = 17 + 1;
        std::vector<char> text(std::max(size, kTextOfNone));
        tonekit::hdcd_detection_text(&whole_->detection, text.data(), text.size());
        Require(std::memchr(text.data(), 0, text.size()) != nullptr);
    }

private:
    void DecodeWith(size_t body, Samples &samples, int32_t frames)
    {
        HdcdDecoder *const decoder = decoders_[body];
        if (decoder->linked != 0)
            Bodies().linked[body](decoder, samples.data(), frames);
        else
            for (int i = 0; i < 2; ++i)
                Bodies().channel[body](&decoder->channel[i], samples.data() + (frames != 0 ? i : 0), frames,
                                       2);
        tonekit::UpdateDetection(decoder);
    }

    void CheckDecoded(const Samples &expected, const Samples &samples, const HdcdDecoder &decoder) const
    {
        Require(samples == expected);
        Require(tonekit::reference::HdcdDifferences(decoder, model_).empty());
    }

    // What a scan finds depends on the lowest bits alone.
    void Scan(const Samples &block, int32_t frames)
    {
        const std::vector<int16_t> narrow(block.begin(), block.end());
        const uint32_t found = Bodies().scan[0](scanners_[0], block.data(), frames);
        Require(found == hdcd_detected(scanners_[0]));
        for (size_t i = 1; i < Bodies().scan.size(); ++i)
            Require(Bodies().scan[i](scanners_[i], block.data(), frames) == found);
        for (size_t i = 0; i < Bodies().scan16.size(); ++i)
            Require(Bodies().scan16[i](scanners_[Bodies().scan.size() + i], narrow.data(), frames) == found);
    }

    std::vector<HdcdDecoder *> decoders_;
    std::vector<HdcdDecoder *> scanners_;
    HdcdDecoder *whole_ = hdcd_new();
    HdcdDecoder model_{};
};

// A change of format, settings or messages.
void ChangeSettings(InputBytes &input, Decoders &decoders, uint32_t kind)
{
    switch (kind) {
    case 0: {
        const uint32_t rate = input.OneOf({0u, 44100u, 48000u, 88200u, 96000u, 176400u, 192000u, 32000u});
        const auto bits = static_cast<int32_t>(input.OneOf({0u, 16u, 20u, 24u, 12u}));
        decoders.ChangeAll([&](HdcdDecoder *decoder) {
            Require(tonekit::hdcd_reconfigure(decoder, rate, bits) == (rate != 32000 && bits != 12));
        });
        break;
    }
    case 1: {
        const uint32_t linked = input.Below(2);
        decoders.ChangeAll([&](HdcdDecoder *decoder) { decoder->linked = linked; });
        break;
    }
    case 2: {
        const bool silent = input.Flag();
        decoders.ChangeAll([&](HdcdDecoder *decoder) {
            tonekit::hdcd_set_log(decoder, &messages);
            for (auto &channel : decoder->channel)
                channel.decoder_options = silent ? tonekit::kHdcdSilentMismatch : 0;
        });
        break;
    }
    case 3: {
        const auto timer = static_cast<int32_t>(input.Word());
        const uint32_t options =
            input.OneOf({0u, tonekit::kHdcdSilentMismatch, tonekit::kHdcdForcePeakExtend});
        const uint32_t rate = input.OneOf({0u, 44100u, 48000u, 96000u});
        decoders.ChangeAll(
            [&](HdcdDecoder *decoder) { tonekit::hdcd_decoder_init(decoder, rate, 0, timer, options); });
        break;
    }
    case 4:
        decoders.Describe(input.Byte());
        break;
    case 5:
        decoders.ChangeAll(hdcd_reset);
        break;
    case 6: {
        const int channel = static_cast<int>(input.Below(2));
        const auto bits = static_cast<int32_t>(input.OneOf({16u, 20u, 24u}));
        decoders.ChangeAll([&](HdcdDecoder *decoder) { decoder->channel[channel].bits = bits; });
        break;
    }
    default: {
        const uint32_t mode = input.Below(7);
        decoders.ChangeAll([&](HdcdDecoder *decoder) {
            tonekit::hdcd_set_analyze_mode(&decoder->channel[0], mode);
            tonekit::hdcd_set_log(&decoder->channel[1], &messages);
        });
        break;
    }
    }
}

// Null and empty blocks change nothing.
void PassNothing()
{
    hdcd_process(nullptr, nullptr, 1);
    hdcd_reset(nullptr);
    hdcd_free(nullptr);
    tonekit::hdcd_channel_init(nullptr, 0, 0, 0, 0);
    tonekit::hdcd_decoder_init(nullptr, 0, 0, 0, 0);
    tonekit::hdcd_set_log(nullptr, nullptr);
    tonekit::hdcd_set_analyze_mode(nullptr, 1);
    tonekit::hdcd_dump_state(nullptr, 0);
    tonekit::hdcd_dump_state_brief(nullptr, 0);
    tonekit::hdcd_dump_both(nullptr);
    tonekit::hdcd_detection_text(nullptr, nullptr, 0);
    Require(tonekit::hdcd_reconfigure(nullptr, 0, 0) == 0 && hdcd_detected(nullptr) == 0);
    for (auto *const scan : Bodies().scan)
        Require(scan(nullptr, nullptr, 1) == 0);
    HdcdDecoder *const decoder = hdcd_new();
    const HdcdDecoder before = *decoder;
    hdcd_process(decoder, nullptr, 5);
    for (auto *const scan : Bodies().scan16)
        Require(scan(decoder, nullptr, -1) == 0);
    Require(tonekit::reference::HdcdDifferences(before, *decoder).empty());
    hdcd_free(decoder);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    if (size == 0)
        PassNothing();
    Decoders decoders;
    size_t decoded = 0;
    while (!input.Empty() && decoded < kMostFrames) {
        const uint8_t action = input.Byte();
        if ((action & 0xF0) == 0xF0) {
            decoders.ChangeAll(
                [&](HdcdDecoder *decoder) { tonekit::hdcd_set_analyze_mode(decoder, action & 7); });
        } else if ((action & 0xF0) == 0xE0) {
            const uint32_t timer = 1 + 16u * input.Byte();
            decoders.ChangeAll(
                [&](HdcdDecoder *decoder) { decoder->channel[action & 1].sustain_reset = timer; });
        } else if ((action & 0xF0) == 0xD0) {
            ChangeSettings(input, decoders, action & 7);
        } else {
            Samples samples = TakeFrames(input, (action & 0x80) != 0 ? action & 0x7F : 2u * action);
            decoded += samples.size() / 2;
            for (uint8_t packets = input.Byte() & 7; packets != 0; --packets)
                HidePacket(input, samples);
            decoders.Decode(samples);
        }
    }
    return 0;
}
