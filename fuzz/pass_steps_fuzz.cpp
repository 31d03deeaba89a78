// pass_steps_fuzz.cpp: what a conversion does between load and store, with samples of any bits: the mix with
// and without the limiter, dither, the filter section in its eight designs, and the prediction beyond both
// ends. All of it in every body against the model.
#include "convert/biquad.h"
#include "convert/dither.h"
#include "convert/lpc.h"
#include "convert/mix.h"
#include "fuzz/equal_samples.h"
#include "fuzz/every_body.h"
#include "fuzz/input_bytes.h"
#include "tests/reference/biquad.h"
#include "tests/reference/dither.h"
#include "tests/reference/lpc.h"
#include "tests/reference/mix.h"
#include "tests/reference/sample_formats.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

using tonekit::Biquad;
using tonekit::fuzz::EqualSamples;
using tonekit::fuzz::EveryBody;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

constexpr size_t kMostSamples = 512;

// The samples of the input: any bits, or 16-bit ones up to twice as loud as full scale.
template <class Work>
std::vector<Work> TakeSamples(InputBytes &input, bool anyBits)
{
    const size_t bytes = anyBits ? sizeof(Work) : 2;
    std::vector<Work> samples(std::min(input.Size() / bytes, kMostSamples));
    for (Work &sample : samples) {
        const std::vector<uint8_t> taken = input.Take(bytes);
        sample = anyBits ? tonekit::reference::FromBytes<Work>(taken.data())
                         : static_cast<Work>(tonekit::reference::SignedValue(taken.data(), 2)) / Work(16384);
    }
    return samples;
}

template <class Work>
bool Equal(const std::vector<Work> &expected, const std::vector<Work> &actual)
{
    return expected.size() == actual.size() && EqualSamples(expected.data(), actual.data(), expected.size());
}

// Names and types of the bodies for one working format.
template <class Work>
struct Form;
template <>
struct Form<float> {
    static constexpr const char *kName = "Float";
    using Dither = tonekit::FloatDither;
};
template <>
struct Form<double> {
    static constexpr const char *kName = "Double";
    using Dither = tonekit::DoubleDither;
};

template <class Function, class Work>
std::vector<Function *> BodiesOf(const std::string &before, const std::string &after)
{
    return EveryBody<Function>((before + Form<Work>::kName + after).c_str());
}

// The matrix of two channel counts, from the model's numbers.
template <class Work>
void FillMatrix(uint32_t inputs, uint32_t outputs, Work (&matrix)[8][8])
{
    for (const auto &known : tonekit::reference::kMixMatrices)
        if (known.input == inputs && known.output == outputs)
            for (int row = 0; row < 8; ++row)
                for (int column = 0; column < 8; ++column)
                    matrix[row][column] = sizeof(Work) == sizeof(float)
                                              ? Work(tonekit::reference::FloatGain(known.gain[row][column]))
                                              : Work(known.gain[row][column]);
}

template <class Work>
void CheckSelection(const tonekit::MixSelection &selection, const Work (&matrix)[8][8])
{
    const void *chosen = sizeof(Work) == sizeof(float) ? static_cast<const void *>(selection.floatMatrix)
                                                       : selection.doubleMatrix;
    Require(std::memcmp(chosen, matrix, sizeof matrix) == 0);
}

template <class Work>
void CheckMix(InputBytes &input, bool anyBits)
{
    using Plain = void(const Work(*)[8], uint32_t, uint32_t, uint32_t, const Work *, Work *, uint32_t);
    using Limited =
        void(const Work(*)[8], uint32_t, uint32_t, uint32_t, const Work *, Work *, uint32_t, Work *);
    static const auto plain = BodiesOf<Plain, Work>("MixPlain", "");
    static const auto limited = BodiesOf<Limited, Work>("MixLimited", "");
    const uint32_t inputs = input.Below(10);
    const uint32_t columns = input.Below(10);
    const Work firstGain = Work(1) - static_cast<Work>(input.Byte()) / Work(512);
    const tonekit::MixSelection selection = tonekit::SelectMix(inputs, columns);
    const uint32_t rows = std::min(inputs, 8u);
    Require(selection.columns == columns && selection.rows == rows);
    Work matrix[8][8] = {};
    FillMatrix<Work>(rows == 3 ? 2 : rows, columns, matrix); // three channels are mixed as two
    CheckSelection<Work>(selection, matrix);
    const std::vector<Work> samples = TakeSamples<Work>(input, anyBits);
    const auto frames = static_cast<uint32_t>(samples.size() / std::max(inputs, 1u));
    std::vector<Work> expected(size_t{frames} * columns);
    tonekit::reference::MixPlain(matrix, rows, inputs, columns, samples.data(), expected.data(), frames);
    for (Plain *const body : plain) {
        std::vector<Work> mixed(expected.size());
        body(matrix, rows, inputs, columns, samples.data(), mixed.data(), frames);
        Require(Equal(expected, mixed));
    }
    Work expectedGain = firstGain;
    tonekit::reference::MixLimited(matrix, rows, inputs, columns, samples.data(), expected.data(), frames,
                                   &expectedGain);
    for (Limited *const body : limited) {
        std::vector<Work> mixed(expected.size());
        Work gain = firstGain;
        body(matrix, rows, inputs, columns, samples.data(), mixed.data(), frames, &gain);
        Require(Equal(expected, mixed) && EqualSamples(&expectedGain, &gain, 1));
    }
}

