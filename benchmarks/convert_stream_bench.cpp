// convert_stream_bench.cpp: whole conversions compared with the bare resampler and with other converters, and
// their quality.
#include "benchmarks/peers/converters.h"
#include "benchmarks/ratio.h"
#include "convert/resampler.h"
#include "convert/set_up.h"
#include "tests/reference/set_up.h"
#include "tests/support/bodies.h"
#include "tests/support/measure.h"
#include "tests/support/random.h"
#include "tests/support/stream.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

struct Rates {
    uint32_t input, output;
};
constexpr Rates kRates[] = {{44100, 48000}, {44100, 96000}, {96000, 44100}, {48000, 44100}};

struct Quality {
    uint32_t span;
    const char *name;
};
constexpr Quality kQualities[] = {{0, "recipe 4"}, {24, "recipe 6"}, {33, "recipe 11"}};

std::vector<int16_t> Noise16(uint32_t frames)
{
    Random random(7);
    std::vector<int16_t> samples(2 * size_t{frames});
    random.Fill(samples.data(), samples.size() * 2);
    return samples;
}

// A chord, each side a note of its own, with a little noise.
std::vector<int16_t> Chord16(uint32_t rate, uint32_t frames)
{
    const auto noise = Noise16(frames);
    const auto low = Sine(220, rate, frames);
    const auto middle = Sine(1870, rate, frames);
    const auto high = Sine(5030, rate, frames);
    std::vector<int16_t> samples(2 * size_t{frames});
    for (size_t i = 0; i < frames; ++i) {
        samples[2 * i] = static_cast<int16_t>(9000 * low[i] + 3000 * high[i] + noise[2 * i] / 300.0);
        samples[2 * i + 1] =
            static_cast<int16_t>(6000 * middle[i] + 3000 * high[i] + noise[2 * i + 1] / 300.0);
    }
    return samples;
}

// 16-bit stereo to 24 bits through the plain interface.
void ConvertWhole(const std::vector<int16_t> &input, const Rates &rates, uint32_t span)
{
    void *handle = SRC4_Init(0, 16, 2, rates.input, 0, 24, 2, rates.output, false, false, 0, span);
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    SRC4_Write(handle, input.data(), static_cast<uint32_t>(input.size() / 2));
    while (SRC4_Read(handle, &out, &frames, &bytes)) {
    }
    while (SRC4_Flush(handle, &out, &frames, &bytes)) {
    }
    SRC4_Deinit(handle);
}

// The same resampler at the same block size, fed with ready samples.
template <class Sample>
void ResampleBare(const std::vector<Sample> &input, const Rates &rates, uint32_t span)
{
    const soxr_t resampler = reference::NewResampler(rates.input, rates.output, 2, span);
    const BlockSizes sizes = DeriveBlockSizes(rates.input, rates.output);
    std::vector<Sample> out(2 * size_t{sizes.resamplerOutputFrames});
    size_t consumed = 0;
    size_t produced = 0;
    const size_t total = input.size() / 2;
    for (size_t done = 0; done < total; done += sizes.blockFrames)
        soxr_process(resampler, input.data() + 2 * done, std::min<size_t>(sizes.blockFrames, total - done),
                     &consumed, out.data(), sizes.resamplerOutputFrames, &produced);
    do {
        soxr_process(resampler, nullptr, 0, &consumed, out.data(), sizes.resamplerOutputFrames, &produced);
    } while (produced != 0);
    soxr_delete(resampler);
}

std::string RowName(const Rates &rates, const Quality &quality, uint32_t seconds)
{
    return std::to_string(rates.input) + " to " + std::to_string(rates.output) + ", " + quality.name + ", " +
           std::to_string(seconds) + " s";
}

void AddBareRow(RatioTable &table, const std::string &name, double limit, const std::vector<int16_t> &input,
                const Rates &rates, const Quality &quality)
{
    const std::vector<float> floats(input.begin(), input.end());
    const std::vector<double> doubles(input.begin(), input.end());
    const bool inDouble = RecipeForSpan(quality.span).useDoublePath;
    table.Add(
        name, limit, [=] { ConvertWhole(input, rates, quality.span); },
        [=] {
            if (inDouble)
                ResampleBare(doubles, rates, quality.span);
            else
                ResampleBare(floats, rates, quality.span);
        });
}

void AddBareRows(RatioTable &table, uint32_t seconds, double limit)
{
    for (const Rates &rates : kRates)
        for (const Quality &quality : kQualities)
            AddBareRow(table, RowName(rates, quality, seconds), limit, Noise16(rates.input * seconds), rates,
                       quality);
}

// What is predicted of white noise at the edges of a clip falls within some hundred samples to the smallest
// floats, for which a processor takes many times as long. Recipe 4 resamples floats, so that its clips of
// noise pay for that, and clips of most sounds don't.
void AddChordRows(RatioTable &table)
{
    for (const Rates &rates : kRates)
        AddBareRow(table, RowName(rates, kQualities[0], 1) + " of a chord", 0.5,
                   Chord16(rates.input, rates.input), rates, kQualities[0]);
}

