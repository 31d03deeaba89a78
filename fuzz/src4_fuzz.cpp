// src4_fuzz.cpp: converts with formats, channels, rates, settings and chunks that the input chooses. The
// baseline and the best body must give the same bytes from different chunks, and whole frames of them; equal
// encodings must come through as they are.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "convert/dither.h"
#include "fuzz/input_bytes.h"
#include "tests/support/bodies.h"
#include <tonekit/convert.h>

namespace {

using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;
using Bytes = std::vector<std::uint8_t>;

struct Conversion {
    std::uint32_t inputFormat, inputBits, inputChannels, inputRate;
    std::uint32_t outputFormat, outputBits, outputChannels, outputRate;
    bool dither, limit;
    std::uint32_t span;
};

Conversion TakeConversion(InputBytes &input)
{
    // Farther apart, rates take filters and buffers that allow a few inputs a second.
    constexpr std::uint32_t kFarthest = 24;
    constexpr std::uint32_t kRates[] = {44100, 48000, 44100, 8000,   11025, 22050,
                                        32000, 88200, 96000, 192000, 1,     47999};
    Conversion c{};
    c.inputFormat = input.Below(4);
    c.inputBits = input.OneOf({8u, 16u, 24u, 32u, 64u, 12u});
    c.inputChannels = input.Below(10);
    c.inputRate = input.OneOf(kRates);
    c.outputFormat = input.Below(3);
    c.outputBits = input.OneOf({8u, 16u, 24u, 32u, 64u, 20u});
    c.outputChannels = input.Below(10);
    // A resampler costs a hundred times what all the rest does: few inputs have one.
    c.outputRate = input.Below(16) != 0 ? c.inputRate : input.OneOf(kRates);
    if (std::max(c.inputRate, c.outputRate) > kFarthest * std::min(c.inputRate, c.outputRate))
        c.outputRate = c.inputRate;
    c.dither = input.Flag();
    c.limit = input.Flag();
    c.span = input.OneOf({0u, 24u, 31u, 33u, 0xFFFFFFFFu});
    SetDitherParameters(input.Flag(), input.Below(4));
    SetSampleRateConverterParameters2(input.Below(3), static_cast<std::uint8_t>(input.Below(2)));
    return c;
}

// The bytes of the input, then noise.
Bytes TakeFrames(InputBytes &input, const Conversion &c, std::uint32_t frames)
{
    Bytes data(std::size_t{frames} * ((c.inputBits * c.inputChannels) >> 3));
    std::uint32_t noise = input.Word();
    for (std::uint8_t &byte : data) {
        noise = noise * 1664525 + 1013904223;
        byte = input.Empty() ? static_cast<std::uint8_t>(noise >> 24) : input.Byte();
    }
    return data;
}

struct BodiesOfLetter {
    decltype(SRC4_Init) *init;
    decltype(SRC4_Read) *read;
};

// Of the baseline or the best letter, looked up once.
const BodiesOfLetter &Bodies(char letter)
{
    const auto find = [](char wanted) {
        return BodiesOfLetter{tonekit::Body<decltype(SRC4_Init)>("SRC4_Init", wanted),
                              tonekit::Body<decltype(SRC4_Read)>("SRC4_Read", wanted)};
    };
    static const BodiesOfLetter baseline = find('A');
    static const BodiesOfLetter best = find(tonekit::RunnableLetters().back());
    return letter == 'A' ? baseline : best;
}

class Stream {
public:
    Stream(char letter, const Conversion &c, const Bytes &data, std::uint32_t frames)
        : read_(Bodies(letter).read), data_(data), left_(frames),
          frameBytes_((c.inputBits * c.inputChannels) >> 3),
          outputFrameBytes_((c.outputBits * c.outputChannels) >> 3),
          handle_(Bodies(letter).init(c.inputFormat, c.inputBits, c.inputChannels, c.inputRate,
                                      c.outputFormat, c.outputBits, c.outputChannels, c.outputRate, c.dither,
                                      c.limit, 7, 7 + c.span),
                  SRC4_Deinit)
    {
        tonekit::SetDitherSeed(1);
        // Bytes that a conversion leaves unwritten are those of new memory.
        const auto *converter = static_cast<const CSampleRateConverter4 *>(handle_.get());
        const std::size_t frames2 =
            std::size_t{converter->outputEdgeFrames} + converter->resamplerOutputFrames;
        std::memset(converter->outputBuffer, 0, frames2 * outputFrameBytes_);
    }

    Bytes Run(std::uint32_t chunk)
    {
        Bytes result;
        std::size_t at = 0;
        while (left_ > 0) {
            const std::uint32_t now = std::min(chunk, left_);
            // An exactly sized copy, so that a sanitizer sees a read past it; it has an address in any case.
            Bytes piece;
            piece.reserve(1);
            piece.assign(data_.begin() + static_cast<std::ptrdiff_t>(at),
                         data_.begin() + static_cast<std::ptrdiff_t>(at + std::size_t{now} * frameBytes_));
            SRC4_Write(handle_.get(), piece.data(), now);
            Drain(result, read_);
            at += piece.size();
            left_ -= now;
        }
        Drain(result, SRC4_Flush);
        return result;
    }

private:
    using Take = std::uint32_t(void *, void **, std::uint32_t *, std::uint32_t *);
    void Drain(Bytes &result, Take *take)
    {
        void *out = nullptr;
        std::uint32_t frames = 0;
        std::uint32_t bytes = 0;
        while (take(handle_.get(), &out, &frames, &bytes)) {
            Require(bytes == frames * outputFrameBytes_);
            const auto *from = static_cast<const std::uint8_t *>(out);
            result.insert(result.end(), from, from + bytes);
        }
    }

    Take *read_;
    const Bytes &data_;
    std::uint32_t left_;
    std::size_t frameBytes_, outputFrameBytes_;
    std::unique_ptr<void, void (*)(void *)> handle_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const char best = tonekit::RunnableLetters().back();
    InputBytes input(data, size);
    const Conversion c = TakeConversion(input);
    const std::uint32_t frames = input.Byte() * (input.Below(8) != 0 ? 1u : 16u); // 16: whole blocks, too
    const std::uint32_t chunk = 1 + input.Byte();
    const std::uint32_t otherChunk = 1 + 8u * input.Byte();
    const Bytes samples = TakeFrames(input, c, frames);
    const Bytes baseline = Stream('A', c, samples, frames).Run(chunk);
    Require(Stream(best, c, samples, frames).Run(otherChunk) == baseline);
    if (c.inputFormat == 0 && c.outputFormat == 0 && c.inputBits == c.outputBits &&
        c.inputChannels == c.outputChannels && c.inputRate == c.outputRate)
        Require(baseline == samples);
    return 0;
}
