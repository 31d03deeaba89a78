// measurement_test.cpp: life of a measurement: nothing to measure, lost states, changes of format, failing
// memory.
#include "loudness/state.h"
#include "tests/support/bodies.h"
#include "tests/support/dependency_calls.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"

#include <cstdint>
#include <cstring>
#include <ebur128.h>
#include <gtest/gtest.h>
#include <new>
#include <tonekit/loudness.h>
#include <vector>

namespace {

using tonekit::Random;

bool IsMissing(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits == 0x7FFFFFFFE0000000; // the float 0x7FFFFFFF, widened
}

std::vector<double> Noise(uint64_t seed, uint32_t samples, double amplitude)
{
    Random random(seed);
    std::vector<double> noise(samples);
    for (double &sample : noise)
        sample = amplitude * (2.0 * random.Uniform() - 1.0);
    return noise;
}

// The library without ours.
class Bare {
public:
    Bare(unsigned channels, unsigned long rate, int mode) : state_(ebur128_init(channels, rate, mode)) {}
    ~Bare() { ebur128_destroy(&state_); }
    ebur128_state *State() { return state_; }
    double Loudness()
    {
        double loudness;
        EXPECT_EQ(ebur128_loudness_global(state_, &loudness), EBUR128_SUCCESS);
        return loudness;
    }

private:
    ebur128_state *state_;
};

} // namespace

TEST(Measurement, FreshStateKnowsNoLoudnessAndAPeakOfZero)
{
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
        ReplayGainState *state = init(2, 44100);
        EXPECT_TRUE(IsMissing(ReplayGain_GetLoudness(state)));
        EXPECT_EQ(ReplayGain_GetPeak(state), 0.0);
        EXPECT_EQ(ReplayGain_GetSamples(state), 0u);
        ReplayGain_Deinit(state);
    }
}

TEST(Measurement, DigitalSilenceIsLikeNoData)
{
    const std::vector<double> silence(2 * 44100);
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
        ReplayGainState *state = init(2, 44100);
        ReplayGain_Process(state, silence.data(), 44100);
        EXPECT_TRUE(IsMissing(ReplayGain_GetLoudness(state)));
        EXPECT_EQ(ReplayGain_GetPeak(state), 0.0);
        EXPECT_EQ(ReplayGain_GetSamples(state), 44100u);
        ReplayGain_Deinit(state);
    }
}

TEST(Measurement, RecordHasItsFieldsInOrder)
{
    EXPECT_EQ(offsetof(ReplayGainState, samples_seen), 0u);
    EXPECT_EQ(offsetof(ReplayGainState, use_true_peak), 8u);
    EXPECT_EQ(offsetof(ReplayGainState, channels), 12u);
    EXPECT_EQ(offsetof(ReplayGainState, ebur128), 16u);
    ReplayGainState *state = ReplayGain_Init(3, 48000);
    EXPECT_EQ(state->use_true_peak, 0u);
    EXPECT_EQ(state->channels, 3u);
    EXPECT_EQ(state->ebur128->mode, 21);
    ReplayGain_Deinit(state);
    state = ReplayGain_Init_TruePeak(3, 48000);
    EXPECT_EQ(state->use_true_peak, 1u);
    EXPECT_EQ(state->ebur128->mode, 53);
    ReplayGain_Deinit(state);
}

TEST(Measurement, NullStateIsIgnoredEverywhere)
{
    const double samples[2] = {1.0, 1.0};
    ReplayGain_Process(nullptr, samples, 1);
    ReplayGain_Change(nullptr, 2, 48000);
    ReplayGain_Deinit(nullptr);
    EXPECT_TRUE(IsMissing(ReplayGain_GetLoudness(nullptr)));
    EXPECT_TRUE(IsMissing(ReplayGain_GetPeak(nullptr)));
    EXPECT_EQ(ReplayGain_GetSamples(nullptr), 0u);
}

