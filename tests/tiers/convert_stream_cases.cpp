// convert_stream_cases.cpp: converters of each tier, from construction to the last block, with every route
// and format.
#include "convert/dither.h"
#include "tests/tiers/tiers.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <tonekit/convert.h>

namespace tonekit::tiers {

namespace {

constexpr uint32_t kFormats[][2] = {{0, 8},  {0, 16}, {0, 24}, {0, 32}, {0, 64},
                                    {1, 32}, {1, 64}, {2, 32}, {0, 40}};

// Random bytes, which as floats are of every kind.
std::vector<uint8_t> RandomBytes(Random &random, const uint32_t *format, size_t samples)
{
    std::vector<uint8_t> data(samples * format[1] / 8);
    random.Fill(data.data(), data.size());
    return data;
}

// Floats near full scale.
std::vector<uint8_t> RandomFloats(Random &random, const uint32_t *format, size_t samples)
{
    std::vector<uint8_t> data(samples * format[1] / 8);
    for (size_t i = 0; i < samples; ++i) {
        const double sample = 3 * random.Uniform() - 1.5;
        const auto narrow = static_cast<float>(sample);
        if (format[1] == 64)
            std::memcpy(&data[8 * i], &sample, 8);
        else
            std::memcpy(&data[4 * i], &narrow, 4);
    }
    return data;
}

struct Route {
    const uint32_t *input;
    const uint32_t *output;
    uint32_t inputRate;
    uint32_t outputRate;
};

Route RandomRoute(Random &random)
{
    static constexpr uint32_t kRates[] = {44100, 48000, 96000, 8000};
    const uint32_t *input = kFormats[random.Below(9)];
    const uint32_t *output = kFormats[random.Below(9)];
    const uint32_t inputRate = kRates[random.Below(4)];
    return {input, output, inputRate, kRates[random.Below(4)]};
}

bool ResamplesFloats(const Route &route)
{
    return route.input[0] == 1 && route.inputRate != route.outputRate;
}

// Adds audio with the same bits for every NaN.
template <class Sample>
void AddWithOneNan(const void *audio, size_t bytes, Record &record)
{
    std::vector<Sample> samples(bytes / sizeof(Sample));
    if (!samples.empty())
        std::memcpy(samples.data(), audio, bytes);
    for (Sample &sample : samples)
        if (std::isnan(sample))
            sample = std::numeric_limits<Sample>::quiet_NaN();
    record.Add(samples.data(), bytes);
}

enum class Nans { kAsTheyAre, kAsOne };

void AddAudio(const void *audio, size_t bytes, const uint32_t *format, Nans nans, Record &record)
{
    if (nans == Nans::kAsTheyAre || format[0] != 1)
        record.Add(audio, bytes);
    else if (format[1] == 32)
        AddWithOneNan<float>(audio, bytes, record);
    else
        AddWithOneNan<double>(audio, bytes, record);
}

using RandomInput = std::vector<uint8_t>(Random &, const uint32_t *, size_t);

void RecordStream(const Bodies &bodies, const Route &route, RandomInput *randomInput, Nans nans,
                  Random &random, Record &record)
{
    const auto [input, output, inputRate, outputRate] = route;
    const uint32_t inputChannels = 1 + random.Below(9);
    const uint32_t outputChannels = 1 + random.Below(9);
    // The seed of a finished library is its own affair.
    const bool dither = random.Below(2) == 1 && !bodies.OfLibrary();
    const bool limiter = random.Below(2) == 1;
    SetDitherParameters(1, random.Below(3));
    void *handle = bodies.Get<decltype(SRC4_Init)>("SRC4_Init")(
        input[0], input[1], inputChannels, inputRate, output[0], output[1], outputChannels, outputRate,
        dither, limiter, 0, random.Below(40));
    SetDitherSeed(static_cast<uint32_t>(random.Next()));
    auto *converter = static_cast<CSampleRateConverter4 *>(handle);
    // An encoding without a kernel leaves the buffer as it is.
    std::memset(converter->outputBuffer, 0,
                (size_t{converter->outputEdgeFrames} + converter->resamplerOutputFrames) *
                    converter->outputFrameBytes);
    const uint32_t frames = converter->blockFrames / 2 + random.Below(9000);
    const auto data = randomInput(random, input, size_t{frames} * inputChannels);
    SRC4_Write(handle, data.data(), frames);
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    while (bodies.Get<decltype(SRC4_Read)>("SRC4_Read")(handle, &out, &outFrames, &outBytes))
        AddAudio(out, outBytes, output, nans, record);
    const auto resample =
        bodies.Get<uint32_t(void *, uint32_t, bool)>("_ZN21CSampleRateConverter38ResampleEjb");
    uint32_t waiting = converter->blockFill;
    for (int call = 0; call < 5; ++call, waiting = 0) {
        const uint32_t result = resample(handle, waiting, waiting == 0);
        AddAudio(converter->outputBuffer, size_t{result} * converter->outputFrameBytes, output, nans, record);
        record.AddValue(result);
    }
    record.AddValue(converter->mixLimiterGainDouble);
    record.AddValue(converter->mixLimiterGainFloat);
    record.AddValue(DitherSeed());
    Single("SRC4_Deinit", SRC4_Deinit)(handle);
    SetDitherParameters(0, 1);
}

} // namespace

static void ExerciseStream(const Bodies &bodies, Random &random, Record &record)
{
    for (int stream = 0; stream < bodies.Rounds(40); ++stream) {
        const Route route = RandomRoute(random);
        const bool floats = route.input[0] == 1 && (ResamplesFloats(route) || random.Below(2) == 0);
        RecordStream(bodies, route, floats ? RandomFloats : RandomBytes, Nans::kAsTheyAre, random, record);
    }
}
TONEKIT_TIER_CASE(ExerciseStream, "SRC4_Init", "SRC4_Read", "_ZN21CSampleRateConverter38ResampleEjb",
                  "ResampleFrom");

namespace {

// NaNs reach the resampler.
void RecordNans(const Bodies &bodies, Nans nans, Random &random, Record &record)
{
    for (int stream = 0; stream < bodies.Rounds(8); ++stream) {
        Route route = RandomRoute(random);
        while (!ResamplesFloats(route))
            route = RandomRoute(random);
        RecordStream(bodies, route, RandomBytes, nans, random, record);
    }
}

} // namespace

static void ExerciseNanPlaces(const Bodies &bodies, Random &random, Record &record)
{
    RecordNans(bodies, Nans::kAsOne, random, record);
}
TONEKIT_TIER_CASE(ExerciseNanPlaces, "SRC4_Init", "SRC4_Read", "_ZN21CSampleRateConverter38ResampleEjb",
                  "ResampleFrom");

// Of two that meet, the resampler passes on the one that its compiler put first.
static void ExerciseNanBits(const Bodies &bodies, Random &random, Record &record)
{
    RecordNans(bodies, Nans::kAsTheyAre, random, record);
}
TONEKIT_TIER_CASE(ExerciseNanBits, "SRC4_Init", "SRC4_Read", "_ZN21CSampleRateConverter38ResampleEjb",
                  "ResampleFrom");

// By the destructor of the library that the object's resampler comes from.
template <class Converter>
static void Destroy(const char *destructor, Converter &converter)
{
    Single(
        destructor, +[](Converter *object) { object->~Converter(); })(&converter);
}

// The class members, one after the other on an object in plain memory.
static void ExerciseClass(const Bodies &bodies, Random &random, Record &record)
{
    alignas(CSampleRateConverter4) unsigned char memory[sizeof(CSampleRateConverter4)];
    alignas(CSampleRateConverter4) unsigned char copy[sizeof(CSampleRateConverter4)];
    auto *object = reinterpret_cast<CSampleRateConverter4 *>(memory);
    random.Fill(memory, sizeof memory);
    bodies.Get<void(void *)>("_ZN21CSampleRateConverter4C1Ev")(memory);
    using Init = void(void *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                      bool, bool, uint32_t, uint32_t);
    bodies.Get<Init>("_ZN21CSampleRateConverter44InitEjjjjjjjjbbjj")(memory, 0, 16, 2, 48000, 0, 24, 1, 44100,
                                                                     false, false, 0, 24);
    record.AddValue(object->readFrameBytes);
    record.AddValue(object->readOutputFrameBytes);
    record.AddValue(object->blockFrames);
    std::vector<int16_t> data(2 * 12000);
    random.Fill(data.data(), data.size() * 2);
    object->Write(data.data(), 12000);
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    const auto read =
        bodies.Get<bool(void *, void *&, uint32_t &, uint32_t &)>("_ZN21CSampleRateConverter44ReadERPvRjS2_");
    while (read(memory, out, frames, bytes))
        record.Add(out, bytes);
    random.Fill(copy, sizeof copy);
    bodies.Get<void *(void *, const void *)>("_ZN21CSampleRateConverter4aSERKS_")(copy, memory);
    record.AddValue(std::memcmp(copy, memory, sizeof memory));
    random.Fill(copy, sizeof copy);
    bodies.Get<void *(void *, const void *)>("_ZN21CSampleRateConverter3aSERKS_")(copy, memory);
    record.AddValue(std::memcmp(copy, memory, sizeof(CSampleRateConverter3)));
    record.Add(copy + sizeof(CSampleRateConverter3), sizeof copy - sizeof(CSampleRateConverter3));
    Destroy("_ZN21CSampleRateConverter4D1Ev", *object);
}
TONEKIT_TIER_CASE(ExerciseClass, "_ZN21CSampleRateConverter4C1Ev",
                  "_ZN21CSampleRateConverter44InitEjjjjjjjjbbjj", "_ZN21CSampleRateConverter44ReadERPvRjS2_",
                  "_ZN21CSampleRateConverter4aSERKS_", "_ZN21CSampleRateConverter3aSERKS_");

static void ExerciseBlocks(const Bodies &bodies, Random &random, Record &record)
{
    alignas(CSampleRateConverter3) unsigned char memory[sizeof(CSampleRateConverter3)];
    random.Fill(memory, sizeof memory);
    bodies.Get<void(void *)>("_ZN21CSampleRateConverter3C1Ev")(memory);
    using Init = void(void *, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                      void *&, void *&, bool, bool, uint32_t, uint32_t);
    void *input = nullptr;
    void *output = nullptr;
    bodies.Get<Init>("_ZN21CSampleRateConverter34InitEjjjjjjjjRPvS1_bbjj")(
        memory, 0, 32, 4, 48000, 1, 32, 2, 48000, input, output, false, true, 0, 0);
    auto *object = reinterpret_cast<CSampleRateConverter3 *>(memory);
    random.Fill(input, 4 * 4 * 5000);
    const uint32_t frames = object->Resample(5000, false);
    record.AddValue(frames);
    record.Add(output, size_t{frames} * 8);
    record.AddValue(object->mixLimiterGainDouble);
    Destroy("_ZN21CSampleRateConverter3D1Ev", *object);
}
TONEKIT_TIER_CASE(ExerciseBlocks, "_ZN21CSampleRateConverter3C1Ev",
                  "_ZN21CSampleRateConverter34InitEjjjjjjjjRPvS1_bbjj");

} // namespace tonekit::tiers
