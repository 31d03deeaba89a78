// biquad_test.cpp: the designs of the filter section and its runs.
#include "convert/biquad.h"
#include "tests/reference/biquad.h"
#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/nasty_samples.h"
#include "tests/support/same_bits.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace tonekit {
namespace {

void ExpectCoefficients(const Biquad &filter, double b0, double b1, double b2, double a1, double a2)
{
    EXPECT_EQ(b0, filter.b0);
    EXPECT_EQ(b1, filter.b1);
    EXPECT_EQ(b2, filter.b2);
    EXPECT_EQ(a1, filter.a1);
    EXPECT_EQ(a2, filter.a2);
}

void ExpectGain(const Biquad &filter, double gain)
{
    ExpectCoefficients(filter, gain, 0, 0, 0, 0);
}

void ExpectNear(const Biquad &filter, const reference::Section &section)
{
    constexpr double kSingle = 2e-6;
    EXPECT_NEAR(section.b0, filter.b0, kSingle * std::max(1.0, std::fabs(section.b0)));
    EXPECT_NEAR(section.b1, filter.b1, kSingle * std::max(1.0, std::fabs(section.b1)));
    EXPECT_NEAR(section.b2, filter.b2, kSingle * std::max(1.0, std::fabs(section.b2)));
    EXPECT_NEAR(section.a1, filter.a1, kSingle * std::max(1.0, std::fabs(section.a1)));
    EXPECT_NEAR(section.a2, filter.a2, kSingle * std::max(1.0, std::fabs(section.a2)));
    for (const double coefficient : {filter.b0, filter.b1, filter.b2, filter.a1, filter.a2})
        EXPECT_EQ(coefficient, static_cast<double>(static_cast<float>(coefficient)));
}

// Designs with the gain argument left at 3 dB where there is one.
using Design = std::function<void(Biquad *, int32_t rate, float frequency, float shape)>;
struct NamedDesign {
    const char *name;
    Design design;
};
const NamedDesign kDesigns[] = {
    {"low pass", BiquadLowPass},
    {"high pass", BiquadHighPass},
    {"band pass", BiquadBandPass},
    {"notch", BiquadNotch},
    {"all pass", BiquadAllPass},
    {"peaking", [](Biquad *f, int32_t r, float w, float s) { BiquadPeaking(f, r, w, s, 3.0f); }},
    {"low shelf", [](Biquad *f, int32_t r, float w, float s) { BiquadLowShelf(f, r, w, s, 3.0f); }},
    {"high shelf", [](Biquad *f, int32_t r, float w, float s) { BiquadHighShelf(f, r, w, s, 3.0f); }},
};

TEST(BiquadDesignTest, EveryDesignClearsTheHistory)
{
    for (const auto &[name, design] : kDesigns)
        for (const float frequency : {0.0f, 1000.0f, 30000.0f})
            for (const float shape : {0.0f, 1.0f}) {
                Biquad filter = {1, 2, 3, 4, 5, 6, 7, 8, 9};
                design(&filter, 48000, frequency, shape);
                EXPECT_EQ(0.0, filter.x1) << name;
                EXPECT_EQ(0.0, filter.x2) << name;
                EXPECT_EQ(0.0, filter.y1) << name;
                EXPECT_EQ(0.0, filter.y2) << name;
            }
}

// The filter of a made-up low-frequency channel at the usual rates, to the bit.
TEST(BiquadDesignTest, TheLowPassOf120HertzIsKnownToTheBit)
{
    Biquad filter;
    BiquadLowPass(&filter, 44100, 120.0f, 1.0f);
    ExpectCoefficients(filter, 0x1.2ddeacp-12, 0x1.2ddeacp-11, 0x1.2ddeacp-12, -0x1.f805a4p+0, 0x1.f0a238p-1);
    BiquadLowPass(&filter, 48000, 120.0f, 1.0f);
    ExpectCoefficients(filter, 0x1.fe4b7p-13, 0x1.fe4b7p-12, 0x1.fe4b7p-13, -0x1.f8aedep+0, 0x1.f1dd5p-1);
    BiquadLowPass(&filter, 96000, 120.0f, 1.0f);
    ExpectCoefficients(filter, 0x1.00f392p-14, 0x1.00f392p-13, 0x1.00f392p-14, -0x1.fc60dcp+0, 0x1.f8e1dap-1);
    BiquadLowPass(&filter, 192000, 120.0f, 1.0f);
    ExpectCoefficients(filter, 0x1.019934p-16, 0x1.019934p-15, 0x1.019934p-16, -0x1.fe32d8p+0, 0x1.fc6dbap-1);
}

TEST(BiquadDesignTest, TheLowPassOf120HertzHasTheTextbookCornerAt240)
{
    Biquad filter;
    BiquadLowPass(&filter, 44100, 120.0f, 1.0f);
    ExpectNear(filter, reference::Textbook(44100, 240).LowPass(std::pow(10, 0.05)));
}

TEST(BiquadDesignTest, EveryShapeFollowsTheTextbookAtTwiceTheFrequency)
{
    for (const int32_t rate : {8000, 44100, 192000})
        for (const float part : {0.05f, 0.3f, 0.9f})
            for (const float shape : {0.4f, 1.0f, 3.5f})
                for (const float gain : {-9.0f, 0.0f, 6.5f}) {
                    const float frequency = part * static_cast<float>(rate) / 2;
                    const reference::Textbook textbook(rate, 2.0 * frequency);
                    Biquad filter;
                    BiquadLowPass(&filter, rate, frequency, shape);
                    ExpectNear(filter, textbook.LowPass(std::pow(10, shape / 20)));
                    BiquadHighPass(&filter, rate, frequency, shape);
                    ExpectNear(filter, textbook.HighPass(std::pow(10, shape / 20)));
                    BiquadBandPass(&filter, rate, frequency, shape);
                    ExpectNear(filter, textbook.BandPass(shape));
                    BiquadNotch(&filter, rate, frequency, shape);
                    ExpectNear(filter, textbook.Notch(shape));
                    BiquadAllPass(&filter, rate, frequency, shape);
                    ExpectNear(filter, textbook.AllPass(shape));
                    BiquadPeaking(&filter, rate, frequency, shape, gain);
                    ExpectNear(filter, textbook.Peaking(shape, gain));
                    BiquadLowShelf(&filter, rate, frequency, shape, gain);
                    ExpectNear(filter, textbook.LowShelf(shape, gain));
                    BiquadHighShelf(&filter, rate, frequency, shape, gain);
                    ExpectNear(filter, textbook.HighShelf(shape, gain));
                }
}

TEST(BiquadDesignTest, FrequenciesOutsideTheBandHaveFixedCoefficients)
{
    // Twice the amplitude of 3 dB, as floats.
    const float amplitude = static_cast<float>(std::pow(10.0, 3.0f * 0.025f));
    const double gain = amplitude * amplitude;
    const double above[] = {1, 0, 0, 1, 1, 1, gain, 1};
    const double below[] = {0, 1, 0, 1, 1, 1, 1, gain};
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE(kDesigns[i].name);
        Biquad filter;
        for (const float frequency : {24000.0f, 24001.0f, 1e9f, std::numeric_limits<float>::infinity()}) {
            kDesigns[i].design(&filter, 48000, frequency, 1.0f);
            ExpectGain(filter, above[i]);
        }
        for (const float frequency : {0.0f, -0.0f, -5.0f}) {
            kDesigns[i].design(&filter, 48000, frequency, 1.0f);
            ExpectGain(filter, below[i]);
        }
        kDesigns[i].design(&filter, -48000, 100.0f, 1.0f);
        ExpectGain(filter, below[i]);
        kDesigns[i].design(&filter, 0, 100.0f, 1.0f);
        ExpectGain(filter, above[i]);
    }
}

