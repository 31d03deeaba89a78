// convert_kernels_cases.cpp: the sample-format kernels with random bits, ordinary audio and samples of every
// nasty kind.
#include "tests/convert/sample_formats_kernels.h"
#include "tests/convert/sample_values.h"
#include "tests/tiers/tiers.h"

#include <tonekit/frame.h>

namespace tonekit::tiers {

namespace {

constexpr uint32_t kLongest = 3001;

template <class Sample>
void ExerciseLoad(const Traced<void(const void *, Sample *, uint32_t)> &body, uint32_t sampleBytes,
                  Random &random, Record &record)
{
    for (uint32_t count = 0; count <= kLongest; count += count < 100 ? 1 : 967) {
        GuardedBuffer source(count * sampleBytes, random.Below(64));
        random.Fill(source.data(), source.size());
        GuardedBuffer destination(count * sizeof(Sample), random.Below(8) * sizeof(Sample));
        SetHDCDGain(random.Below(7));
        body(source.data(), destination.As<Sample>(), count);
        record.Guards(source);
        record.Guards(destination);
    }
    SetHDCDGain(6);
}

template <class Sample>
void StoreOnce(const Traced<void(void *, const Sample *, uint32_t)> &body, uint32_t sampleBytes,
               const std::vector<Sample> &samples, Random &random, Record &record)
{
    GuardedBuffer destination(samples.size() * sampleBytes, random.Below(64));
    body(destination.data(), samples.data(), static_cast<uint32_t>(samples.size()));
    record.Guards(destination);
}

template <class Sample>
void ExerciseStore(const Traced<void(void *, const Sample *, uint32_t)> &body, uint32_t sampleBytes,
                   Random &random, Record &record)
{
    for (uint32_t count = 0; count <= kLongest; count += count < 100 ? 1 : 967) {
        StoreOnce(body, sampleBytes, RandomBitPatterns<Sample>(count, random), random, record);
        StoreOnce(body, sampleBytes, MixedSamples<Sample>(count, random), random, record);
    }
    for (const uint32_t bits : {16u, 24u})
        StoreOnce(body, sampleBytes, SamplesAroundSteps<Sample>(bits, random), random, record);
}

} // namespace

static void ExerciseLoadKernels(const Bodies &bodies, Random &random, Record &record)
{
    for (const KernelPair &kernel : kLoadKernels) {
        const uint32_t sampleBytes = reference::Bytes(kernel.encoding);
        ExerciseLoad(bodies.Get<LoadDoubleBody>(kernel.ofDouble), sampleBytes, random, record);
        ExerciseLoad(bodies.Get<LoadFloatBody>(kernel.ofFloat), sampleBytes, random, record);
    }
}
TONEKIT_TIER_CASE(ExerciseLoadKernels, "LoadInt8ToDouble", "LoadInt8ToFloat", "LoadInt16ToDouble",
                  "LoadInt16ToFloat", "LoadInt24ToDouble", "LoadInt24ToFloat", "LoadInt32ToDouble",
                  "LoadInt32ToFloat", "LoadInt64ToDouble", "LoadInt64ToFloat", "LoadHdcdInt32ToDouble",
                  "LoadHdcdInt32ToFloat", "LoadFloat32ToDouble", "LoadFloat32ToFloat", "LoadFloat64ToDouble",
                  "LoadFloat64ToFloat", "LoadSilenceToDouble", "LoadSilenceToFloat");

static void ExerciseStoreKernels(const Bodies &bodies, Random &random, Record &record)
{
    for (const KernelPair &kernel : kStoreKernels) {
        const uint32_t sampleBytes = reference::Bytes(kernel.encoding);
        ExerciseStore(bodies.Get<StoreDoubleBody>(kernel.ofDouble), sampleBytes, random, record);
        ExerciseStore(bodies.Get<StoreFloatBody>(kernel.ofFloat), sampleBytes, random, record);
    }
}
TONEKIT_TIER_CASE(ExerciseStoreKernels, "StoreDoubleToInt8", "StoreFloatToInt8", "StoreDoubleToInt16",
                  "StoreFloatToInt16", "StoreDoubleToInt24", "StoreFloatToInt24", "StoreDoubleToInt32",
                  "StoreFloatToInt32", "StoreDoubleToFloat32", "StoreFloatToFloat32", "StoreDoubleToFloat64",
                  "StoreFloatToFloat64", "StoreNothing");

} // namespace tonekit::tiers
