// convert_kernels_bench.cpp: the sample-format kernels compared with a plain memory copy of the same bytes.
//
// Both sides read and write the same number of bytes in all: a kernel that reads R bytes and writes W is
// compared with a memcpy of (R + W) / 2 bytes. All buffers together take half of a second-level cache of 1
// MiB.
#include "benchmarks/ratio.h"
#include "convert/sample_formats.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace tonekit {
namespace {

constexpr size_t kBytesTouched = 512 * 1024;

using CopyFunction = void *(*)(void *, const void *, size_t);

// Not the compiler's idea of a copy of known size, but the library function.
CopyFunction volatile copyBytes = std::memcpy;

class Bench {
public:
    Bench() : source_(kBytesTouched), destination_(kBytesTouched) {}

    template <class Kernel, class Sample>
    void AddLoad(RatioTable &table, const std::string &title, const char *kernel, double limit,
                 size_t sampleBytes, Sample *)
    {
        AddBodies(table, title, kernel, limit, sampleBytes + sizeof(Sample),
                  [=, this](char letter, uint32_t count) {
                      FillBytes();
                      Body<Kernel>(kernel, letter)(source_.data(),
                                                   reinterpret_cast<Sample *>(destination_.data()), count);
                  });
    }

    template <class Kernel, class Sample>
    void AddStore(RatioTable &table, const std::string &title, const char *kernel, double limit,
                  size_t sampleBytes, Sample *)
    {
        AddBodies(table, title, kernel, limit, sampleBytes + sizeof(Sample),
                  [=, this](char letter, uint32_t count) {
                      FillSamples<Sample>();
                      Body<Kernel>(kernel, letter)(destination_.data(),
                                                   reinterpret_cast<Sample *>(source_.data()), count);
                  });
    }

private:
    enum class Content { kNone, kBytes, kDoubles, kFloats };

    // A row for each body of its own; the limit is for the one that serves .V.
    template <class Run>
    void AddBodies(RatioTable &table, const std::string &title, const char *kernel, double limit,
                   size_t bytesPerSample, Run run)
    {
        const auto count = static_cast<uint32_t>(kBytesTouched / bytesPerSample);
        for (const char letter : RunnableLetters())
            if (!IsShared(kernel, letter))
                table.Add(
                    title + "." + letter, BodyAddress(kernel, letter) == BodyAddress(kernel, 'V') ? limit : 0,
                    [=] { run(letter, count); }, [=, this] { Copy(count * bytesPerSample / 2); });
    }

    static bool IsShared(const char *kernel, char letter)
    {
        const char *place = std::strchr(kTierLetters, letter);
        return place != kTierLetters && BodyAddress(kernel, letter) == BodyAddress(kernel, place[-1]);
    }

    void Copy(size_t bytes) { copyBytes(destination_.data(), source_.data(), bytes); }

    void FillBytes()
    {
        if (content_ != Content::kBytes)
            Random(1).Fill(source_.data(), source_.size());
        content_ = Content::kBytes;
    }

    // A sine just below full scale.
    template <class Sample>
    void FillSamples()
    {
        const Content wanted = sizeof(Sample) == 8 ? Content::kDoubles : Content::kFloats;
        if (content_ != wanted)
            for (size_t i = 0; i < source_.size() / sizeof(Sample); ++i)
                reinterpret_cast<Sample *>(source_.data())[i] =
                    static_cast<Sample>(0.99 * std::sin(0.37 * static_cast<double>(i)));
        content_ = wanted;
    }

