// convert_dsp_bench.cpp: mix, limiter, dither, filter and extrapolation, each body compared with the plain
// loop of its rule.
#include "benchmarks/ratio.h"
#include "convert/biquad.h"
#include "convert/dither.h"
#include "convert/lpc.h"
#include "convert/mix.h"
#include "tests/reference/biquad.h"
#include "tests/reference/dither.h"
#include "tests/reference/lpc.h"
#include "tests/reference/mix.h"
#include "tests/support/bodies.h"

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace tonekit {
namespace {

// Frames of a tile that stays in the first-level cache.
constexpr uint32_t kFrames = 1024;

// Nothing may be slower than its plain loop; the rest is for the noise of the measurement.
constexpr double kNoSlower = 0.95;

// The letters whose bodies are builds of their own.
const char kBodies[] = {'A', 'V'};

template <class T>
std::shared_ptr<std::vector<T>> Audio(size_t count, double amplitude)
{
    auto samples = std::make_shared<std::vector<T>>(count);
    for (size_t i = 0; i < count; ++i)
        (*samples)[i] = static_cast<T>(amplitude * std::sin(0.37 * static_cast<double>(i)));
    return samples;
}

std::string Name(const char *what, char precision, char letter)
{
    return std::string(what) + (precision == 'd' ? ", double, ." : ", float, .") + letter;
}

template <class T>
constexpr char kPrecision = sizeof(T) == sizeof(double) ? 'd' : 'f';

template <class T>
const T (*MatrixOf(const MixSelection &selection))[8]
{
    if constexpr (sizeof(T) == sizeof(double))
        return selection.doubleMatrix;
    else
        return selection.floatMatrix;
}

template <class T>
void AddMix(RatioTable &table, uint32_t rows, uint32_t columns, char letter)
{
    using Plain = void(const T(*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t);
    using Limited = void(const T(*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t, T *);
    const bool isDouble = kPrecision<T> == 'd';
    const MixSelection selection = SelectMix(rows, columns);
    const auto matrix = MatrixOf<T>(selection);
    const auto input = Audio<T>(kFrames * rows, 0.2);
    const auto output = std::make_shared<std::vector<T>>(kFrames * columns);
    const std::string pair = std::to_string(rows) + " to " + std::to_string(columns);

    auto *plain = Body<Plain>(isDouble ? "MixPlainDouble" : "MixPlainFloat", letter);
    table.Add(
        Name(("mix " + pair).c_str(), kPrecision<T>, letter), kNoSlower,
        [=] { plain(matrix, rows, rows, columns, input->data(), output->data(), kFrames); },
        [=] { reference::MixPlain(matrix, rows, rows, columns, input->data(), output->data(), kFrames); });
    if (!selection.canOverflow)
        return;
    auto *limited = Body<Limited>(isDouble ? "MixLimitedDouble" : "MixLimitedFloat", letter);
    const auto gain = std::make_shared<T>(T(0.9));
    table.Add(
        Name(("limited mix " + pair).c_str(), kPrecision<T>, letter), kNoSlower,
        [=] { limited(matrix, rows, rows, columns, input->data(), output->data(), kFrames, gain.get()); },
        [=] {
            reference::MixLimited(matrix, rows, rows, columns, input->data(), output->data(), kFrames,
                                  gain.get());
        });
}

// Mode 0 to 2 over all channels; the plain loop goes through one channel after the other.
template <class T, class Object>
void AddDither(RatioTable &table, int32_t mode, uint32_t channels)
{
    const bool isDouble = kPrecision<T> == 'd';
    const auto samples = Audio<T>(kFrames * channels, 0.5);
    const auto objects = std::make_shared<std::vector<Object>>(channels);
    const auto models = std::make_shared<std::vector<reference::Dither<T>>>(channels);
    using Frames = void(Object *, int32_t, T, T *, uint32_t, uint32_t);
    auto *process = Body<Frames>(isDouble ? "DoubleDitherProcessFrames" : "FloatDitherProcessFrames", 'A');
    // Out of the compiler's sight, which would turn the model's divisions into products.
    static volatile T sixteenBits = 32768;
    const T scale = sixteenBits;
    const std::string what = "dither mode " + std::to_string(mode) + ", " + std::to_string(channels) + " ch";
    table.Add(
        Name(what.c_str(), kPrecision<T>, 'A'), kNoSlower,
        [=] { process(objects->data(), mode, scale, samples->data(), kFrames, channels); },
        [=] {
            reference::Noise noise{1};
            for (uint32_t c = 0; c < channels; ++c)
                (*models)[c].Block(mode, scale, samples->data() + c, kFrames * channels - c, channels, noise);
        });
}

// The channel-3 walk of 6-channel frames: one strided run compared with a call for each sample.
template <class T>
void AddBiquad(RatioTable &table)
{
    const bool isDouble = kPrecision<T> == 'd';
    using Run = void(Biquad *, uint32_t, const T *, T *);
    using Strided = void(Biquad *, uint32_t, const T *, T *, uint32_t);
    auto *run = Body<Run>(isDouble ? "BiquadRunDouble" : "BiquadRunFloat", 'A');
    auto *strided = Body<Strided>(isDouble ? "BiquadRunStridedDouble" : "BiquadRunStridedFloat", 'A');
    const auto input = Audio<T>(kFrames * 6, 0.5);
    const auto output = std::make_shared<std::vector<T>>(kFrames * 6);
    const auto filter = std::make_shared<Biquad>();
    const auto section = std::make_shared<reference::Section>();
    BiquadLowPass(filter.get(), 48000, 120.0f, 1.0f);
    *section = {filter->b0, filter->b1, filter->b2, filter->a1, filter->a2};
    table.Add(
        Name("filter, in a row", kPrecision<T>, 'A'), kNoSlower,
        [=] { run(filter.get(), kFrames, input->data(), output->data()); },
        [=] {
            for (uint32_t i = 0; i < kFrames; ++i)
                (*output)[i] = section->Step((*input)[i]);
        });
    table.Add(
        Name("filter, strided beside single calls", kPrecision<T>, 'A'), kNoSlower,
        [=] { strided(filter.get(), kFrames, input->data(), output->data(), 6); },
        [=] {
            for (uint32_t i = 0; i < kFrames; ++i)
                run(filter.get(), 1, input->data() + 6 * i, output->data() + 6 * i);
        });
}

// The edge of a 44.1 to 48 kHz stream.
template <class T>
void AddLpc(RatioTable &table, char letter)
{
    using Extrapolate = void(T *, uint32_t, int32_t, int32_t, uint32_t, uint32_t);
    auto *body =
        Body<Extrapolate>(kPrecision<T> == 'd' ? "LpcExtrapolateDouble" : "LpcExtrapolateFloat", letter);
    constexpr uint32_t kLength = 30105;
    constexpr uint32_t kEdge = 2205;
    const auto ours = Audio<T>((kLength + kEdge) * 2, 0.5);
    const auto plain = Audio<T>((kLength + kEdge) * 2, 0.5);
    table.Add(
        Name("extrapolation, stereo, order 32", kPrecision<T>, letter), kNoSlower,
        [=] { body(ours->data() + kEdge * 2, kLength, 2, 32, kEdge, 0); },
        [=] { reference::Extrapolate(*plain, kLength, 2, 32, kEdge, 0); });
}

void AddAll(RatioTable &table)
{
    const std::pair<uint32_t, uint32_t> pairs[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {2, 6},
                                                   {6, 1}, {6, 2}, {6, 6}, {2, 8}, {8, 8}};
    for (const char letter : kBodies) {
        if (!ProcessorRuns(letter))
            continue;
        for (const auto &[rows, columns] : pairs) {
            AddMix<double>(table, rows, columns, letter);
            AddMix<float>(table, rows, columns, letter);
        }
        AddLpc<double>(table, letter);
        AddLpc<float>(table, letter);
    }
    for (const int32_t mode : {0, 1, 2})
        for (const uint32_t channels : {1u, 2u, 6u}) {
            AddDither<double, DoubleDither>(table, mode, channels);
            AddDither<float, FloatDither>(table, mode, channels);
        }
    AddBiquad<double>(table);
    AddBiquad<float>(table);
}

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    tonekit::RatioTable table("Mix, dither, filter and extrapolation beside the plain loop of the same rule");
    tonekit::AddAll(table);
    return table.Run(argc, argv);
}