TEST(BiquadDesignTest, AQAtOrBelowZeroHasFixedCoefficientsWithinTheBandOnly)
{
    const float amplitude = static_cast<float>(std::pow(10.0, 3.0f * 0.025f));
    const double expected[] = {1, 0, -1, amplitude * amplitude};
    const double above[] = {0, 1, 1, 1};
    for (int i = 0; i < 4; ++i)
        for (const float q : {0.0f, -1.0f}) {
            Biquad filter;
            kDesigns[2 + i].design(&filter, 48000, 1000.0f, q);
            ExpectGain(filter, expected[i]);
            kDesigns[2 + i].design(&filter, 48000, 24000.0f, q);
            ExpectGain(filter, above[i]);
        }
}

TEST(BiquadDesignTest, AShelfOfSlopeZeroPassesButTheOrderOfTheTestsShows)
{
    for (const float frequency : {0.0f, 1000.0f, 24000.0f}) {
        Biquad filter;
        BiquadLowShelf(&filter, 48000, frequency, 0.0f, 6.0f);
        ExpectGain(filter, 1);
        BiquadHighShelf(&filter, 48000, frequency, 0.0f, 6.0f);
        ExpectGain(filter, 1);
    }
}

// The root's argument, (1 / S - 1) (A + 1 / A) + 2, counts as 0 where it is below: the shelf has no damping.
TEST(BiquadDesignTest, AShelfWithANegativeRootTakesItAsZero)
{
    const struct {
        float slope, gain;
    } rows[] = {{3.5f, 24.0f}, {3.5f, -24.0f}, {100.0f, 12.0f}, {-1.0f, 3.0f}, {-0.25f, -6.0f}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.slope << " " << row.gain);
        const reference::Textbook textbook(48000, 2 * 3000.0);
        Biquad filter;
        BiquadLowShelf(&filter, 48000, 3000.0f, row.slope, row.gain);
        ExpectNear(filter, textbook.LowShelf(row.slope, row.gain));
        EXPECT_EQ(filter.b0, filter.b2);
        EXPECT_NEAR(filter.a2, 1.0, 2e-7);
        BiquadHighShelf(&filter, 48000, 3000.0f, row.slope, row.gain);
        ExpectNear(filter, textbook.HighShelf(row.slope, row.gain));
        EXPECT_EQ(filter.b0, filter.b2);
        EXPECT_NEAR(filter.a2, 1.0, 2e-7);
    }
}

