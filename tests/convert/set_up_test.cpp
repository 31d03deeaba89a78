// set_up_test.cpp: what a converter derives from its arguments and from the settings.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

#ifdef TONEKIT_OWN_SOXR
    #include "convert/soxr/names.h"
#endif
#include "convert/mix.h"
#include "convert/resampler.h"
#include "convert/sample_formats.h"
#include "convert/set_up.h"
#include "tests/support/bodies.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/forget_filters.h"
#include "tests/support/selected_tier.h"

#include <soxr.h>
#include <tonekit/convert.h>

namespace tonekit {
namespace {

struct Handle {
    explicit Handle(void *created) : handle(created) {}
    ~Handle() { SRC4_Deinit(handle); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    CSampleRateConverter4 *operator->() const { return static_cast<CSampleRateConverter4 *>(handle); }
    void *handle;
};

class SetUp : public testing::Test {
protected:
    void TearDown() override
    {
        SetSampleRateConverterParameters2(0, 0);
        SetDitherParameters(0, 1);
        AllowAllocations();
    }
};

TEST_F(SetUp, Rates44100To48000)
{
    const Handle c(SRC4_Init(0, 16, 2, 44100, 0, 24, 2, 48000, false, false, 0, 0));
    EXPECT_EQ(c->blockFrames, 60211u);
    EXPECT_EQ(c->extrapolationHistoryFrames, 30105u);
    EXPECT_EQ(c->inputEdgeFrames, 2205u);
    EXPECT_EQ(c->outputEdgeFrames, 2400u);
    // (60211 + 2205) * 1.0884353741496597 + 512
    EXPECT_EQ(c->resamplerOutputFrames, 68447u);
    EXPECT_EQ(c->stageFloat - c->stageFloatBase, 2205 * 2);
}

struct SizesRow {
    uint32_t inputRate, outputRate;
    BlockSizes sizes;
};

TEST_F(SetUp, DerivesBlocksAndEdges)
{
    constexpr SizesRow kRows[] = {
        {48000, 44100, {5324, 2400, 2205, 7608}},      // (5324 + 2400) * 0.91875 + 512
        {44100, 192000, {15052, 1764, 7680, 73724}},   // (15052 + 1764) * 4.353741... + 512
        {44100, 48001, {60209, 44100, 48001, 114047}}, // coprime: a whole second of edge
        {48000, 48000, {262144, 2400, 2400, 262656}},  //
        {96000, 48000, {32768, 4800, 2400, 19296}},    // (32768 + 4800) / 2 + 512
        {44100, 44099, {512, 44100, 44099, 45122}},    // near 1: the smallest block
        {8000, 192000, {2730, 341, 8184, 74216}},      // a twentieth of 8000 is cut to 8192 / 24
        {192000, 8000, {62805, 8184, 341, 3469}},      //
        {168000, 84000, {32768, 8192, 4096, 20992}},   // a twentieth of a second is just above 8192 frames
        {1, 1, {262144, 1, 1, 262656}},                //
        {48000, 24000, {32768, 2400, 1200, 18096}},    //
    };
    for (const SizesRow &row : kRows) {
        const BlockSizes sizes = DeriveBlockSizes(row.inputRate, row.outputRate);
        EXPECT_EQ(sizes.blockFrames, row.sizes.blockFrames) << row.inputRate << " " << row.outputRate;
        EXPECT_EQ(sizes.inputEdgeFrames, row.sizes.inputEdgeFrames) << row.inputRate << " " << row.outputRate;
        EXPECT_EQ(sizes.outputEdgeFrames, row.sizes.outputEdgeFrames)
            << row.inputRate << " " << row.outputRate;
        EXPECT_EQ(sizes.resamplerOutputFrames, row.sizes.resamplerOutputFrames)
            << row.inputRate << " " << row.outputRate;
    }
}

TEST_F(SetUp, RatesOfZeroDoNotCrash)
{
    DeriveBlockSizes(0, 0);
    DeriveBlockSizes(0, 48000);
    DeriveBlockSizes(48000, 0);
    const Handle c(SRC4_Init(0, 16, 2, 0, 0, 16, 2, 0, false, false, 0, 0));
    EXPECT_EQ(c->blockFrames, 262144u);
}

TEST_F(SetUp, TakesTheRecipeFromTheUnsignedSpan)
{
    struct Row {
        uint32_t low, high, precision;
        bool doublePath;
    };
    constexpr Row kRows[] = {
        {5, 5, 20, false},  {0, 23, 20, false},        {0, 24, 28, false},
        {8, 38, 28, false}, {0, 31, 32, true},         {1, 33, 32, true},
        {0, 33, 56, true},  {0, 0xFFFFFFFF, 56, true}, {10, 9, 56, true},
    };
    for (const Row &row : kRows) {
        EXPECT_EQ(RecipeForSpan(row.high - row.low).precision, row.precision);
        const Handle c(SRC4_Init(0, 16, 1, 44100, 0, 16, 1, 48000, false, false, row.low, row.high));
        EXPECT_EQ(c->useDoublePath, row.doublePath);
        EXPECT_EQ(c->workInputDouble != nullptr, row.doublePath);
        EXPECT_EQ(c->workInputFloat != nullptr, !row.doublePath);
        EXPECT_EQ(c->stageDoubleBase != nullptr, row.doublePath);
        EXPECT_EQ(c->stageFloatBase != nullptr, !row.doublePath);
        EXPECT_EQ(c->workOutputDouble != nullptr, row.doublePath);
        EXPECT_EQ(c->workOutputFloat != nullptr, !row.doublePath);
        EXPECT_EQ(c->doubleDithers != nullptr, row.doublePath);
        EXPECT_EQ(c->floatDithers != nullptr, !row.doublePath);
        EXPECT_NE(c->resampler, nullptr);
        EXPECT_TRUE(c->resamplerActive);
    }
}

// The place of the -3 dB point, from the rejection, as the formula has it.
double HalfPower(double rejection)
{
    const double x = ((2.0517e-7 * rejection - 0.00011303) * rejection + 0.023154) * rejection + 0.55924;
    const double s = 1 - std::exp(-3.0 * 0.1151292546497023);
    const double p = std::log(0.5) / std::log(std::sin(x * 0.5));
    return std::asin(std::pow(s, 1 / p)) / x;
}

TEST_F(SetUp, PassBandsAreTheWorkedValues)
{
    struct Row {
        uint32_t span;
        double precision, rejection;
        double passband[3];
    };
    constexpr Row kRows[] = {
        {0, 20, 120.41199826559249, {0.9137436532733066, 0.9827487306546613, 0.9948246191963984}},
        {24, 28, 168.57679757182947, {0.9113283198951663, 0.9822656639790333, 0.99467969919371}},
        {31, 32, 192.65919722494797, {0.9105018493443435, 0.9821003698688687, 0.9946301109606606}},
        {33, 56, 337.15359514365895, {0.9141429406225077, 0.9828285881245016, 0.9948485764373505}},
    };
    constexpr double kStopBand[] = {1.05, 1.01, 1.003};
    for (const Row &row : kRows) {
        const ResamplerRecipe &recipe = RecipeForSpan(row.span);
        EXPECT_NEAR(recipe.halfPower, HalfPower(row.rejection), 1e-15);
        for (uint32_t mode = 0; mode < 3; ++mode) {
            const soxr_quality_spec_t plain = ResamplerQuality(recipe, mode, false);
            EXPECT_EQ(plain.precision, row.precision);
            EXPECT_EQ(plain.phase_response, 50.0);
            EXPECT_DOUBLE_EQ(plain.passband_end, row.passband[mode]);
            EXPECT_EQ(plain.stopband_begin, 1.0);
            EXPECT_EQ(plain.flags, 0ul);
            const soxr_quality_spec_t aliasing = ResamplerQuality(recipe, mode, true);
            EXPECT_EQ(aliasing.passband_end, plain.passband_end);
            EXPECT_NEAR(aliasing.stopband_begin, kStopBand[mode], 1e-12);
        }
    }
}

// A resampler shows its filter by its delay: the steeper, the later the output begins.
double DelayOf(uint32_t inputRate, uint32_t outputRate, uint32_t mode, uint8_t aliasing)
{
    SetSampleRateConverterParameters2(mode, aliasing);
    soxr_t resampler = CreateResampler(inputRate, outputRate, 1, RecipeForSpan(24));
    EXPECT_NE(resampler, nullptr);
    std::vector<float> silence(60000);
    std::vector<float> out(400000);
    RunResampler(resampler, silence.data(), silence.size(), out.data(), out.size());
    const double delay = soxr_delay(resampler);
    DeleteResampler(resampler);
    return delay;
}

TEST_F(SetUp, SettingsReachTheFilter)
{
    const double normal = DelayOf(44100, 96000, 0, 0);
    const double steep = DelayOf(44100, 96000, 1, 0);
    const double steeper = DelayOf(44100, 96000, 2, 0);
    EXPECT_LT(normal, steep);
    EXPECT_LT(steep, steeper);
    EXPECT_LT(DelayOf(44100, 96000, 2, 1), steeper) << "aliasing shortens the filter";
}

TEST_F(SetUp, AliasingHasNoEffectBelow44100)
{
    for (uint32_t mode = 0; mode < 3; ++mode) {
        EXPECT_EQ(DelayOf(22050, 48000, mode, 1), DelayOf(22050, 48000, mode, 0));
        EXPECT_EQ(DelayOf(48000, 22050, mode, 1), DelayOf(48000, 22050, mode, 0));
        EXPECT_EQ(DelayOf(44099, 48000, mode, 1), DelayOf(44099, 48000, mode, 0));
    }
    EXPECT_NE(DelayOf(44100, 48000, 2, 1), DelayOf(44100, 48000, 2, 0));
}

TEST_F(SetUp, NewObjectHoldsItsDefaults)
{
    alignas(CSampleRateConverter3) unsigned char memory[sizeof(CSampleRateConverter3)];
    for (const char letter : RunnableLetters()) {
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0xCC));
        Body<void(void *)>("_ZN21CSampleRateConverter3C1Ev", letter)(memory);
        auto *c = reinterpret_cast<CSampleRateConverter3 *>(memory);
        EXPECT_EQ(c->mixLimiterGainDouble, 1.0);
        EXPECT_EQ(c->mixLimiterGainFloat, 1.0f);
        EXPECT_EQ(c->ditherScale, 0.0);
        EXPECT_FALSE(c->resamplerActive || c->firstBlockDone || c->lastBlockDone || c->finished);
        EXPECT_EQ(c->heldOutputFrames + c->inputEdgeFrames + c->outputEdgeFrames + c->pendingSkipFrames, 0u);
        EXPECT_EQ(c->inputBuffer, nullptr);
        EXPECT_EQ(c->stageFloat, nullptr);
        EXPECT_EQ(c->loadDouble,
                  (Body<void(const void *, double *, uint32_t)>("LoadSilenceToDouble", letter)));
        EXPECT_EQ(c->loadFloat, (Body<void(const void *, float *, uint32_t)>("LoadSilenceToFloat", letter)));
        EXPECT_EQ(reinterpret_cast<void *>(c->storeDouble), BodyAddress("StoreNothing", letter));
        EXPECT_EQ(reinterpret_cast<void *>(c->storeFloat), BodyAddress("StoreNothing", letter));
        c->~CSampleRateConverter3();
    }
}

TEST_F(SetUp, FormatsWithoutAKernelKeepTheDefaults)
{
    for (const auto &[format, bits] : {std::pair{0u, 40u},
                                       {0u, 48u},
                                       {0u, 56u},
                                       {0u, 0u},
                                       {1u, 16u},
                                       {1u, 24u},
                                       {1u, 8u},
                                       {2u, 16u},
                                       {2u, 24u},
                                       {3u, 16u},
                                       {0xFFFFFFFFu, 32u}}) {
        const Handle c(SRC4_Init(format, bits, 2, 48000, 0, 16, 2, 48000, false, false, 0, 0));
        EXPECT_EQ(reinterpret_cast<void *>(c->loadDouble),
                  BodyAddress("LoadSilenceToDouble", SelectedLetter()))
            << format;
    }
    for (const auto &[format, bits] : {std::pair{0u, 64u}, {0u, 12u}, {2u, 32u}, {1u, 16u}}) {
        const Handle c(SRC4_Init(0, 16, 2, 48000, format, bits, 2, 48000, false, false, 0, 0));
        EXPECT_EQ(reinterpret_cast<void *>(c->storeDouble), BodyAddress("StoreNothing", SelectedLetter()))
            << format;
    }
}

TEST_F(SetUp, DitherNeedsTheSettingTheArgumentAndADepthBelow32)
{
    struct Row {
        uint32_t enable;
        bool dither;
        uint32_t format, bits;
        bool active;
        double scale;
    };
    constexpr Row kRows[] = {
        {0, true, 0, 16, false, 32768.0},      {1, false, 0, 16, false, 32768.0},
        {1, true, 0, 16, true, 32768.0},       {256, true, 0, 8, true, 128.0},
        {1, true, 0, 24, true, 8388608.0},     {1, true, 0, 32, false, 2147483648.0},
        {1, true, 1, 32, false, 2147483648.0}, {1, true, 1, 64, true, 0.0},
    };
    for (const Row &row : kRows) {
        SetDitherParameters(row.enable, 1);
        const Handle c(SRC4_Init(0, 16, 2, 44100, row.format, row.bits, 2, 48000, row.dither, false, 0, 0));
        EXPECT_EQ(c->ditherActive, row.active) << row.bits;
        EXPECT_EQ(c->ditherScale, row.scale);
    }
}

TEST_F(SetUp, LimiterNeedsTheMatrixAndTheArgument)
{
    const Handle on(SRC4_Init(0, 16, 6, 48000, 0, 16, 2, 48000, false, true, 0, 0));
    EXPECT_TRUE(on->mixCanOverflow && on->mixLimiterOn && on->autoLimitRequested);
    const Handle off(SRC4_Init(0, 16, 6, 48000, 0, 16, 2, 48000, false, false, 0, 0));
    EXPECT_TRUE(off->mixCanOverflow);
    EXPECT_FALSE(off->mixLimiterOn || off->autoLimitRequested);
    const Handle unmarked(SRC4_Init(0, 16, 2, 48000, 0, 16, 1, 48000, false, true, 0, 0));
    EXPECT_FALSE(unmarked->mixCanOverflow || unmarked->mixLimiterOn);
    const Handle many(SRC4_Init(0, 16, 10, 48000, 0, 16, 2, 48000, false, true, 0, 0));
    EXPECT_EQ(many->mixRows, 8u);
    EXPECT_EQ(many->mixColumns, 2u);
}

TEST_F(SetUp, FrameBytesAreWholeBytesOfAFrame)
{
    const Handle c(SRC4_Init(0, 12, 2, 48000, 0, 24, 6, 48000, false, false, 0, 0));
    EXPECT_EQ(c->inputFrameBytes, 3u);
    EXPECT_EQ(c->readFrameBytes, 3u);
    EXPECT_EQ(c->outputFrameBytes, 18u);
    EXPECT_EQ(c->readOutputFrameBytes, 18u);
}

TEST_F(SetUp, ExhaustedMemoryThrowsAndLeaksNothing)
{
    for (const uint32_t quality : {0u, 33u})
        for (const uint32_t outputRate : {44100u, 48000u}) {
            ForgetFilters();
            const int64_t before = LiveAllocations();
            for (uint64_t n = 1;; ++n) {
                void *handle = nullptr;
                FailAllocation(n);
                try {
                    handle = SRC4_Init(0, 16, 2, 44100, 0, 24, 6, outputRate, true, true, 0, quality);
                } catch (const std::bad_alloc &) {
                }
                AllowAllocations();
                const bool done = handle != nullptr;
                EXPECT_EQ(done, !AllocationHasFailed());
                EXPECT_TRUE(!done || n > (outputRate == 44100 ? 6u : 7u)) << "the buffers and the object";
                SRC4_Deinit(handle);
                ForgetFilters();
                EXPECT_EQ(LiveAllocations(), before) << n;
                if (done)
                    break;
            }
        }
}

TEST_F(SetUp, CountsBeyond32BitsAreExhaustedMemory)
{
    const int64_t before = LiveAllocations();
    EXPECT_THROW(SRC4_Init(0, 16, 0x20000, 48000, 0, 16, 2, 48000, false, false, 0, 0), std::bad_alloc);
    EXPECT_THROW(SRC4_Init(0, 16, 2, 48000, 0, 16, 0x80000000u, 44100, false, false, 0, 0), std::bad_alloc);
    EXPECT_EQ(LiveAllocations(), before);
}

TEST_F(SetUp, FramesOfNoChannelsEndWithoutAResampler)
{
    const std::vector<int16_t> samples(2 * 70000, 100);
    for (const uint32_t span : {0u, 33u})
        for (const uint32_t frames : {0u, 3000u, 70000u}) {
            void *handle = SRC4_Init(0, 16, 2, 32000, 0, 16, 0, 44100, false, false, 0, span);
            EXPECT_EQ(static_cast<CSampleRateConverter4 *>(handle)->resampler, nullptr);
            SRC4_Write(handle, samples.data(), frames);
            void *out = nullptr;
            uint32_t outFrames = 0;
            uint32_t bytes = 0;
            while (SRC4_Read(handle, &out, &outFrames, &bytes))
                EXPECT_EQ(bytes, 0u);
            while (SRC4_Flush(handle, &out, &outFrames, &bytes))
                EXPECT_EQ(bytes, 0u);
            SRC4_Deinit(handle);
        }
}

TEST_F(SetUp, DestroyingNullDoesNothing)
{
    SRC4_Deinit(nullptr);
}

TEST_F(SetUp, AssignmentIsAFlatCopy)
{
    for (const char letter : RunnableLetters()) {
        CSampleRateConverter4 original;
        original.Init(0, 16, 2, 44100, 0, 16, 2, 48000, false, false, 0, 0);
        original.writeRemaining = 77;
        alignas(CSampleRateConverter4) unsigned char memory[sizeof(CSampleRateConverter4)];
        auto *assign = Body<void *(void *, const void *)>("_ZN21CSampleRateConverter4aSERKS_", letter);
        EXPECT_EQ(assign(memory, &original), memory);
        EXPECT_EQ(std::memcmp(memory, static_cast<void *>(&original), sizeof memory), 0);
        auto *assignBase = Body<void *(void *, const void *)>("_ZN21CSampleRateConverter3aSERKS_", letter);
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0));
        EXPECT_EQ(assignBase(memory, &original), memory);
        EXPECT_EQ(std::memcmp(memory, static_cast<void *>(&original), sizeof(CSampleRateConverter3)), 0);
        for (size_t i = sizeof(CSampleRateConverter3); i < sizeof memory; ++i)
            EXPECT_EQ(memory[i], 0);
    }
}