TEST(Measurement, FormatThatTheLibraryRefusesStillCountsFrames)
{
    const std::vector<double> samples(70 * 10, 0.5);
    const struct {
        uint32_t channels, rate;
    } refused[] = {{0, 48000}, {65, 48000}, {2, 0}, {2, 15}, {2, 16}, {2, 99}, {2, 2822401}, {2, 0xFFFFFFFF}};
    for (const auto &format : refused) {
        for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
            SCOPED_TRACE(testing::Message() << format.channels << " channels at " << format.rate);
            ReplayGainState *state = init(format.channels, format.rate);
            ASSERT_NE(state, nullptr);
            EXPECT_EQ(state->ebur128, nullptr);
            ReplayGain_Process(state, samples.data(), 10);
            ReplayGain_Process(state, samples.data(), 3);
            EXPECT_EQ(ReplayGain_GetSamples(state), 13u);
            EXPECT_TRUE(IsMissing(ReplayGain_GetLoudness(state)));
            EXPECT_TRUE(IsMissing(ReplayGain_GetPeak(state)));
            ReplayGain_Change(state, 2, 48000); // does not bring it back
            EXPECT_EQ(state->ebur128, nullptr);
            ReplayGain_Deinit(state);
        }
    }
}

TEST(Measurement, LowestAndHighestFormatsAreMeasured)
{
    const struct {
        uint32_t channels, rate;
    } accepted[] = {{1, 100}, {2, 100}, {64, 8000}, {2, 2822400}};
    for (const auto &format : accepted) {
        const std::vector<double> noise = Noise(7, format.channels * format.rate / 2, 0.25);
        ReplayGainState *state = ReplayGain_Init(format.channels, format.rate);
        ASSERT_NE(state->ebur128, nullptr);
        ReplayGain_Process(state, noise.data(), format.rate / 2);
        EXPECT_GT(ReplayGain_GetPeak(state), 0.2);
        EXPECT_LE(ReplayGain_GetPeak(state), 0.25);
        ReplayGain_Deinit(state);
    }
}

TEST(Measurement, EqualsTheLibraryWithTheToldModesAndMaps)
{
    constexpr uint32_t kFrames = 3 * 44100;
    for (uint32_t channels = 1; channels <= 8; ++channels) {
        const std::vector<double> noise = Noise(channels, kFrames * channels, 0.3);
        Bare bare(channels, 44100, 53);
        if (channels == 1)
            ebur128_set_channel(bare.State(), 0, EBUR128_DUAL_MONO);
        if (channels == 4 || channels == 5) {
            ebur128_set_channel(bare.State(), 0, EBUR128_LEFT);
            ebur128_set_channel(bare.State(), 1, EBUR128_RIGHT);
            if (channels == 5)
                ebur128_set_channel(bare.State(), 2, EBUR128_CENTER);
            ebur128_set_channel(bare.State(), channels - 2, EBUR128_LEFT_SURROUND);
            ebur128_set_channel(bare.State(), channels - 1, EBUR128_RIGHT_SURROUND);
        }
        ebur128_add_frames_double(bare.State(), noise.data(), kFrames);
        double peak = 0.0;
        for (uint32_t channel = 0; channel < channels; ++channel) {
            double one;
            ebur128_true_peak(bare.State(), channel, &one);
            peak = std::max(peak, one);
        }
        ReplayGainState *state = ReplayGain_Init_TruePeak(channels, 44100);
        for (uint32_t done = 0; done < kFrames; done += 4410) {
            ReplayGain_Process(state, noise.data() + done * channels, 4410);
            ReplayGain_GetLoudness(state); // reading does not disturb
            ReplayGain_GetPeak(state);
        }
        EXPECT_EQ(ReplayGain_GetLoudness(state), -18.0 - bare.Loudness()) << channels << " channels";
        EXPECT_EQ(ReplayGain_GetPeak(state), peak) << channels << " channels";
        EXPECT_EQ(ReplayGain_GetSamples(state), kFrames);
        ReplayGain_Deinit(state);
    }
}

TEST(Measurement, EmptyBlocksChangeNothing)
{
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ReplayGain_Process(state, nullptr, 0);
    EXPECT_EQ(ReplayGain_GetSamples(state), 0u);
    EXPECT_EQ(ReplayGain_GetPeak(state), 0.0);
    ReplayGain_Deinit(state);
}