void AddPeerRows(RatioTable &table)
{
    constexpr Rates kPair{44100, 48000};
    constexpr uint32_t kSeconds = 10;
    const auto input = Noise16(kPair.input * kSeconds);
    std::vector<double> doubles(input.begin(), input.end());
    for (double &sample : doubles)
        sample /= 32768;
    for (const Converter &peer : PeerConverters())
        table.Add(
            "recipe 6 beside " + peer.name, 0, [=] { ConvertWhole(input, kPair, 24); },
            [=] { peer.convert(doubles, 2, kPair.input, kPair.output); });
}

// Equal rates, 16 to 24 bits: the pass with its tiles compared with the same steps, each over the whole
// block.
void AddTileRow(RatioTable &table)
{
    constexpr uint32_t kFrames = 262144;
    const char tier = RunnableLetters().back();
    const auto input = Noise16(kFrames);
    const auto loaded = std::make_shared<std::vector<double>>(2 * kFrames);
    const auto mixed = std::make_shared<std::vector<double>>(2 * kFrames);
    const auto stored = std::make_shared<std::vector<uint8_t>>(6 * kFrames);
    void *handle =
        Body<decltype(SRC4_Init)>("SRC4_Init", tier)(0, 16, 2, 48000, 0, 24, 2, 48000, false, false, 0, 0);
    auto *object = static_cast<CSampleRateConverter4 *>(handle);
    std::copy(input.begin(), input.end(), static_cast<int16_t *>(object->inputBuffer));
    auto *resample = Body<uint32_t(void *, uint32_t, bool)>("_ZN21CSampleRateConverter38ResampleEjb", tier);
    using Mix = void(const double(*)[8], uint32_t, uint32_t, uint32_t, const double *, double *, uint32_t);
    auto *mix = Body<Mix>("MixPlainDouble", tier);
    table.Add(
        "equal rates, 16 to 24 bits, in tiles", 1.7, [=] { resample(object, kFrames, false); },
        [=] {
            object->loadDouble(input.data(), loaded->data(), 2 * kFrames);
            mix(object->mixMatrixDouble, 2, 2, 2, loaded->data(), mixed->data(), kFrames);
            object->storeDouble(stored->data(), mixed->data(), 2 * kFrames);
        });
}

void PrintQuality(const std::string &name, const Rates &rates,
                  const std::function<std::vector<double>(const std::vector<double> &)> &convert)
{
    const auto tone = [&](double frequency) {
        return convert(Sine(frequency, rates.input, 2 * rates.input));
    };
    double ripple = 0;
    for (double frequency = 500; frequency <= 18000; frequency += 500)
        ripple = std::max(ripple, std::abs(LevelOfTone(tone(frequency))));
    double alias = -400;
    if (rates.input > rates.output)
        for (double frequency = rates.output / 2.0 + 250; frequency < rates.input / 2.0; frequency += 1000)
            alias = std::max(alias, LevelOfTone(tone(frequency)));
    std::printf("%-26s %6u to %-6u %9.1f %9.1f ", name.c_str(), rates.input, rates.output,
                ToneError(tone(1000), 1000, rates.output), ToneError(tone(15000), 15000, rates.output));
    if (alias > -400)
        std::printf("%9.1f", alias);
    else
        std::printf("%9s", "-");
    std::printf(" %12.6f\n", ripple);
}

void PrintQualityTable()
{
    std::printf("\nQuality, 64-bit float in and out, dB\n%-26s %16s %9s %9s %9s %12s\n", "", "", "THD+N 1k",
                "15k", "alias", "ripple");
    for (const Rates &rates : {kRates[0], kRates[2]}) {
        for (const Quality &quality : kQualities)
            PrintQuality(std::string("tonekit ") + quality.name, rates,
                         [&](const std::vector<double> &input) {
                             return ConvertDouble(input, 1, rates.input, 1, rates.output, quality.span);
                         });
        for (const Converter &peer : PeerConverters())
            PrintQuality(peer.name, rates, [&](const std::vector<double> &input) {
                return peer.convert(input, 1, rates.input, rates.output);
            });
    }
}

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    using namespace tonekit;
    RatioTable whole("Whole conversions beside the bare resampler, as parts of its speed");
    AddBareRows(whole, 60, 0.95);
    AddBareRows(whole, 1, 0.5);
    AddChordRows(whole);
    RatioTable peers("Beside other converters, ten seconds of stereo");
    AddPeerRows(peers);
    RatioTable tiles("Beside the same steps over the whole block");
    AddTileRow(tiles);
    const int result = whole.Run(argc, argv) | peers.Run(argc, argv) | tiles.Run(argc, argv);
    if (!RatioTable::AsAnotherMake(argc, argv))
        PrintQualityTable();
    return result;
}