// What the memory at an address was asked for with.
size_t BytesAt(const std::vector<AllocationRequest> &requests, const void *memory)
{
    for (const AllocationRequest &request : requests)
        if (request.memory == memory)
            return request.bytes;
    return 0;
}

TEST_F(SetUp, EveryBufferHas16SpareElements)
{
    struct Row {
        uint32_t outputRate, span;
        size_t element, block, inputEdge, outputEdge, capacity;
    };
    constexpr Row kRows[] = {
        {44100, 0, 4, 5324, 2400, 2205, 7608},
        {44100, 33, 8, 5324, 2400, 2205, 7608},
        {48000, 0, 8, 262144, 2400, 2400, 262656},
    };
    for (const Row &row : kRows) {
        std::vector<AllocationRequest> requests;
        RecordAllocations(&requests);
        const Handle c(SRC4_Init(0, 16, 2, 48000, 0, 24, 6, row.outputRate, false, false, 0, row.span));
        RecordAllocations(nullptr);
        const auto bytesAt = [&](const void *memory) { return BytesAt(requests, memory); };
        const bool isDouble = row.element == 8;
        EXPECT_EQ(bytesAt(c->inputBuffer), 4 * row.block + 16);
        EXPECT_EQ(bytesAt(c->outputBuffer), 18 * (row.outputEdge + row.capacity) + 16);
        EXPECT_EQ(isDouble ? bytesAt(c->workInputDouble) : bytesAt(c->workInputFloat),
                  row.element * (2 * row.block + 16));
        EXPECT_EQ(isDouble ? bytesAt(c->workOutputDouble) : bytesAt(c->workOutputFloat),
                  row.element * (6 * row.capacity + 16));
        if (row.outputRate != 48000) {
            EXPECT_EQ(isDouble ? bytesAt(c->stageDoubleBase) : bytesAt(c->stageFloatBase),
                      row.element * (6 * (row.block + 2 * row.inputEdge) + 16));
        }
    }
}