    std::vector<uint8_t> source_;
    std::vector<uint8_t> destination_;
    Content content_ = Content::kNone;
};

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    using namespace tonekit;
    using LoadDouble = void(const void *, double *, uint32_t);
    using LoadFloat = void(const void *, float *, uint32_t);
    using StoreDouble = void(void *, const double *, uint32_t);
    using StoreFloat = void(void *, const float *, uint32_t);
    double *const toDouble = nullptr;
    float *const toFloat = nullptr;
    Bench bench;
    RatioTable table("sample-format kernels beside memcpy, 512 KiB read and written");
    bench.AddLoad<LoadDouble>(table, "int8 to double", "LoadInt8ToDouble", 0, 1, toDouble);
    bench.AddLoad<LoadFloat>(table, "int8 to float", "LoadInt8ToFloat", 0, 1, toFloat);
    bench.AddLoad<LoadDouble>(table, "int16 to double", "LoadInt16ToDouble", 0.55, 2, toDouble);
    bench.AddLoad<LoadFloat>(table, "int16 to float", "LoadInt16ToFloat", 0.70, 2, toFloat);
    bench.AddLoad<LoadDouble>(table, "int24 to double", "LoadInt24ToDouble", 0.60, 3, toDouble);
    bench.AddLoad<LoadFloat>(table, "int24 to float", "LoadInt24ToFloat", 0, 3, toFloat);
    bench.AddLoad<LoadDouble>(table, "int32 to double", "LoadInt32ToDouble", 0.65, 4, toDouble);
    bench.AddLoad<LoadFloat>(table, "int32 to float", "LoadInt32ToFloat", 0, 4, toFloat);
    bench.AddLoad<LoadDouble>(table, "hdcd int32 to double", "LoadHdcdInt32ToDouble", 0, 4, toDouble);
    bench.AddLoad<LoadFloat>(table, "hdcd int32 to float", "LoadHdcdInt32ToFloat", 0, 4, toFloat);
    bench.AddLoad<LoadDouble>(table, "int64 to double", "LoadInt64ToDouble", 0, 8, toDouble);
    bench.AddLoad<LoadFloat>(table, "int64 to float", "LoadInt64ToFloat", 0, 8, toFloat);
    bench.AddLoad<LoadDouble>(table, "float to double (load)", "LoadFloat32ToDouble", 0, 4, toDouble);
    bench.AddLoad<LoadFloat>(table, "float to float (load)", "LoadFloat32ToFloat", 0, 4, toFloat);
    bench.AddLoad<LoadDouble>(table, "double to double (load)", "LoadFloat64ToDouble", 0, 8, toDouble);
    bench.AddLoad<LoadFloat>(table, "double to float (load)", "LoadFloat64ToFloat", 0, 8, toFloat);
    bench.AddLoad<LoadDouble>(table, "silence to double", "LoadSilenceToDouble", 0, 0, toDouble);
    bench.AddLoad<LoadFloat>(table, "silence to float", "LoadSilenceToFloat", 0, 0, toFloat);
    bench.AddStore<StoreDouble>(table, "double to int8", "StoreDoubleToInt8", 0, 1, toDouble);
    bench.AddStore<StoreFloat>(table, "float to int8", "StoreFloatToInt8", 0, 1, toFloat);
    bench.AddStore<StoreDouble>(table, "double to int16", "StoreDoubleToInt16", 0.37, 2, toDouble);
    bench.AddStore<StoreFloat>(table, "float to int16", "StoreFloatToInt16", 0.46, 2, toFloat);
    bench.AddStore<StoreDouble>(table, "double to int24", "StoreDoubleToInt24", 0.40, 3, toDouble);
    bench.AddStore<StoreFloat>(table, "float to int24", "StoreFloatToInt24", 0.51, 3, toFloat);
    bench.AddStore<StoreDouble>(table, "double to int32", "StoreDoubleToInt32", 0.48, 4, toDouble);
    bench.AddStore<StoreFloat>(table, "float to int32", "StoreFloatToInt32", 0, 4, toFloat);
    bench.AddStore<StoreDouble>(table, "double to float", "StoreDoubleToFloat32", 0.83, 4, toDouble);
    bench.AddStore<StoreFloat>(table, "float to float", "StoreFloatToFloat32", 0, 4, toFloat);
    bench.AddStore<StoreDouble>(table, "double to double", "StoreDoubleToFloat64", 0, 8, toDouble);
    bench.AddStore<StoreFloat>(table, "float to double", "StoreFloatToFloat64", 0, 8, toFloat);
    return table.Run(argc, argv);
}