TEST(Measurement, ChangeOfRateAloneKeepsWhatWasMeasured)
{
    const std::vector<double> noise = Noise(1, 2 * 44100, 0.4);
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ReplayGain_Process(state, noise.data(), 44100);
    const double loudness = ReplayGain_GetLoudness(state);
    const double peak = ReplayGain_GetPeak(state);
    ReplayGain_Change(state, 2, 48000);
    ASSERT_NE(state->ebur128, nullptr);
    EXPECT_EQ(ReplayGain_GetSamples(state), 44100u);
    EXPECT_EQ(ReplayGain_GetLoudness(state), loudness);
    EXPECT_EQ(ReplayGain_GetPeak(state), peak);
    ReplayGain_Process(state, noise.data(), 1000);
    EXPECT_EQ(ReplayGain_GetSamples(state), 45100u);
    ReplayGain_Deinit(state);
}

TEST(Measurement, ChangeToTheSameFormatIsNoFailure)
{
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ebur128_state *library = state->ebur128;
    ReplayGain_Change(state, 2, 44100);
    EXPECT_EQ(state->ebur128, library);
    ReplayGain_Deinit(state);
}

TEST(Measurement, ChangeMapsTheNewChannels)
{
    const std::vector<double> noise = Noise(2, 3 * 44100, 0.4);
    ReplayGainState *changed = ReplayGain_Init(2, 44100);
    ReplayGain_Change(changed, 1, 44100);
    ReplayGain_Process(changed, noise.data(), 3 * 44100);
    ReplayGainState *mono = ReplayGain_Init(1, 44100);
    ReplayGain_Process(mono, noise.data(), 3 * 44100);
    EXPECT_EQ(ReplayGain_GetLoudness(changed), ReplayGain_GetLoudness(mono));
    ReplayGain_Deinit(changed);
    ReplayGain_Deinit(mono);
}

TEST(Measurement, RefusedChangeLosesTheMeasurementForGood)
{
    const std::vector<double> noise = Noise(3, 2 * 44100, 0.4);
    const struct {
        uint32_t channels, rate;
    } refused[] = {{0, 44100}, {65, 44100}, {2, 0}, {2, 99}, {2, 2822401}};
    for (const auto &format : refused) {
        for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
            ReplayGainState *state = init(2, 44100);
            ReplayGain_Process(state, noise.data(), 44100);
            ReplayGain_Change(state, format.channels, format.rate);
            EXPECT_EQ(state->ebur128, nullptr) << format.channels << " channels at " << format.rate;
            EXPECT_EQ(state->channels, 2u);
            EXPECT_TRUE(IsMissing(ReplayGain_GetLoudness(state)));
            EXPECT_TRUE(IsMissing(ReplayGain_GetPeak(state)));
            ReplayGain_Process(state, noise.data(), 100);
            EXPECT_EQ(ReplayGain_GetSamples(state), 44200u);
            ReplayGain_Change(state, 2, 48000);
            EXPECT_EQ(state->ebur128, nullptr);
            ReplayGain_Deinit(state);
        }
    }
}

TEST(Measurement, PeakAsksForTheChannelsOfTheBeginning)
{
    std::vector<double> samples(6 * 100, 0.125);
    for (size_t frame = 0; frame < 100; ++frame)
        samples[6 * frame + 4] = 0.5; // a channel that the state was not made with
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ReplayGain_Change(state, 6, 44100);
    EXPECT_EQ(state->channels, 2u);
    ReplayGain_Process(state, samples.data(), 100);
    EXPECT_EQ(ReplayGain_GetPeak(state), 0.125);
    ReplayGain_Deinit(state);
}

TEST(Measurement, PeakLeavesOutChannelsThatAreGone)
{
    const std::vector<double> samples(6 * 100, 0.25);
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
        ReplayGainState *state = init(6, 44100);
        ReplayGain_Change(state, 1, 44100);
        EXPECT_EQ(ReplayGain_GetPeak(state), 0.0);
        ReplayGain_Process(state, samples.data(), 100);
        EXPECT_GE(ReplayGain_GetPeak(state), 0.25);
        EXPECT_LT(ReplayGain_GetPeak(state), 0.5);
        ReplayGain_Deinit(state);
    }
}

