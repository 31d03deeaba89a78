// conversions.h: a stream of audio through a converter, by any body and by each of the interfaces, in any
// chunks. What the targets of whole conversions share.
#pragma once

#include "convert/dither.h"
#include "fuzz/input_bytes.h"
#include "tests/support/bodies.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit::fuzz {

using Bytes = std::vector<uint8_t>;

struct Conversion {
    uint32_t inputFormat, inputBits, inputChannels, inputRate;
    uint32_t outputFormat, outputBits, outputChannels, outputRate;
    bool dither, limit;
    uint32_t span;

    size_t InputBytesOf(size_t frames) const { return frames * ((inputBits * inputChannels) >> 3); }
    size_t OutputBytesOf(size_t frames) const { return frames * ((outputBits * outputChannels) >> 3); }
};

// Encodings, channels and settings, which are set; the rates are the caller's.
inline Conversion TakeConversion(InputBytes &input, uint32_t inputRate, uint32_t outputRate)
{
    Conversion c{};
    c.inputRate = inputRate;
    c.outputRate = outputRate;
    c.inputFormat = input.Below(4);
    c.inputBits = input.OneOf({8u, 16u, 24u, 32u, 64u, 12u});
    c.inputChannels = input.Below(10);
    c.outputFormat = input.Below(3);
    c.outputBits = input.OneOf({8u, 16u, 24u, 32u, 64u, 20u});
    c.outputChannels = input.Below(10);
    c.dither = input.Flag();
    c.limit = input.Flag();
    SetDitherParameters(input.Flag(), input.Below(4));
    SetSampleRateConverterParameters2(input.Below(3), static_cast<uint8_t>(input.Below(2)));
    return c;
}

// The bytes of the input, then noise. They have an address even if there are none.
inline Bytes TakeFrames(InputBytes &input, const Conversion &c, uint32_t frames)
{
    Bytes data;
    data.reserve(1);
    data.resize(c.InputBytesOf(frames));
    uint32_t noise = input.Word();
    for (uint8_t &byte : data) {
        noise = noise * 1664525 + 1013904223;
        byte = input.Empty() ? static_cast<uint8_t>(noise >> 24) : input.Byte();
    }
    return data;
}

// The dispatched entries that a conversion goes through, of one letter.
struct ConverterBodies {
    explicit ConverterBodies(char letter)
        : init(Body<decltype(SRC4_Init)>("SRC4_Init", letter)),
          read(Body<decltype(SRC4_Read)>("SRC4_Read", letter)),
          construct3(Body<Construct>("_ZN21CSampleRateConverter3C1Ev", letter)),
          construct4(Body<Construct>("_ZN21CSampleRateConverter4C1Ev", letter)),
          assign3(Body<Assign>("_ZN21CSampleRateConverter3aSERKS_", letter)),
          assign4(Body<Assign>("_ZN21CSampleRateConverter4aSERKS_", letter)),
          init3(Body<Init3>("_ZN21CSampleRateConverter34InitEjjjjjjjjRPvS1_bbjj", letter)),
          init4(Body<Init4>("_ZN21CSampleRateConverter44InitEjjjjjjjjbbjj", letter)),
          read4(Body<Read4>("_ZN21CSampleRateConverter44ReadERPvRjS2_", letter)),
          resample(Body<Resample>("_ZN21CSampleRateConverter38ResampleEjb", letter))
    {}

    using Construct = void(void *);
    using Assign = void *(void *, const void *);
    using Init3 = void(void *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                       void *&, void *&, bool, bool, uint32_t, uint32_t);
    using Init4 = void(void *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                       bool, bool, uint32_t, uint32_t);
    using Read4 = bool(void *, void *&, uint32_t &, uint32_t &);
    using Resample = uint32_t(void *, uint32_t, bool);

    decltype(SRC4_Init) *init;
    decltype(SRC4_Read) *read;
    Construct *construct3;
    Construct *construct4;
    Assign *assign3;
    Assign *assign4;
    Init3 *init3;
    Init4 *init4;
    Read4 *read4;
    Resample *resample;
};

// Of a letter that this processor runs, looked up once; letter 0 is the best, the last one the baseline.
inline const ConverterBodies &BodiesAt(size_t letter)
{
    static const std::vector<ConverterBodies> all = [] {
        const std::vector<char> letters = RunnableLetters();
        return std::vector<ConverterBodies>(letters.rbegin(), letters.rend());
    }();
    return all[letter % all.size()];
}

inline const ConverterBodies &Baseline()
{
    static const ConverterBodies baseline('A');
    return baseline;
}

constexpr uint32_t kAnySpan = 7; // of the two quality arguments only the difference counts

// Bytes that a conversion leaves unwritten, where the output has no encoding, are those of new memory.
inline void ClearOutput(const CSampleRateConverter3 &converter, const Conversion &c)
{
    const bool integer = c.outputFormat == 0 && c.outputBits <= 32 && c.outputBits % 8 == 0;
    const bool floating = c.outputFormat == 1 && (c.outputBits == 32 || c.outputBits == 64);
    if (integer || floating)
        return;
    const size_t frames = size_t{converter.outputEdgeFrames} + converter.resamplerOutputFrames;
    std::memset(converter.outputBuffer, 0, c.OutputBytesOf(frames));
}