TEST(BiquadDesignTest, NothingOverNothingGoesThroughTheTrigonometry)
{
    Biquad filter;
    BiquadLowPass(&filter, 0, 0.0f, 1.0f);
    EXPECT_TRUE(std::isnan(filter.b0));
    EXPECT_TRUE(std::isnan(filter.a2));
}

template <class T>
struct Form;
template <>
struct Form<double> {
    static constexpr const char *kRun = "BiquadRunDouble";
    static constexpr const char *kStrided = "BiquadRunStridedDouble";
};
template <>
struct Form<float> {
    static constexpr const char *kRun = "BiquadRunFloat";
    static constexpr const char *kStrided = "BiquadRunStridedFloat";
};
template <class T>
using RunFunction = void(Biquad *, uint32_t, const T *, T *);
template <class T>
using StridedFunction = void(Biquad *, uint32_t, const T *, T *, uint32_t);

template <class T>
class BiquadRunTest : public testing::Test {
protected:
    static Biquad Design()
    {
        Biquad filter;
        BiquadPeaking(&filter, 48000, 900.0f, 0.7f, 5.0f);
        return filter;
    }
    static reference::Section Model(const Biquad &f)
    {
        return {f.b0, f.b1, f.b2, f.a1, f.a2, f.x1, f.x2, f.y1, f.y2};
    }
    static void ExpectSame(const reference::Section &expected, const Biquad &actual)
    {
        const double a[] = {expected.x1, expected.x2, expected.y1, expected.y2};
        const double b[] = {actual.x1, actual.x2, actual.y1, actual.y2};
        EXPECT_TRUE(SameBits(a, b, 4));
    }
};
using Precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(BiquadRunTest, Precisions);

TYPED_TEST(BiquadRunTest, APassLeavesSamplesBitExact)
{
    Biquad filter;
    BiquadLowPass(&filter, 48000, 24000.0f, 1.0f);
    Random random(1);
    std::vector<TypeParam> input(1000), output(1000);
    FillAudio(random, input.data(), input.size());
    Body<RunFunction<TypeParam>>(Form<TypeParam>::kRun, 'A')(&filter, 1000, input.data(), output.data());
    EXPECT_EQ(input, output);
}