template <class Work>
bool EqualDithers(const tonekit::reference::Dither<Work> &model, const typename Form<Work>::Dither &dither)
{
    return model.position == dither.position && EqualSamples(&model.previous, &dither.previous, 1) &&
           EqualSamples(model.history, dither.history, 8);
}

template <class Work>
void CheckDither(InputBytes &input, bool anyBits)
{
    using Dither = typename Form<Work>::Dither;
    using Process = void(Dither *, int32_t, Work, Work *, uint32_t, uint32_t);
    static const auto blocks = BodiesOf<Process, Work>("", "DitherProcessBlock");
    static const auto wholes = BodiesOf<Process, Work>("", "DitherProcessFrames");
    const auto mode = static_cast<int32_t>(input.Below(5)) - 1;
    const Work scale = input.OneOf({Work(128), Work(32768), Work(8388608), Work(3)});
    const uint32_t channels = 1 + input.Below(8);
    const uint32_t seed = input.Word();
    const std::vector<Work> samples = TakeSamples<Work>(input, anyBits);
    const auto frames = static_cast<uint32_t>(samples.size() / channels);
    const uint32_t count = frames * channels;

    std::vector<tonekit::reference::Dither<Work>> models(channels);
    tonekit::reference::Noise noise{seed};
    std::vector<Work> expected = samples;
    for (uint32_t channel = 0; channel < channels && channel < count; ++channel)
        models[channel].Block(mode, scale, expected.data() + channel, count - channel, channels, noise);
    for (Process *const body : wholes) {
        std::vector<Dither> dithers(channels);
        std::vector<Work> dithered = samples;
        tonekit::SetDitherSeed(seed);
        body(dithers.data(), mode, scale, dithered.data(), frames, channels);
        Require(Equal(expected, dithered) && tonekit::DitherSeed() == noise.seed);
        for (uint32_t channel = 0; channel < channels; ++channel)
            Require(EqualDithers<Work>(models[channel], dithers[channel]));
    }
    for (Process *const body : blocks) {
        Dither dither;
        dither.Reset();
        std::vector<Work> dithered = samples;
        tonekit::SetDitherSeed(seed);
        body(&dither, mode, scale, dithered.data(), count, channels);
        for (uint32_t i = 0; i < count; i += channels)
            Require(EqualSamples(&expected[i], &dithered[i], 1));
    }
    if (count == 0)
        return;
    Dither dither;
    tonekit::SetDitherSeed(seed);
    tonekit::reference::Dither<Work> model;
    noise.seed = seed;
    const Work shaped = dither.ShapeSample(samples[0]);
    const Work expectedShape = model.Shape(samples[0], noise);
    Require(EqualSamples(&expectedShape, &shaped, 1));
    dither.ProcessBlock(mode, scale, std::vector<Work>(samples).data(), count, 0);
    Require(EqualDithers<Work>(model, dither));
}

// A number of any bits, or a plain one.
float TakeNumber(InputBytes &input, float plain)
{
    if (input.Flag())
        return plain * static_cast<float>(static_cast<int8_t>(input.Byte())) / 64;
    const uint32_t word = input.Word();
    float number;
    std::memcpy(&number, &word, sizeof number);
    return number;
}

