// lpc_test.cpp: prediction beyond both ends of a stretch.
#include "convert/lpc.h"
#include "tests/reference/lpc.h"
#include "tests/support/bodies.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/nasty_samples.h"
#include "tests/support/same_bits.h"

#include <cmath>
#include <gtest/gtest.h>
#include <new>
#include <vector>

namespace tonekit {
namespace {

TEST(LevinsonDurbinTest, AnOrderBelowOneHasFixedAnswers)
{
    double a[1] = {5};
    const double r[1] = {1};
    EXPECT_EQ(-3, LevinsonDurbin(r, a, -3));
    EXPECT_EQ(INT32_MIN, LevinsonDurbin(r, a, INT32_MIN));
    EXPECT_EQ(5.0, a[0]);
    EXPECT_EQ(1, LevinsonDurbin(r, a, 0));
    EXPECT_EQ(-1.0, a[0]);
}

TEST(LevinsonDurbinTest, SilenceHoldsTheLastSampleUndamped)
{
    for (const double power : {0.0, 1e-11, 9e-11}) {
        const double r[4] = {power, power, power, power};
        double a[3] = {5, 6, 7};
        EXPECT_EQ(1, LevinsonDurbin(r, a, 3));
        EXPECT_EQ(-1.0, a[0]);
        EXPECT_EQ(0.0, a[1]);
        EXPECT_EQ(0.0, a[2]);
    }
}

TEST(LevinsonDurbinTest, AFirstOrderProcessNeedsOneTap)
{
    const double r[3] = {1, 0.5, 0.25};
    double a[2];
    EXPECT_EQ(2, LevinsonDurbin(r, a, 2));
    EXPECT_NEAR(-0.5 * 0.999, a[0], 1e-9);
    EXPECT_NEAR(0, a[1], 1e-9);
}

TEST(LevinsonDurbinTest, APerfectPredictionStopsEarlyAndDampsWhatItHas)
{
    // A cosine: two taps predict it without an error.
    std::vector<double> r(9), a(8, 9.0);
    for (size_t k = 0; k < 9; ++k)
        r[k] = std::cos(0.5 * static_cast<double>(k));
    const int32_t used = LevinsonDurbin(r.data(), a.data(), 8);
    EXPECT_EQ(2, used);
    EXPECT_NEAR(-2 * std::cos(0.5) * 0.999, a[0], 1e-6);
    EXPECT_NEAR(0.999 * 0.999, a[1], 1e-6);
    for (int k = used; k < 8; ++k)
        EXPECT_EQ(0.0, a.data()[k]);
}

TEST(LevinsonDurbinTest, RandomAutocorrelationsGiveTheModelsBits)
{
    Random random(1);
    for (int32_t order = 0; order <= 40; ++order)
        for (int round = 0; round < 20; ++round) {
            const auto lags = static_cast<size_t>(order);
            std::vector<double> x(200), r(lags + 1), expected(std::max(lags, size_t{1}));
            std::vector<double> actual(expected.size());
            FillAudio(random, x.data(), x.size());
            for (size_t k = 0; k <= lags; ++k)
                for (size_t i = 0; i + k < x.size(); ++i)
                    r[k] += x[i] * x[i + k];
            EXPECT_EQ(reference::LevinsonDurbin(r, expected, order),
                      LevinsonDurbin(r.data(), actual.data(), order));
            EXPECT_TRUE(SameBits(expected.data(), actual.data(), expected.size()));
        }
}

template <class T>
struct Form;
template <>
struct Form<float> {
    static constexpr const char *kName = "LpcExtrapolateFloat";
};
template <>
struct Form<double> {
    static constexpr const char *kName = "LpcExtrapolateDouble";
};
template <class T>
using ExtrapolateFunction = void(T *, uint32_t, int32_t, int32_t, uint32_t, uint32_t);

template <class T>
class LpcTest : public testing::Test {
protected:
    // A buffer of `before` frames, the stretch and `after` frames.
    static void Extrapolate(std::vector<T> &buffer, uint32_t length, int32_t channels, int32_t order,
                            uint32_t before, uint32_t after, char letter = 'A')
    {
        T *stretch = buffer.data() + size_t{before} * static_cast<uint32_t>(std::max(channels, 0));
        Body<ExtrapolateFunction<T>>(Form<T>::kName, letter)(stretch, length, channels, order, before, after);
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(LpcTest, Precisions);

TYPED_TEST(LpcTest, SilencePredictsZeros)
{
    std::vector<TypeParam> buffer(100 + 500, TypeParam(0));
    std::fill_n(buffer.begin(), 100, TypeParam(7));
    this->Extrapolate(buffer, 500, 1, 32, 100, 0);
    EXPECT_EQ(std::vector<TypeParam>(600), buffer);
}

TYPED_TEST(LpcTest, AlmostSilenceHoldsTheEdgeSamples)
{
    std::vector<TypeParam> buffer(5 + 20 + 5, TypeParam(1e-7));
    buffer[5] = TypeParam(2e-7);
    buffer[24] = TypeParam(-3e-7);
    this->Extrapolate(buffer, 20, 1, 32, 5, 5);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(TypeParam(2e-7), buffer[i]);
        EXPECT_EQ(TypeParam(-3e-7), buffer[25 + i]);
    }
}

TYPED_TEST(LpcTest, AConstantContinuesAndDecaysSlowly)
{
    std::vector<TypeParam> buffer(3000, TypeParam(0.5));
    this->Extrapolate(buffer, 2000, 1, 32, 0, 1000);
    EXPECT_NEAR(0.5, buffer[2000], 0.02);
    EXPECT_GT(buffer[2100], TypeParam(0.2));
    EXPECT_LT(std::fabs(buffer[2999]), TypeParam(0.5));
}

TYPED_TEST(LpcTest, ASineContinuesOnBothSidesWithFallingAmplitude)
{
    const uint32_t before = 400, length = 4000, after = 400;
    std::vector<TypeParam> buffer(before + length + after);
    for (size_t i = 0; i < buffer.size(); ++i)
        buffer[i] = static_cast<TypeParam>(std::sin(0.05 * static_cast<double>(i)));
    const std::vector<TypeParam> sine = buffer;
    this->Extrapolate(buffer, length, 1, 32, before, after);
    double early = 0, late = 0;
    for (uint32_t i = 0; i < before; ++i) {
        EXPECT_NEAR(sine[i], buffer[i], 0.5);
        EXPECT_NEAR(sine[before + length + i], buffer[before + length + i], 0.5);
        (i < 200 ? early : late) =
            std::max<double>(i < 200 ? early : late, std::fabs(buffer[before + length + i]));
    }
    EXPECT_GT(early, 0.8);
    EXPECT_GT(late, 0.5);
    EXPECT_LE(late, early);
    EXPECT_LE(early, 1.01);
}

TYPED_TEST(LpcTest, NoRoomOnEitherSideLeavesTheSamples)
{
    Random random(2);
    std::vector<TypeParam> buffer(300 * 2);
    FillAudio(random, buffer.data(), buffer.size());
    const std::vector<TypeParam> before = buffer;
    this->Extrapolate(buffer, 300, 2, 32, 0, 0);
    EXPECT_EQ(before, buffer);
}

TYPED_TEST(LpcTest, NoFramesPredictZeros)
{
    std::vector<TypeParam> buffer(30, TypeParam(3));
    this->Extrapolate(buffer, 0, 2, 32, 7, 8);
    EXPECT_EQ(std::vector<TypeParam>(30), buffer);
}

TYPED_TEST(LpcTest, NoChannelsAllocateAndFreeOnly)
{
    std::vector<TypeParam> buffer(30, TypeParam(3));
    for (const int32_t channels : {0, -1, INT32_MIN}) {
        const int64_t live = LiveAllocations();
        this->Extrapolate(buffer, 10, channels, 32, 0, 10);
        EXPECT_EQ(live, LiveAllocations());
        EXPECT_EQ(std::vector<TypeParam>(30, TypeParam(3)), buffer);
    }
}

TYPED_TEST(LpcTest, AnExhaustedHeapThrowsAndLeavesTheSamples)
{
    std::vector<TypeParam> buffer(30, TypeParam(3));
    const std::vector<TypeParam> before = buffer;
    const int64_t live = LiveAllocations();
    FailAllocation(1);
    EXPECT_THROW(this->Extrapolate(buffer, 10, 1, 32, 10, 10), std::bad_alloc);
    AllowAllocations();
    EXPECT_EQ(live, LiveAllocations());
    EXPECT_EQ(before, buffer);
}

TYPED_TEST(LpcTest, NothingWrittenExceedsTen)
{
    Random random(3);
    bool reached = false;
    for (int round = 0; round < 300; ++round) {
        std::vector<TypeParam> buffer(100 + 40 + 100);
        for (TypeParam &sample : buffer)
            sample =
                static_cast<TypeParam>(std::exp(20 * random.Uniform() - 10) * (random.Below(2) ? 1 : -1));
        this->Extrapolate(buffer, 40, 1, 32, 100, 100);
        for (size_t i = 0; i < 100; ++i)
            for (const TypeParam sample : {buffer[i], buffer[140 + i]}) {
                EXPECT_LE(std::fabs(sample), TypeParam(10));
                reached = reached || std::fabs(sample) == TypeParam(10);
            }
    }
    EXPECT_TRUE(reached);
}

TYPED_TEST(LpcTest, EveryBodyPredictsLikeTheModel)
{
    using T = TypeParam;
    Random random(4);
    struct Room {
        uint32_t before, after;
    };
    for (const char letter : RunnableLetters())
        for (const uint32_t length : {0u, 1u, 2u, 5u, 31u, 32u, 33u, 36u, 40u, 100u, 1000u})
            for (const int32_t order : {-2, 0, 1, 2, 7, 8, 17, 32, 50})
                for (const int32_t channels : {1, 2, 6})
                    for (const auto &[before, after] : {Room{0, 20}, {20, 0}, {9, 33}, {0, 1}})
                        for (const uint32_t rarity : {1000000u, 300u}) {
                            const auto width = static_cast<uint32_t>(channels);
                            std::vector<T> expected((before + length + after) * width);
                            FillNasty(random, expected.data(), expected.size(), rarity);
                            GuardedBuffer buffer(expected.size() * sizeof(T), sizeof(T));
                            std::copy(expected.begin(), expected.end(), buffer.template As<T>());
                            reference::Extrapolate(expected, length, channels, order, before, after);
                            Body<ExtrapolateFunction<T>>(Form<T>::kName,
                                                         letter)(buffer.template As<T>() + before * width,
                                                                 length, channels, order, before, after);
                            ASSERT_TRUE(SameBits(expected.data(), buffer.template As<T>(), expected.size()))
                                << letter << ": " << length << " frames, order " << order << ", " << before
                                << " before, " << after << " after";
                            EXPECT_TRUE(buffer.Intact());
                        }
}

// What is predicted from noise fades through the smallest floats to 0. A tone's predictor makes a faint
// stretch grow out of them.
TYPED_TEST(LpcTest, EveryBodyFadesAndGrowsLikeTheModel)
{
    using T = TypeParam;
    Random random(5);
    const uint32_t length = 600, edge = 1501;
    for (const char letter : RunnableLetters())
        for (const uint32_t channels : {1u, 2u, 3u})
            for (const int32_t order : {7, 32, 70})
                for (const int exponent : {0, -100, -107, -125, -140, -148}) {
                    std::vector<T> expected((edge + length + edge) * channels);
                    for (uint32_t i = 0; i < length; ++i)
                        for (uint32_t c = 0; c < channels; ++c) {
                            const double sample = c == 1 ? std::sin(0.003 * i) : 2 * random.Uniform() - 1;
                            const bool atAnEnd = i < 80 || i >= length - 80;
                            expected[(edge + i) * channels + c] =
                                static_cast<T>(std::ldexp(sample, atAnEnd ? exponent : 0));
                        }
                    std::vector<T> buffer = expected;
                    reference::Extrapolate(expected, length, static_cast<int32_t>(channels), order, edge,
                                           edge);
                    this->Extrapolate(buffer, length, static_cast<int32_t>(channels), order, edge, edge,
                                      letter);
                    ASSERT_TRUE(SameBits(expected.data(), buffer.data(), expected.size()))
                        << letter << ": " << channels << " channels, order " << order << ", " << exponent;
                }
}

} // namespace
} // namespace tonekit