TYPED_TEST(BiquadRunTest, ACountBelowOneChangesNothing)
{
    for (const uint32_t count : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        Biquad filter = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        TypeParam sample = 3;
        Body<RunFunction<TypeParam>>(Form<TypeParam>::kRun, 'A')(&filter, count, &sample, &sample);
        Body<StridedFunction<TypeParam>>(Form<TypeParam>::kStrided, 'A')(&filter, count, &sample, &sample, 2);
        EXPECT_EQ(TypeParam(3), sample);
        EXPECT_EQ(6, filter.x1);
        EXPECT_EQ(7, filter.x2);
        EXPECT_EQ(8, filter.y1);
        EXPECT_EQ(9, filter.y2);
    }
}

TYPED_TEST(BiquadRunTest, FeedbackSeesWhatWasWritten)
{
    Biquad filter = {1, 0, 0, -0.1, 0, 0, 0, 0, 0};
    std::vector<TypeParam> samples = {1, 0, 0};
    Body<RunFunction<TypeParam>>(Form<TypeParam>::kRun, 'A')(&filter, 3, samples.data(), samples.data());
    const auto second = static_cast<TypeParam>(0.1);
    EXPECT_EQ(second, samples[1]);
    EXPECT_EQ(static_cast<TypeParam>(0.1 * static_cast<double>(second)), samples[2]);
    EXPECT_EQ(static_cast<double>(samples[2]), filter.y1);
}

TYPED_TEST(BiquadRunTest, EveryBodyRunsLikeTheModelInPlaceAndAcross)
{
    using T = TypeParam;
    Random random(2);
    for (const char letter : RunnableLetters())
        for (const uint32_t count : {1u, 2u, 3u, 8u, 9u, 1000u})
            for (const uint32_t rarity : {1000000u, 200u})
                for (const bool inPlace : {false, true}) {
                    Biquad filter = this->Design();
                    reference::Section model = this->Model(filter);
                    GuardedBuffer input(count * sizeof(T), sizeof(T)), output(count * sizeof(T));
                    FillNasty(random, input.template As<T>(), count, rarity);
                    std::vector<T> expected(count);
                    for (uint32_t i = 0; i < count; ++i)
                        expected[i] = model.Step(input.template As<T>()[i]);
                    GuardedBuffer &target = inPlace ? input : output;
                    Body<RunFunction<T>>(Form<T>::kRun, letter)(&filter, count, input.template As<T>(),
                                                                target.template As<T>());
                    EXPECT_TRUE(SameBits(expected.data(), target.template As<T>(), count)) << letter;
                    EXPECT_TRUE(target.Intact());
                    this->ExpectSame(model, filter);
                }
}

// As the pass does: one channel of interleaved frames, in place or moved to the front by some frames.
TYPED_TEST(BiquadRunTest, AStridedRunEqualsRunsOfOneSample)
{
    using T = TypeParam;
    Random random(3);
    for (const char letter : RunnableLetters())
        for (const uint32_t stride : {1u, 6u, 8u})
            for (const uint32_t skip : {0u, 1u, 5u}) {
                const uint32_t frames = 100;
                std::vector<T> expected((skip + frames) * stride);
                FillNasty(random, expected.data(), expected.size(), 300);
                std::vector<T> samples = expected;
                Biquad one = this->Design(), strided = one;
                for (uint32_t i = 0; i < frames; ++i)
                    Body<RunFunction<T>>(Form<T>::kRun, letter)(&one, 1, &expected[(skip + i) * stride],
                                                                &expected[i * stride]);
                Body<StridedFunction<T>>(Form<T>::kStrided, letter)(&strided, frames, &samples[skip * stride],
                                                                    samples.data(), stride);
                EXPECT_TRUE(SameBits(expected.data(), samples.data(), samples.size())) << letter;
                this->ExpectSame(this->Model(one), strided);
            }
}

} // namespace
} // namespace tonekit
