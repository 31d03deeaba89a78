// convert_dsp_cases.cpp: the mix, dither, filter and extrapolation with audio and with samples that are none.
#include "convert/biquad.h"
#include "convert/dither.h"
#include "convert/lpc.h"
#include "convert/mix.h"
#include "tests/support/nasty_samples.h"
#include "tests/tiers/tiers.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tonekit::tiers {

// All audio, then a mishap now and then, then hardly anything else.
static const uint32_t kRarities[] = {0xFFFFFFFF, 50, 2};

template <class T>
using PlainFunction = void(const T (*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t);
template <class T>
using LimitedFunction = void(const T (*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t, T *);

template <class T, class Exercise>
static void ForEachMix(Random &random, Record &record, Exercise exercise)
{
    for (uint32_t inputChannels = 0; inputChannels <= 10; ++inputChannels)
        for (uint32_t columns = 0; columns <= 10; ++columns)
            for (const uint32_t frames : {0u, 1u, 3u, 40u})
                for (const uint32_t rarity : kRarities) {
                    // Neither the matrix nor the samples are aligned to more than themselves.
                    T matrix[65];
                    FillNasty(random, matrix, 65, 20);
                    std::vector<T> input(frames * inputChannels + 1);
                    FillNasty(random, input.data(), input.size(), rarity);
                    GuardedBuffer output(frames * columns * sizeof(T), random.Below(8) * sizeof(T));
                    exercise(reinterpret_cast<const T(*)[8]>(matrix + 1), std::min(inputChannels, 8u),
                             inputChannels, columns, input.data() + 1, output.As<T>(), frames);
                    record.Guards(output);
                }
}

template <class T>
static void ExerciseMixPlain(const Traced<PlainFunction<T>> &mix, Random &random, Record &record)
{
    ForEachMix<T>(random, record, mix);
}

template <class T>
static void ExerciseMixLimited(const Traced<LimitedFunction<T>> &mix, Random &random, Record &record)
{
    ForEachMix<T>(random, record, [&](auto... arguments) {
        T gain = random.Below(3) == 0 ? static_cast<T>(random.Uniform()) : T(1);
        mix(arguments..., &gain);
        record.AddValue(gain);
    });
}

static void ExerciseMix(const Bodies &bodies, Random &random, Record &record)
{
    ExerciseMixPlain(bodies.Get<PlainFunction<double>>("MixPlainDouble"), random, record);
    ExerciseMixPlain(bodies.Get<PlainFunction<float>>("MixPlainFloat"), random, record);
    ExerciseMixLimited(bodies.Get<LimitedFunction<double>>("MixLimitedDouble"), random, record);
    ExerciseMixLimited(bodies.Get<LimitedFunction<float>>("MixLimitedFloat"), random, record);
}
TONEKIT_TIER_CASE(ExerciseMix, "MixPlainDouble", "MixPlainFloat", "MixLimitedDouble", "MixLimitedFloat");

// `strided` distinguishes a block, whose last numbers are count and stride, from frames and channels.
template <class T, class Dither>
static void ExerciseDitherForm(const Traced<void(Dither *, int32_t, T, T *, uint32_t, uint32_t)> &process,
                               bool strided, Random &random, Record &record)
{
    for (const int32_t mode : {-1, 0, 1, 2, 3})
        for (const uint32_t frames : {0u, 1u, 5u, 256u, 300u})
            for (const uint32_t channels : {0u, 1u, 2u, 3u, 7u})
                for (const double scale : {32768.0, 1000.0, 0.0})
                    for (const uint32_t rarity : kRarities) {
                        GuardedBuffer samples(frames * channels * sizeof(T), random.Below(8) * sizeof(T));
                        FillNasty(random, samples.As<T>(), frames * channels, rarity);
                        std::vector<Dither> dithers(strided ? 1 : channels);
                        for (Dither &dither : dithers) {
                            dither.position = static_cast<int32_t>(random.Below(8));
                            FillAudio(random, dither.history, 8);
                        }
                        SetDitherSeed(static_cast<uint32_t>(random.Next()));
                        process(dithers.data(), mode, static_cast<T>(scale), samples.As<T>(),
                                strided ? frames * channels : frames, channels);
                        record.Guards(samples);
                        record.AddValue(DitherSeed());
                        record.Add(dithers.data(), dithers.size() * sizeof(Dither));
                    }
}

static void ExerciseDither(const Bodies &bodies, Random &random, Record &record)
{
    using FloatFunction = decltype(FloatDitherProcessBlock);
    using DoubleFunction = decltype(DoubleDitherProcessBlock);
    ExerciseDitherForm(bodies.Get<FloatFunction>("FloatDitherProcessBlock"), true, random, record);
    ExerciseDitherForm(bodies.Get<DoubleFunction>("DoubleDitherProcessBlock"), true, random, record);
    ExerciseDitherForm(bodies.Get<FloatFunction>("FloatDitherProcessFrames"), false, random, record);
    ExerciseDitherForm(bodies.Get<DoubleFunction>("DoubleDitherProcessFrames"), false, random, record);
}
TONEKIT_TIER_CASE(ExerciseDither, "FloatDitherProcessBlock", "DoubleDitherProcessBlock",
                  "FloatDitherProcessFrames", "DoubleDitherProcessFrames");

template <class T>
static void ExerciseBiquadForm(const Traced<void(Biquad *, uint32_t, const T *, T *)> &run,
                               const Traced<void(Biquad *, uint32_t, const T *, T *, uint32_t)> &runStrided,
                               Random &random, Record &record)
{
    for (const uint32_t count : {0u, 1u, 2u, 9u, 100u})
        for (const uint32_t stride : {1u, 6u})
            for (const uint32_t rarity : kRarities) {
                GuardedBuffer input(count * stride * sizeof(T)), output(count * sizeof(T));
                FillNasty(random, input.As<T>(), count * stride, rarity);
                Biquad filter;
                BiquadLowPass(&filter, 48000, 120.0f, 1.0f);
                filter.x1 = random.Uniform();
                filter.y2 = random.Uniform();
                run(&filter, count, input.As<T>(), output.As<T>());
                record.Guards(output);
                runStrided(&filter, count, input.As<T>(), input.As<T>(), stride);
                record.Guards(input);
                record.AddValue(filter);
            }
}

static void ExerciseBiquad(const Bodies &bodies, Random &random, Record &record)
{
    ExerciseBiquadForm(bodies.Get<decltype(BiquadRunDouble)>("BiquadRunDouble"),
                       bodies.Get<decltype(BiquadRunStridedDouble)>("BiquadRunStridedDouble"), random,
                       record);
    ExerciseBiquadForm(bodies.Get<decltype(BiquadRunFloat)>("BiquadRunFloat"),
                       bodies.Get<decltype(BiquadRunStridedFloat)>("BiquadRunStridedFloat"), random, record);
}
TONEKIT_TIER_CASE(ExerciseBiquad, "BiquadRunDouble", "BiquadRunFloat", "BiquadRunStridedDouble",
                  "BiquadRunStridedFloat");

template <class T>
static void
ExerciseLpcForm(const Traced<void(T *, uint32_t, int32_t, int32_t, uint32_t, uint32_t)> &extrapolate,
                Random &random, Record &record)
{
    struct Shape {
        uint32_t length;
        int32_t channels, order;
        uint32_t before, after;
    };
    for (const Shape &shape : {Shape{0, 2, 32, 4, 5},
                               {1, 1, 32, 0, 9},
                               {20, 2, 32, 30, 30},
                               {36, 1, 35, 0, 40},
                               {37, 1, 36, 40, 0},
                               {100, 3, 32, 17, 0},
                               {500, 2, 32, 0, 100},
                               {64, 1, 7, 8, 8},
                               {64, 1, 8, 8, 8},
                               {64, 1, 0, 3, 3},
                               {64, 1, -1, 3, 3},
                               {700, 1, 80, 0, 90}})
        for (const uint32_t rarity : {0xFFFFFFFFu, 1000u, 100u, 3u}) {
            const auto width = static_cast<uint32_t>(shape.channels);
            const size_t count = (shape.before + shape.length + shape.after) * width;
            GuardedBuffer buffer(count * sizeof(T), random.Below(8) * sizeof(T));
            FillNasty(random, buffer.As<T>(), count, rarity);
            extrapolate(buffer.As<T>() + shape.before * width, shape.length, shape.channels, shape.order,
                        shape.before, shape.after);
            record.Guards(buffer);
        }
}

static void ExerciseLpc(const Bodies &bodies, Random &random, Record &record)
{
    ExerciseLpcForm(bodies.Get<decltype(LpcExtrapolateDouble)>("LpcExtrapolateDouble"), random, record);
    ExerciseLpcForm(bodies.Get<decltype(LpcExtrapolateFloat)>("LpcExtrapolateFloat"), random, record);
}
TONEKIT_TIER_CASE(ExerciseLpc, "LpcExtrapolateDouble", "LpcExtrapolateFloat");

// One second of stereo, the data of all benchmarks below.
template <class T>
static std::vector<T> &OneSecond()
{
    static std::vector<T> samples = [] {
        std::vector<T> sine(2 * 48000);
        for (size_t i = 0; i < sine.size(); ++i)
            sine[i] = static_cast<T>(0.4 * std::sin(0.01 * static_cast<double>(i)));
        return sine;
    }();
    return samples;
}

static void BenchMix(const Bodies &bodies)
{
    static std::vector<double> output(6 * 48000);
    const MixSelection selection = SelectMix(2, 6);
    bodies.Get<decltype(MixPlainDouble)>("MixPlainDouble")(selection.doubleMatrix, 2, 2, 6,
                                                           OneSecond<double>().data(), output.data(), 48000);
}
TONEKIT_TIER_BENCH(BenchMix, "MixPlainDouble");

static void BenchLpc(const Bodies &bodies)
{
    bodies.Get<decltype(LpcExtrapolateDouble)>("LpcExtrapolateDouble")(OneSecond<double>().data(), 30000, 2,
                                                                       32, 0, 2205);
}
TONEKIT_TIER_BENCH(BenchLpc, "LpcExtrapolateDouble");

} // namespace tonekit::tiers