// A whole stream through the functions, in chunks.
inline Bytes RunFunctions(const ConverterBodies &bodies, const Conversion &c, const Bytes &data,
                          uint32_t frames, uint32_t chunk)
{
    const std::unique_ptr<void, void (*)(void *)> handle(
        bodies.init(c.inputFormat, c.inputBits, c.inputChannels, c.inputRate, c.outputFormat, c.outputBits,
                    c.outputChannels, c.outputRate, c.dither, c.limit, kAnySpan, kAnySpan + c.span),
        SRC4_Deinit);
    SetDitherSeed(1);
    ClearOutput(*static_cast<const CSampleRateConverter4 *>(handle.get()), c);
    Bytes result;
    const auto drain = [&](auto *take) {
        void *out = nullptr;
        uint32_t got = 0;
        uint32_t bytes = 0;
        while (take(handle.get(), &out, &got, &bytes)) {
            Require(bytes == c.OutputBytesOf(got));
            const auto *from = static_cast<const uint8_t *>(out);
            result.insert(result.end(), from, from + bytes);
        }
    };
    for (uint32_t at = 0; at < frames; at += chunk) {
        const uint32_t now = std::min(chunk, frames - at);
        const auto from = data.begin() + static_cast<ptrdiff_t>(c.InputBytesOf(at));
        // An exactly sized copy, so that a sanitizer sees a read past it; it has an address in any case.
        Bytes piece;
        piece.reserve(1);
        piece.assign(from, from + static_cast<ptrdiff_t>(c.InputBytesOf(now)));
        SRC4_Write(handle.get(), piece.data(), now);
        drain(bodies.read);
    }
    drain(SRC4_Flush);
    return result;
}

// The same through the class that gathers blocks; the object in use is a copy of the one that was made.
inline Bytes RunClass4(const ConverterBodies &bodies, const Conversion &c, const Bytes &data, uint32_t frames)
{
    alignas(CSampleRateConverter4) unsigned char made[sizeof(CSampleRateConverter4)];
    alignas(CSampleRateConverter4) unsigned char copy[sizeof(CSampleRateConverter4)];
    bodies.construct4(made);
    bodies.construct4(copy);
    bodies.init4(made, c.inputFormat, c.inputBits, c.inputChannels, c.inputRate, c.outputFormat, c.outputBits,
                 c.outputChannels, c.outputRate, c.dither, c.limit, kAnySpan, kAnySpan + c.span);
    Require(bodies.assign4(copy, made) == copy);
    auto *const converter = reinterpret_cast<CSampleRateConverter4 *>(copy);
    SetDitherSeed(1);
    ClearOutput(*converter, c);
    Bytes result;
    void *out = nullptr;
    uint32_t got = 0;
    uint32_t bytes = 0;
    const auto keep = [&] {
        const auto *from = static_cast<const uint8_t *>(out);
        result.insert(result.end(), from, from + bytes);
    };
    converter->Write(data.data(), frames);
    while (bodies.read4(converter, out, got, bytes))
        keep();
    while (converter->Flush(out, got, bytes))
        keep();
    converter->~CSampleRateConverter4();
    return result;
}

// The same through the class whose caller fills the blocks.
inline Bytes RunClass3(const ConverterBodies &bodies, const Conversion &c, const Bytes &data, uint32_t frames)
{
    alignas(CSampleRateConverter3) unsigned char made[sizeof(CSampleRateConverter3)];
    alignas(CSampleRateConverter3) unsigned char copy[sizeof(CSampleRateConverter3)];
    bodies.construct3(made);
    bodies.construct3(copy);
    void *block = nullptr;
    void *out = nullptr;
    bodies.init3(made, c.inputFormat, c.inputBits, c.inputChannels, c.inputRate, c.outputFormat, c.outputBits,
                 c.outputChannels, c.outputRate, block, out, c.dither, c.limit, kAnySpan, kAnySpan + c.span);
    Require(bodies.assign3(copy, made) == copy);
    auto *const converter = reinterpret_cast<CSampleRateConverter3 *>(copy);
    SetDitherSeed(1);
    ClearOutput(*converter, c);
    Bytes result;
    uint32_t at = 0;
    for (bool more = true; more;) {
        const uint32_t now = std::min(converter->blockFrames, frames - at);
        if (now != 0)
            std::memcpy(block, data.data() + c.InputBytesOf(at), c.InputBytesOf(now));
        at += now;
        const uint32_t got = bodies.resample(converter, now, now == 0);
        more = now != 0 || got != 0 || !converter->finished;
        const auto *from = static_cast<const uint8_t *>(out);
        result.insert(result.end(), from, from + c.OutputBytesOf(got));
    }
    converter->~CSampleRateConverter3();
    return result;
}

// Converts with the baseline, and with a letter, an interface and chunks that the input chooses: the bytes
// are the same.
inline Bytes CompareConversions(InputBytes &input, const Conversion &c, uint32_t mostFrames)
{
    const uint8_t how = input.Byte();
    const uint32_t frames = std::min(input.Byte() * (input.Below(8) != 0 ? 1u : 16u), mostFrames);
    const uint32_t chunk = 1 + input.Byte();
    const uint32_t otherChunk = 1 + 8u * input.Byte();
    const Bytes samples = TakeFrames(input, c, frames);
    const Bytes baseline = RunFunctions(Baseline(), c, samples, frames, chunk);
    const ConverterBodies &bodies = BodiesAt(how >> 2);
    switch (how & 3) {
    case 2:
        Require(RunClass4(bodies, c, samples, frames) == baseline);
        break;
    case 3:
        Require(RunClass3(bodies, c, samples, frames) == baseline);
        break;
    default:
        Require(RunFunctions(bodies, c, samples, frames, otherChunk) == baseline);
        break;
    }
    if (c.inputFormat == 0 && c.outputFormat == 0 && c.inputBits == c.outputBits &&
        c.inputChannels == c.outputChannels && c.inputRate == c.outputRate)
        Require(baseline == samples);
    return baseline;
}

} // namespace tonekit::fuzz