// Memory comes with other bytes in it here.
TEST_F(SetUp, StagesAndTheDithersOfEveryChannelStartFromZero)
{
    for (const uint32_t span : {0u, 33u})
        for (const uint32_t outputRate : {48000u, 44100u}) {
            std::vector<AllocationRequest> requests;
            RecordAllocations(&requests);
            const Handle c(SRC4_Init(0, 16, 2, 48000, 0, 24, 6, outputRate, true, false, 0, span));
            RecordAllocations(nullptr);
            const void *const zeroed[] = {c->floatDithers, c->doubleDithers, c->stageFloatBase,
                                          c->stageDoubleBase};
            int seen = 0;
            for (const void *memory : zeroed) {
                const auto *bytes = static_cast<const uint8_t *>(memory);
                const size_t count = BytesAt(requests, memory);
                EXPECT_EQ(std::count(bytes, bytes + count, 0), static_cast<int64_t>(count));
                seen += count != 0;
            }
            EXPECT_EQ(seen, outputRate == 48000 ? 1 : 2);
        }
}

TEST_F(SetUp, InitHandsTheBuffersOver)
{
    CSampleRateConverter3 converter;
    void *input = nullptr;
    void *output = nullptr;
    converter.Init(0, 16, 2, 48000, 0, 16, 2, 48000, input, output, false, false, 0, 0);
    EXPECT_EQ(input, converter.inputBuffer);
    EXPECT_EQ(output, converter.outputBuffer);
    EXPECT_NE(input, nullptr);
    EXPECT_NE(output, nullptr);
}

} // namespace
} // namespace tonekit
