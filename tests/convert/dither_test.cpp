// dither_test.cpp: the dither objects, their three modes and the seed that they share.
#include "convert/dither.h"
#include "tests/reference/dither.h"
#include "tests/support/bodies.h"
#include "tests/support/element_address.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/nasty_samples.h"
#include "tests/support/same_bits.h"

#include <ctime>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace tonekit {
namespace {

template <class T>
struct Form;
template <>
struct Form<float> {
    using Object = FloatDither;
    static constexpr const char *kBlock = "FloatDitherProcessBlock";
    static constexpr const char *kFrames = "FloatDitherProcessFrames";
};
template <>
struct Form<double> {
    using Object = DoubleDither;
    static constexpr const char *kBlock = "DoubleDitherProcessBlock";
    static constexpr const char *kFrames = "DoubleDitherProcessFrames";
};

template <class T>
using ProcessFunction = void(typename Form<T>::Object *, int32_t, T, T *, uint32_t, uint32_t);

template <class T>
class DitherTest : public testing::Test {
protected:
    using Object = typename Form<T>::Object;
    using Model = reference::Dither<T>;

    static void ExpectSame(const Model &expected, const Object &actual)
    {
        EXPECT_EQ(expected.position, actual.position);
        EXPECT_TRUE(SameBits(&expected.previous, &actual.previous, 1));
        EXPECT_TRUE(SameBits(expected.history, actual.history, 8));
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DitherTest, Precisions);

TEST(DitherSeedTest, TheFirstObjectSeedsFromTheClockAndNoLaterOneDoes)
{
    // Other tests of this program may have built an object before.
    const uint32_t before = DitherSeed();
    const auto begin = static_cast<uint32_t>(std::time(nullptr));
    FloatDither first;
    const auto end = static_cast<uint32_t>(std::time(nullptr));
    if (before == 0) {
        EXPECT_LE(begin, DitherSeed());
        EXPECT_GE(end, DitherSeed());
    }
    SetDitherSeed(77);
    FloatDither second;
    DoubleDither third;
    second.Reset();
    EXPECT_EQ(77u, DitherSeed());
}

TEST(DitherSeedTest, TheFirstStepFromSeedOneIsKnown)
{
    double sample = 0;
    DoubleDither dither;
    SetDitherSeed(1);
    dither.ProcessBlock(0, 1.0, &sample, 1, 1);
    EXPECT_EQ(2745024u, DitherSeed());
    EXPECT_EQ(-(41 / 32767.0 - 0.5), sample);
}

TEST(DitherSeedTest, EveryNoiseValueIsTheQuotientToTheBit)
{
    // Each of the 2^15 values of the bits that count, from a state that the generator reaches in one step.
    const uint32_t inverse = 3115528533u;
    ASSERT_EQ(1u, inverse * 214013u);
    DoubleDither dither;
    for (uint32_t k = 0; k < 32768; ++k) {
        SetDitherSeed(((k << 16) - 2531011u) * inverse);
        double sample = 0;
        dither.ProcessBlock(0, 1.0, &sample, 1, 1);
        ASSERT_EQ(0.0 - (k / 32767.0 + -0.5), sample) << k;
    }
}

TYPED_TEST(DitherTest, ANewObjectIsAllZeroAndSoIsOneAfterReset)
{
    typename Form<TypeParam>::Object dither;
    this->ExpectSame({}, dither);
    dither.position = 5;
    dither.previous = 1;
    for (TypeParam &error : dither.history)
        error = 2;
    SetDitherSeed(123);
    dither.Reset();
    this->ExpectSame({}, dither);
    EXPECT_EQ(123u, DitherSeed());
}

TYPED_TEST(DitherTest, AnEmptyBlockTouchesNothing)
{
    for (const int32_t mode : {0, 1, 2}) {
        typename Form<TypeParam>::Object dither;
        SetDitherSeed(9);
        TypeParam sample = TypeParam(0.5);
        dither.ProcessBlock(mode, 32768, &sample, 0, 1);
        EXPECT_EQ(9u, DitherSeed());
        EXPECT_EQ(TypeParam(0.5), sample);
        this->ExpectSame({}, dither);
    }
}

TYPED_TEST(DitherTest, AnUnknownModeTouchesNothing)
{
    for (const int32_t mode : {-1, 3, 256, INT32_MIN}) {
        typename Form<TypeParam>::Object dither;
        SetDitherSeed(9);
        TypeParam sample = TypeParam(0.5);
        dither.ProcessBlock(mode, 32768, &sample, 1, 1);
        EXPECT_EQ(9u, DitherSeed());
        EXPECT_EQ(TypeParam(0.5), sample);
    }
}

TYPED_TEST(DitherTest, AStrideBeyondTheCountVisitsTheFirstElementOnly)
{
    for (const uint32_t stride : {3u, 4u, 0xFFFFFFFFu})
        for (const int32_t mode : {0, 1, 2}) {
            typename Form<TypeParam>::Object dither;
            SetDitherSeed(9);
            std::vector<TypeParam> samples = {0, 0, 0};
            dither.ProcessBlock(mode, 8, samples.data(), 3, stride);
            EXPECT_NE(TypeParam(0), samples[0]);
            EXPECT_EQ(TypeParam(0), samples[1]);
            EXPECT_EQ(TypeParam(0), samples[2]);
        }
}

TYPED_TEST(DitherTest, ANaNIsNoiseInModeTwoAndStaysElsewhere)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    for (const int32_t mode : {0, 1, 2}) {
        typename Form<TypeParam>::Object dither, other;
        std::vector<TypeParam> samples = {nan, 0.25}, zeros = {0, 0.25};
        SetDitherSeed(5);
        dither.ProcessBlock(mode, 128, samples.data(), 2, 1);
        SetDitherSeed(5);
        other.ProcessBlock(mode, 128, zeros.data(), 2, 1);
        EXPECT_EQ(mode != 2, std::isnan(samples[0]));
        if (mode == 2) {
            EXPECT_EQ(zeros[0], samples[0]);
        }
        EXPECT_EQ(zeros[1], samples[1]);
    }
}

TYPED_TEST(DitherTest, AScaleOfZeroMakesInfinitiesAndNaNs)
{
    for (const int32_t mode : {0, 1, 2}) {
        typename Form<TypeParam>::Object dither;
        SetDitherSeed(5);
        std::vector<TypeParam> samples(50, TypeParam(0.25));
        dither.ProcessBlock(mode, 0, samples.data(), 50, 1);
        for (const TypeParam sample : samples)
            EXPECT_FALSE(std::isfinite(sample));
    }
}

TYPED_TEST(DitherTest, TwoChannelsKeepTheirOwnPreviousNoise)
{
    typename Form<TypeParam>::Object dithers[2];
    reference::Noise noise{4};
    SetDitherSeed(4);
    std::vector<TypeParam> samples(2 * 10);
    for (uint32_t c = 0; c < 2; ++c)
        dithers[c].ProcessBlock(1, 1, samples.data() + c, 20 - c, 2);
    for (uint32_t c = 0; c < 2; ++c) {
        TypeParam previous = 0;
        for (uint32_t i = 0; i < 10; ++i) {
            const auto now = static_cast<TypeParam>(noise.Next());
            EXPECT_EQ(now - previous, samples[2 * i + c]);
            previous = now;
        }
    }
}

TYPED_TEST(DitherTest, ShapeSampleIsModeTwoWithoutTheScale)
{
    typename Form<TypeParam>::Object dither;
    reference::Dither<TypeParam> model;
    reference::Noise noise{31};
    SetDitherSeed(31);
    for (int i = 0; i < 100; ++i) {
        const TypeParam value =
            i == 50 ? std::numeric_limits<TypeParam>::quiet_NaN() : TypeParam(i * 0.3 - 10);
        EXPECT_EQ(model.Shape(value, noise), dither.ShapeSample(value));
    }
    this->ExpectSame(model, dither);
    EXPECT_EQ(noise.seed, DitherSeed());
}

// For the thread sanitizer: the seed is shared, the objects are not.
TYPED_TEST(DitherTest, TwoThreadsMayDitherAtOnce)
{
    auto work = [] {
        std::vector<TypeParam> samples(1000, TypeParam(0.5));
        for (int round = 0; round < 60; ++round) {
            typename Form<TypeParam>::Object dither;
            dither.ProcessBlock(round % 3, 32768, samples.data(), 1000, 1);
        }
        for (const TypeParam sample : samples)
            EXPECT_NEAR(0.5, sample, 0.05);
    };
    std::thread other(work);
    work();
    other.join();
}

TYPED_TEST(DitherTest, RoundingPredictionUsesSixtyFourBitIntegers)
{
    // The last two do not fit: their integer is -2^63.
    for (const double value :
         {0.5, 1.5, -2.5, 4194303.5, 4194304.5, 8388607.5, 3e9, -3e9, 9.2e18, 9.3e18, -1e30}) {
        typename Form<TypeParam>::Object dither;
        reference::Dither<TypeParam> model;
        reference::Noise noise{8};
        SetDitherSeed(8);
        EXPECT_EQ(model.Shape(TypeParam(value), noise), dither.ShapeSample(TypeParam(value)));
        this->ExpectSame(model, dither);
    }
}

TYPED_TEST(DitherTest, StateRunsOnFromBlockToBlock)
{
    for (const int32_t mode : {0, 1, 2}) {
        Random random(static_cast<uint64_t>(mode));
        std::vector<TypeParam> whole(1500), parts;
        FillAudio(random, whole.data(), whole.size());
        parts = whole;
        typename Form<TypeParam>::Object one, many;
        SetDitherSeed(6);
        one.ProcessBlock(mode, 32768, whole.data(), 1500, 1);
        SetDitherSeed(6);
        for (uint32_t done = 0, part = 0; done < 1500; done += part) {
            part = std::min(1 + random.Below(300), 1500 - done);
            many.ProcessBlock(mode, 32768, parts.data() + done, part, 1);
        }
        EXPECT_EQ(whole, parts);
    }
}

TYPED_TEST(DitherTest, EveryBodyDithersLikeTheModel)
{
    using T = TypeParam;
    Random random(7);
    for (const char letter : RunnableLetters())
        for (const int32_t mode : {0, 1, 2})
            for (const uint32_t stride : {1u, 2u, 3u, 8u})
                for (const uint32_t count : {1u, 2u, 7u, 255u, 256u, 257u, 2000u})
                    for (const double scale : {128.0, 32768.0, 8388608.0, 1000.0, 0.0})
                        for (const uint32_t rarity : {1000000u, 50u}) {
                            GuardedBuffer samples(count * sizeof(T), sizeof(T));
                            FillNasty(random, samples.template As<T>(), count, rarity);
                            std::vector<T> expected(samples.template As<T>(),
                                                    samples.template As<T>() + count);
                            typename Form<T>::Object dither;
                            reference::Dither<T> model;
                            reference::Noise noise{static_cast<uint32_t>(random.Next())};
                            SetDitherSeed(noise.seed);
                            model.Block(mode, static_cast<T>(scale), expected.data(), count, stride, noise);
                            Body<ProcessFunction<T>>(Form<T>::kBlock,
                                                     letter)(&dither, mode, static_cast<T>(scale),
                                                             samples.template As<T>(), count, stride);
                            ASSERT_TRUE(SameBits(expected.data(), samples.template As<T>(), count))
                                << letter << ": mode " << mode << ", count " << count << ", stride "
                                << stride;
                            EXPECT_EQ(noise.seed, DitherSeed());
                            EXPECT_TRUE(samples.Intact());
                            this->ExpectSame(model, dither);
                        }
}

TYPED_TEST(DitherTest, FramesAreTheirChannelsOneAfterTheOther)
{
    using T = TypeParam;
    Random random(8);
    for (const char letter : RunnableLetters())
        for (const int32_t mode : {-1, 0, 1, 2, 3})
            for (uint32_t channels = 0; channels <= 9; ++channels)
                for (const uint32_t frames : {0u, 1u, 2u, 300u}) {
                    const uint32_t count = frames * channels;
                    GuardedBuffer samples(count * sizeof(T), sizeof(T));
                    FillNasty(random, samples.template As<T>(), count, 100);
                    std::vector<T> expected(samples.template As<T>(), samples.template As<T>() + count);
                    std::vector<typename Form<T>::Object> dithers(channels);
                    std::vector<reference::Dither<T>> models(channels);
                    reference::Noise noise{static_cast<uint32_t>(random.Next())};
                    SetDitherSeed(noise.seed);
                    for (uint32_t c = 0; c < channels; ++c) {
                        models[c].position = dithers[c].position = static_cast<int32_t>(random.Below(8));
                        models[c].Block(mode, 32768, ElementAddress(expected.data(), c),
                                        count - std::min(c, count), channels, noise);
                    }
                    Body<ProcessFunction<T>>(Form<T>::kFrames, letter)(
                        dithers.data(), mode, 32768, samples.template As<T>(), frames, channels);
                    ASSERT_TRUE(SameBits(expected.data(), samples.template As<T>(), count))
                        << letter << ": mode " << mode << ", " << channels << " channels";
                    EXPECT_EQ(noise.seed, DitherSeed());
                    EXPECT_TRUE(samples.Intact());
                    for (uint32_t c = 0; c < channels; ++c)
                        this->ExpectSame(models[c], dithers[c]);
                }
}

} // namespace
} // namespace tonekit
