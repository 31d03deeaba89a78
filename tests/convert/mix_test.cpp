// mix_test.cpp: the channel matrices, their choice, and the mix with and without the limiter.
#include "convert/mix.h"
#include "tests/reference/mix.h"
#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/nasty_samples.h"
#include "tests/support/same_bits.h"

#include <gtest/gtest.h>
#include <tuple>
#include <vector>

namespace tonekit {
namespace {

template <class T>
using PlainFunction = void(const T (*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t);
template <class T>
using LimitedFunction = void(const T (*)[8], uint32_t, uint32_t, uint32_t, const T *, T *, uint32_t, T *);

// What differs between the two precisions.
template <class T>
struct Path;
template <>
struct Path<double> {
    static auto Matrix(const MixSelection &selection) { return selection.doubleMatrix; }
    static double Gain(double gain) { return gain; }
    static constexpr const char *kPlain = "MixPlainDouble";
    static constexpr const char *kLimited = "MixLimitedDouble";
};
template <>
struct Path<float> {
    static auto Matrix(const MixSelection &selection) { return selection.floatMatrix; }
    static float Gain(double gain) { return reference::FloatGain(gain); }
    static constexpr const char *kPlain = "MixPlainFloat";
    static constexpr const char *kLimited = "MixLimitedFloat";
};

template <class T>
class MixTest : public testing::Test {
protected:
    using P = Path<T>;

    static std::vector<T> Mix(uint32_t inputChannels, uint32_t outputChannels, const std::vector<T> &input)
    {
        const MixSelection selection = SelectMix(inputChannels, outputChannels);
        const uint32_t frames = inputChannels != 0 ? static_cast<uint32_t>(input.size() / inputChannels) : 5;
        std::vector<T> output(size_t(frames) * outputChannels, T(99));
        Body<PlainFunction<T>>(P::kPlain, 'A')(P::Matrix(selection), selection.rows, inputChannels,
                                               selection.columns, input.data(), output.data(), frames);
        return output;
    }

    static std::vector<T> MixLimited(uint32_t inputChannels, uint32_t outputChannels,
                                     const std::vector<T> &input, T &gain)
    {
        const MixSelection selection = SelectMix(inputChannels, outputChannels);
        const uint32_t frames = static_cast<uint32_t>(input.size() / inputChannels);
        std::vector<T> output(size_t(frames) * outputChannels);
        Body<LimitedFunction<T>>(P::kLimited, 'A')(P::Matrix(selection), selection.rows, inputChannels,
                                                   selection.columns, input.data(), output.data(), frames,
                                                   &gain);
        return output;
    }
};
using Precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(MixTest, Precisions);

TEST(MixSelectionTest, TheTableHas49Matrices)
{
    EXPECT_EQ(49u, std::size(reference::kMixMatrices));
}

TYPED_TEST(MixTest, EveryMatrixHoldsTheLiteralsOfItsPrecision)
{
    for (const auto &expected : reference::kMixMatrices) {
        const MixSelection selection = SelectMix(expected.input, expected.output);
        for (int i = 0; i < 8; ++i)
            for (int o = 0; o < 8; ++o)
                EXPECT_EQ(Path<TypeParam>::Gain(expected.gain[i][o]),
                          Path<TypeParam>::Matrix(selection)[i][o])
                    << expected.input << " to " << expected.output << " at " << i << ", " << o;
    }
}

TEST(MixSelectionTest, RowsColumnsAndTheLimiterMarkFollowTheCounts)
{
    for (const auto &expected : reference::kMixMatrices) {
        const MixSelection selection = SelectMix(expected.input, expected.output);
        EXPECT_EQ(expected.input, selection.rows);
        EXPECT_EQ(expected.output, selection.columns);
        EXPECT_EQ(expected.limiter, selection.canOverflow) << expected.input << " to " << expected.output;
    }
}

TEST(MixSelectionTest, ThreeInputChannelsUseTheStereoMatrixWithThreeRows)
{
    for (const uint32_t output : {1u, 2u, 4u, 5u, 6u, 7u, 8u}) {
        const MixSelection three = SelectMix(3, output);
        EXPECT_EQ(SelectMix(2, output).doubleMatrix, three.doubleMatrix);
        EXPECT_EQ(SelectMix(2, output).floatMatrix, three.floatMatrix);
        EXPECT_EQ(3u, three.rows);
        EXPECT_FALSE(three.canOverflow);
    }
}

TEST(MixSelectionTest, MoreThanEightInputChannelsUseTheMatrixOfEight)
{
    for (const uint32_t input : {9u, 10u, 255u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SelectMix(8, 2).doubleMatrix, SelectMix(input, 2).doubleMatrix);
        EXPECT_EQ(8u, SelectMix(input, 2).rows);
        EXPECT_TRUE(SelectMix(input, 2).canOverflow);
    }
}

TEST(MixSelectionTest, PairsWithoutAMatrixGetZerosAndNoLimiter)
{
    using Pair = std::pair<uint32_t, uint32_t>;
    for (const auto &[input, output] :
         {Pair{0, 2}, {2, 0}, {2, 9}, {8, 3}, {3, 3}, {6, 0xFFFFFFFF}, {0, 0}}) {
        const MixSelection selection = SelectMix(input, output);
        for (int i = 0; i < 64; ++i) {
            EXPECT_EQ(0.0, selection.doubleMatrix[i / 8][i % 8]);
            EXPECT_EQ(0.0f, selection.floatMatrix[i / 8][i % 8]);
        }
        EXPECT_FALSE(selection.canOverflow);
        EXPECT_EQ(output, selection.columns);
    }
}

TYPED_TEST(MixTest, AnImpulseOnEachInputChannelGivesItsRow)
{
    for (const auto &expected : reference::kMixMatrices) {
        std::vector<TypeParam> input(expected.input * expected.input);
        for (uint32_t i = 0; i < expected.input; ++i)
            input[i * expected.input + i] = 1;
        const auto output = this->Mix(expected.input, expected.output, input);
        for (uint32_t i = 0; i < expected.input; ++i)
            for (uint32_t o = 0; o < expected.output; ++o)
                EXPECT_EQ(Path<TypeParam>::Gain(expected.gain[i][o]), output[i * expected.output + o]);
    }
}

TYPED_TEST(MixTest, StereoToMonoAddsHalfOfEachSide)
{
    EXPECT_EQ((std::vector<TypeParam>{0.5, -0.125}), this->Mix(2, 1, {0.25, 0.75, -1, 0.75}));
    EXPECT_FALSE(SelectMix(2, 1).canOverflow);
}

TYPED_TEST(MixTest, EqualCountsLeaveSamplesBitExact)
{
    Random random(1);
    for (const uint32_t channels : {1u, 2u, 4u, 5u, 6u, 7u, 8u}) {
        std::vector<TypeParam> input(channels * 37);
        FillAudio(random, input.data(), input.size());
        EXPECT_EQ(input, this->Mix(channels, channels, input));
    }
}

TYPED_TEST(MixTest, TheThirdOfThreeInputChannelsHasNoEffect)
{
    EXPECT_EQ((std::vector<TypeParam>{0.25, 0.5, -0.5, 1}), this->Mix(3, 2, {0.25, 0.5, 0.75, -0.5, 1, -1}));
}

TYPED_TEST(MixTest, ThreeOutputsAreSilent)
{
    for (uint32_t input = 0; input <= 10; ++input)
        for (const TypeParam sample : this->Mix(input, 3, std::vector<TypeParam>(input * 4, TypeParam(0.5))))
            EXPECT_EQ(TypeParam(0), sample);
}

TYPED_TEST(MixTest, NoInputChannelAndMoreThanEightOutputsAreSilent)
{
    EXPECT_EQ(std::vector<TypeParam>(5 * 2), this->Mix(0, 2, {}));
    EXPECT_EQ(std::vector<TypeParam>(5 * 11), this->Mix(0, 11, {}));
    EXPECT_EQ(std::vector<TypeParam>(2 * 11), this->Mix(2, 11, {0.5, 0.25, 1, 1}));
}

TYPED_TEST(MixTest, ColumnsBeyondTheMatrixAreZeroEvenForNaN)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const auto output = this->Mix(2, 12, {nan, nan});
    for (size_t o = 8; o < 12; ++o)
        EXPECT_EQ(TypeParam(0), output[o]);
}

TYPED_TEST(MixTest, InputChannelsBeyondTheEighthAreSkipped)
{
    std::vector<TypeParam> ten(30), eight(24);
    Random random(2);
    FillAudio(random, ten.data(), ten.size());
    for (int f = 0; f < 3; ++f)
        std::copy_n(ten.begin() + f * 10, 8, eight.begin() + f * 8);
    EXPECT_EQ(this->Mix(8, 2, eight), this->Mix(10, 2, ten));
}

TYPED_TEST(MixTest, SixToTwoDropsTheLowFrequencyChannel)
{
    TypeParam gain = 1;
    EXPECT_EQ((std::vector<TypeParam>(2)), this->Mix(6, 2, {0, 0, 0, 1, 0, 0}));
    EXPECT_EQ((std::vector<TypeParam>(2)), this->MixLimited(6, 2, {0, 0, 0, 1, 0, 0}, gain));
    EXPECT_EQ(TypeParam(1), gain);
}

TYPED_TEST(MixTest, ANaNReachesEveryColumnThroughItsProductsWithZero)
{
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const auto output = this->Mix(2, 2, {nan, 0.5, 0.25, 0.5});
    EXPECT_TRUE(std::isnan(output[0]));
    EXPECT_TRUE(std::isnan(output[1]));
    EXPECT_EQ(TypeParam(0.25), output[2]);
    EXPECT_EQ(TypeParam(0.5), output[3]);
}

TYPED_TEST(MixTest, NegativeZeroMeetsThePositiveZeroOfTheOtherChannel)
{
    const auto output = this->Mix(2, 2, {-TypeParam(0), 1, -TypeParam(0), -1});
    EXPECT_FALSE(std::signbit(output[0]));
    EXPECT_TRUE(std::signbit(output[2]));
}

TYPED_TEST(MixTest, FullScaleOnFiveChannelsLowersTheGainWithinTheFirstFrame)
{
    // Column 0: row 0 makes 1, row 2 makes 1.7079, and the gain falls to its reciprocal at once.
    using T = TypeParam;
    T gain = 1;
    const auto output = this->MixLimited(5, 2, {1, 1, 1, 1, 1}, gain);
    T sum0 = T(1), sum1 = T(1), g = T(1);
    const T centre = Path<T>::Gain(0.7079), surround = Path<T>::Gain(0.5012);
    auto test = [&g](T sum) { g = sum > 1 ? static_cast<T>(1.0 / (double(sum) / double(g))) : g; };
    test(sum0), test(sum1);
    sum0 += centre * g, test(sum0);
    sum1 += centre * g, test(sum1);
    sum0 += surround * g, test(sum0);
    test(sum1); // the product with 0 is tested as well
    test(sum0);
    sum1 += surround * g, test(sum1);
    EXPECT_EQ(sum0, output[0]);
    EXPECT_EQ(sum1, output[1]);
    EXPECT_EQ(g, gain);
    EXPECT_LT(gain, T(0.6));
}

TYPED_TEST(MixTest, TheFirstRowNeverLowersTheGain)
{
    TypeParam gain = 1;
    const MixSelection selection = SelectMix(4, 2);
    std::vector<TypeParam> output(2);
    const TypeParam loud[] = {5, -7};
    Body<LimitedFunction<TypeParam>>(Path<TypeParam>::kLimited, 'A')(Path<TypeParam>::Matrix(selection), 1, 2,
                                                                     2, loud, output.data(), 1, &gain);
    EXPECT_EQ(TypeParam(1), gain);
    EXPECT_EQ(TypeParam(5), output[0]);
}

TYPED_TEST(MixTest, APeakOfOneAndAHalfLeavesTwoThirdsOfTheRest)
{
    // Two rows, so that the peak of the first is tested once.
    TypeParam gain = 1;
    const MixSelection selection = SelectMix(4, 2);
    std::vector<TypeParam> output(4);
    const TypeParam input[] = {1.5, 0, 0.25, 0};
    Body<LimitedFunction<TypeParam>>(Path<TypeParam>::kLimited, 'A')(Path<TypeParam>::Matrix(selection), 2, 2,
                                                                     2, input, output.data(), 2, &gain);
    EXPECT_EQ(static_cast<TypeParam>(1.0 / 1.5), gain);
    EXPECT_EQ((std::vector<TypeParam>{1.5, 0, TypeParam(0.25) * gain, 0}), output);
}

TYPED_TEST(MixTest, ASumLeftAboveTheLimitIsTestedAgainAtEveryLaterRow)
{
    TypeParam gain = 1, expected = 1;
    const auto output = this->MixLimited(4, 2, {1.5, 0, 0, 0}, gain);
    for (int row = 1; row < 4; ++row)
        expected = static_cast<TypeParam>(1.0 / (1.5 / static_cast<double>(expected)));
    EXPECT_EQ((std::vector<TypeParam>{1.5, 0}), output);
    EXPECT_EQ(expected, gain);
    EXPECT_LT(gain, TypeParam(0.3));
}

TYPED_TEST(MixTest, ASumOfExactlyOneLeavesTheGain)
{
    // In double 1 / (1 / 0.9) isn't 0.9 but the number below it, so a gain set by such a sum would show.
    using T = TypeParam;
    const T full = T(10.0 / 9);
    for (const T sign : {T(1), T(-1)}) {
        T gain = T(0.9);
        EXPECT_EQ((std::vector<T>{sign, 0}), this->MixLimited(4, 2, {sign * full, 0, 0, 0}, gain));
        EXPECT_EQ(T(0.9), gain);

        // The last term of column 1 lowers the gain, and until then column 0 has stood at 1 through three
        // rows.
        const T sum = T(0.5) * T(0.9) + Path<T>::Gain(0.7079) * T(0.9);
        EXPECT_EQ((std::vector<T>{sign, sum}), this->MixLimited(4, 2, {sign * full, 0.5, 0, 1}, gain));
        EXPECT_EQ(static_cast<T>(1.0 / (double(sum) / double(T(0.9)))), gain);
    }
}

TYPED_TEST(MixTest, AGainAtWorkNeverRises)
{
    Random random(3);
    std::vector<TypeParam> input(8 * 500);
    FillAudio(random, input.data(), input.size());
    TypeParam gain = 1;
    for (int f = 0; f < 500; ++f) {
        const TypeParam before = gain;
        this->MixLimited(8, 5, std::vector<TypeParam>(input.begin() + f * 8, input.begin() + f * 8 + 8),
                         gain);
        EXPECT_LE(gain, before);
    }
    EXPECT_LT(gain, TypeParam(1));
}

TYPED_TEST(MixTest, EveryBodyMixesLikeTheModel)
{
    using T = TypeParam;
    Random random(4);
    for (const char letter : RunnableLetters())
        for (uint32_t inputChannels = 0; inputChannels <= 10; ++inputChannels)
            for (uint32_t columns = 0; columns <= 10; ++columns)
                for (const uint32_t frames : {0u, 1u, 2u, 3u, 7u, 16u, 33u}) {
                    const MixSelection selection = SelectMix(inputChannels, columns);
                    const auto matrix = Path<T>::Matrix(selection);
                    std::vector<T> input(frames * inputChannels), expected(frames * columns);
                    FillNasty(random, input.data(), input.size(), 20);
                    GuardedBuffer output(expected.size() * sizeof(T), sizeof(T));
                    reference::MixPlain(matrix, selection.rows, inputChannels, columns, input.data(),
                                        expected.data(), frames);
                    Body<PlainFunction<T>>(Path<T>::kPlain, letter)(matrix, selection.rows, inputChannels,
                                                                    columns, input.data(),
                                                                    output.template As<T>(), frames);
                    EXPECT_TRUE(SameBits(expected.data(), output.template As<T>(), expected.size()))
                        << letter << ": " << inputChannels << " to " << columns << ", " << frames
                        << " frames";
                    EXPECT_TRUE(output.Intact());
                }
}

TYPED_TEST(MixTest, EveryBodyLimitsLikeTheModel)
{
    using T = TypeParam;
    Random random(5);
    for (const char letter : RunnableLetters())
        for (uint32_t inputChannels = 0; inputChannels <= 9; ++inputChannels)
            for (uint32_t columns = 0; columns <= 9; ++columns)
                for (const uint32_t rarity : {1000000u, 30u}) {
                    const uint32_t frames = 61;
                    const MixSelection selection = SelectMix(inputChannels, columns);
                    const auto matrix = Path<T>::Matrix(selection);
                    std::vector<T> input(frames * inputChannels), expected(frames * columns);
                    FillNasty(random, input.data(), input.size(), rarity);
                    GuardedBuffer output(expected.size() * sizeof(T), sizeof(T));
                    T expectedGain = 1, gain = 1;
                    reference::MixLimited(matrix, selection.rows, inputChannels, columns, input.data(),
                                          expected.data(), frames, &expectedGain);
                    Body<LimitedFunction<T>>(Path<T>::kLimited,
                                             letter)(matrix, selection.rows, inputChannels, columns,
                                                     input.data(), output.template As<T>(), frames, &gain);
                    EXPECT_TRUE(SameBits(expected.data(), output.template As<T>(), expected.size()))
                        << letter << ": " << inputChannels << " to " << columns << ", rarity " << rarity;
                    EXPECT_EQ(expectedGain, gain);
                    EXPECT_TRUE(output.Intact());
                }
}

} // namespace
} // namespace tonekit