TEST(Measurement, StateWithoutChannelsHasAPeakOfZero)
{
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    const double full[2] = {1.0, 1.0};
    ReplayGain_Process(state, full, 1);
    state->channels = 0;
    EXPECT_EQ(ReplayGain_GetPeak(state), 0.0);
    ReplayGain_Deinit(state);
}

TEST(Measurement, NotANumberAndInfinityInTheSamplesDoNoHarm)
{
    std::vector<double> samples = Noise(4, 2 * 44100, 0.4);
    samples[100] = __builtin_nan("");
    samples[201] = __builtin_inf();
    samples[300] = -__builtin_inf();
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ReplayGain_Process(state, samples.data(), 44100);
    EXPECT_EQ(ReplayGain_GetPeak(state), __builtin_inf());
    ReplayGain_GetLoudness(state);
    ReplayGain_Deinit(state);
}

TEST(Measurement, EveryBodyReadsTheSamePeak)
{
    const std::vector<double> noise = Noise(5, 2 * 44100, 0.4);
    ReplayGainState *state = ReplayGain_Init_TruePeak(2, 44100);
    ReplayGain_Process(state, noise.data(), 44100);
    for (const char letter : tonekit::RunnableLetters()) {
        auto *body = tonekit::Body<decltype(ReplayGain_GetPeak)>("ReplayGain_GetPeak", letter);
        ASSERT_NE(body, nullptr);
        EXPECT_EQ(body(state), ReplayGain_GetPeak(state));
        EXPECT_TRUE(IsMissing(body(nullptr)));
    }
    ReplayGain_Deinit(state);
}

TEST(Measurement, WithoutMemoryForTheStateItThrowsAndLeaksNothing)
{
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
        const int64_t live = tonekit::LiveAllocations();
        tonekit::FailAllocation(1);
        EXPECT_THROW(init(2, 44100), std::bad_alloc);
        EXPECT_TRUE(tonekit::AllocationHasFailed());
        tonekit::AllowAllocations();
        EXPECT_EQ(tonekit::LiveAllocations(), live);
    }
}

TEST(Measurement, DeinitGivesBackEveryAllocationAndTheLibrarysState)
{
    const int64_t live = tonekit::LiveAllocations();
    const int64_t states = tonekit::LiveLoudnessStates();
    for (auto *init : {ReplayGain_Init, ReplayGain_Init_TruePeak}) {
        ReplayGainState *state = init(2, 44100);
        EXPECT_GE(tonekit::LiveAllocations(), live + 1);
        EXPECT_EQ(tonekit::LiveLoudnessStates(), states + 1);
        ReplayGain_Deinit(state);
        EXPECT_EQ(tonekit::LiveAllocations(), live);
        EXPECT_EQ(tonekit::LiveLoudnessStates(), states);
    }
}

TEST(Measurement, RefusedChangeGivesTheLibrarysStateBack)
{
    const int64_t states = tonekit::LiveLoudnessStates();
    for (const uint32_t rate : {99u, 2822401u}) {
        ReplayGainState *state = ReplayGain_Init(2, 44100);
        ReplayGain_Change(state, 6, 48000);
        EXPECT_EQ(tonekit::LiveLoudnessStates(), states + 1);
        ReplayGain_Change(state, 2, rate);
        EXPECT_EQ(tonekit::LiveLoudnessStates(), states) << rate;
        ReplayGain_Deinit(state);
        EXPECT_EQ(tonekit::LiveLoudnessStates(), states) << rate;
    }
}

// Only minus infinity is a missing value.
TEST(Measurement, LoudnessOfPlusInfinityIsMinusInfinity)
{
    const std::vector<double> beyond(2 * 44100, 1e200); // whose squares are beyond a double
    Bare bare(2, 44100, 21);
    ebur128_add_frames_double(bare.State(), beyond.data(), 44100);
    ASSERT_EQ(bare.Loudness(), __builtin_inf());
    ReplayGainState *state = ReplayGain_Init(2, 44100);
    ReplayGain_Process(state, beyond.data(), 44100);
    EXPECT_EQ(ReplayGain_GetLoudness(state), -__builtin_inf());
    EXPECT_EQ(ReplayGain_GetPeak(state), 1e200);
    ReplayGain_Deinit(state);
}