void Design(InputBytes &input, Biquad *filter)
{
    const auto rate = static_cast<int32_t>(input.OneOf({44100u, 48000u, 8000u, 1u, 0u, 192000u}));
    const float frequency = TakeNumber(input, 12000.0f);
    const float form = TakeNumber(input, 1.0f);
    switch (input.Below(8)) {
    case 0:
        return tonekit::BiquadLowPass(filter, rate, frequency, form);
    case 1:
        return tonekit::BiquadHighPass(filter, rate, frequency, form);
    case 2:
        return tonekit::BiquadBandPass(filter, rate, frequency, form);
    case 3:
        return tonekit::BiquadNotch(filter, rate, frequency, form);
    case 4:
        return tonekit::BiquadAllPass(filter, rate, frequency, form);
    case 5:
        return tonekit::BiquadPeaking(filter, rate, frequency, form, TakeNumber(input, 12.0f));
    case 6:
        return tonekit::BiquadLowShelf(filter, rate, frequency, form, TakeNumber(input, 12.0f));
    default:
        return tonekit::BiquadHighShelf(filter, rate, frequency, form, TakeNumber(input, 12.0f));
    }
}

template <class Work>
void CheckFilter(InputBytes &input, bool anyBits)
{
    using Run = void(Biquad *, uint32_t, const Work *, Work *);
    using RunStrided = void(Biquad *, uint32_t, const Work *, Work *, uint32_t);
    static const auto runs = BodiesOf<Run, Work>("BiquadRun", "");
    static const auto strided = BodiesOf<RunStrided, Work>("BiquadRunStrided", "");
    Biquad designed;
    Design(input, &designed);
    const uint32_t stride = 1 + input.Below(8);
    const std::vector<Work> samples = TakeSamples<Work>(input, anyBits);
    const auto count = static_cast<uint32_t>(samples.size());
    tonekit::reference::Section section{designed.b0, designed.b1, designed.b2, designed.a1, designed.a2};
    std::vector<Work> expected = samples;
    for (Work &sample : expected)
        sample = section.Step(sample);
    for (Run *const body : runs) {
        Biquad filter = designed;
        std::vector<Work> filtered(count);
        body(&filter, count, samples.data(), filtered.data());
        Require(Equal(expected, filtered));
        Require(EqualSamples(&section.x1, &filter.x1, 1) && EqualSamples(&section.y2, &filter.y2, 1));
    }
    section = {designed.b0, designed.b1, designed.b2, designed.a1, designed.a2};
    expected = samples;
    for (uint32_t i = 0; i < count; i += stride)
        expected[i] = section.Step(expected[i]);
    for (RunStrided *const body : strided) {
        Biquad filter = designed;
        std::vector<Work> filtered = samples;
        body(&filter, (count + stride - 1) / stride, samples.data(), filtered.data(), stride);
        Require(Equal(expected, filtered));
    }
}

template <class Work>
void CheckPrediction(InputBytes &input, bool anyBits)
{
    using Extrapolate = void(Work *, uint32_t, int32_t, int32_t, uint32_t, uint32_t);
    static const auto bodies = BodiesOf<Extrapolate, Work>("LpcExtrapolate", "");
    const auto channels = static_cast<int32_t>(1 + input.Below(4));
    const auto order = static_cast<int32_t>(input.Below(42)) - 1;
    const uint32_t before = input.Below(70);
    const uint32_t after = input.Below(70);
    const std::vector<Work> samples = TakeSamples<Work>(input, anyBits);
    const auto length = static_cast<uint32_t>(samples.size()) / static_cast<uint32_t>(channels);
    const auto frame = static_cast<ptrdiff_t>(channels);
    std::vector<Work> buffer;
    buffer.reserve(1); // an empty one has an address, too
    buffer.resize((size_t{before} + length + after) * static_cast<size_t>(channels));
    std::copy_n(samples.begin(), length * frame, buffer.begin() + before * frame);
    std::vector<Work> expected = buffer;
    tonekit::reference::Extrapolate(expected, length, channels, order, before, after);
    for (Extrapolate *const body : bodies) {
        std::vector<Work> predicted;
        predicted.reserve(1);
        predicted = buffer;
        body(predicted.data() + before * frame, length, channels, order, before, after);
        Require(Equal(expected, predicted));
    }
}

template <class Work>
void CheckOne(InputBytes &input, uint32_t step, bool anyBits)
{
    switch (step) {
    case 0:
        return CheckMix<Work>(input, anyBits);
    case 1:
        return CheckDither<Work>(input, anyBits);
    case 2:
        return CheckFilter<Work>(input, anyBits);
    default:
        return CheckPrediction<Work>(input, anyBits);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    const uint32_t how = input.Byte();
    const bool anyBits = (how & 8) != 0;
    if ((how & 4) != 0)
        CheckOne<float>(input, how & 3, anyBits);
    else
        CheckOne<double>(input, how & 3, anyBits);
    return 0;
}
