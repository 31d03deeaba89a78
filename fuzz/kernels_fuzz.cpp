// kernels_fuzz.cpp: samples of any bits at any address through each load and store kernel and through changes
// of the channels' order, in every body, against the model.
#include "convert/sample_formats.h"
#include "fuzz/equal_samples.h"
#include "fuzz/every_body.h"
#include "fuzz/input_bytes.h"
#include "tests/reference/sample_formats.h"

#include <cstddef>
#include <cstring>
#include <tonekit/frame.h>
#include <vector>

namespace {

using tonekit::fuzz::EqualSamples;
using tonekit::fuzz::EveryBody;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;
using tonekit::reference::Encoding;
using Bytes = std::vector<uint8_t>;
template <class Work>
using Load = void(const void *, Work *, uint32_t);
template <class Work>
using Store = void(void *, const Work *, uint32_t);

constexpr size_t kMostBytes = 1024;
constexpr uint32_t kMostSpare = 8; // bytes before the samples, elements before the working samples

// The kernels of an encoding in every body.
struct Kernels {
    Encoding encoding;
    std::vector<Load<double> *> loadDouble;
    std::vector<Load<float> *> loadFloat;
    std::vector<Store<double> *> storeDouble;
    std::vector<Store<float> *> storeFloat;
};

Kernels Named(Encoding encoding, const std::string &name, bool stored)
{
    const std::string loads = "Load" + name + "To";
    Kernels kernels{encoding,
                    EveryBody<Load<double>>((loads + "Double").c_str()),
                    EveryBody<Load<float>>((loads + "Float").c_str()),
                    {},
                    {}};
    if (stored) {
        kernels.storeDouble = EveryBody<Store<double>>(("StoreDoubleTo" + name).c_str());
        kernels.storeFloat = EveryBody<Store<float>>(("StoreFloatTo" + name).c_str());
    }
    return kernels;
}

const Kernels &KernelsAt(uint32_t index)
{
    static const std::vector<Kernels> all = {
        Named(Encoding::kInt8, "Int8", true),       Named(Encoding::kInt16, "Int16", true),
        Named(Encoding::kInt24, "Int24", true),     Named(Encoding::kInt32, "Int32", true),
        Named(Encoding::kInt64, "Int64", false),    Named(Encoding::kHdcdInt32, "HdcdInt32", false),
        Named(Encoding::kFloat32, "Float32", true), Named(Encoding::kFloat64, "Float64", true),
        Named(Encoding::kNone, "Silence", false)};
    return all[index % all.size()];
}

double Loaded(double, Encoding encoding, const uint8_t *bytes, double gain)
{
    return tonekit::reference::LoadedDouble(encoding, bytes, gain);
}

float Loaded(float, Encoding encoding, const uint8_t *bytes, double gain)
{
    return tonekit::reference::LoadedFloat(encoding, bytes, gain);
}

void StoreOne(Encoding encoding, double sample, uint8_t *bytes)
{
    tonekit::reference::StoreDouble(encoding, sample, bytes);
}

void StoreOne(Encoding encoding, float sample, uint8_t *bytes)
{
    tonekit::reference::StoreFloat(encoding, sample, bytes);
}

template <class Work>
void CheckLoads(const std::vector<Load<Work> *> &bodies, Encoding encoding, const Bytes &data,
                uint32_t spareBytes, uint32_t spare, double gain)
{
    const size_t bytes = tonekit::reference::Bytes(encoding);
    const size_t count = bytes != 0 ? data.size() / bytes : data.size();
    std::vector<Work> expected(count);
    for (size_t i = 0; i < count; ++i)
        expected[i] = Loaded(Work(), encoding, data.data() + i * bytes, gain);
    // Exactly as large as what is read, so that a sanitizer sees a read past it.
    Bytes source(spareBytes);
    source.insert(source.end(), data.begin(), data.begin() + static_cast<ptrdiff_t>(count * bytes));
    for (Load<Work> *const body : bodies) {
        std::vector<Work> loaded(spare + count);
        body(source.data() + spareBytes, loaded.data() + spare, static_cast<uint32_t>(count));
        Require(EqualSamples(expected.data(), loaded.data() + spare, count));
    }
}

// Samples of any bits, or 16-bit ones up to twice as loud as full scale.
template <class Work>
std::vector<Work> TakeSamples(const Bytes &data, bool anyBits)
{
    const size_t bytes = anyBits ? sizeof(Work) : 2;
    std::vector<Work> samples(data.size() / bytes);
    for (size_t i = 0; i < samples.size(); ++i) {
        const uint8_t *const at = data.data() + i * bytes;
        samples[i] = anyBits ? tonekit::reference::FromBytes<Work>(at)
                             : static_cast<Work>(tonekit::reference::SignedValue(at, 2)) / Work(16384);
    }
    return samples;
}

template <class Work>
void CheckStores(const std::vector<Store<Work> *> &bodies, Encoding encoding, const std::vector<Work> &data,
                 uint32_t spareBytes, uint32_t spare)
{
    const size_t bytes = tonekit::reference::Bytes(encoding);
    Bytes expected(spareBytes + data.size() * bytes);
    for (size_t i = 0; i < data.size(); ++i)
        StoreOne(encoding, data[i], expected.data() + spareBytes + i * bytes);
    std::vector<Work> source(spare);
    source.insert(source.end(), data.begin(), data.end());
    for (Store<Work> *const body : bodies) {
        Bytes stored(expected.size());
        body(stored.data() + spareBytes, source.data() + spare, static_cast<uint32_t>(data.size()));
        Require(stored == expected);
    }
}

void CheckOrder(InputBytes &input)
{
    static const auto bodies = EveryBody<decltype(ChangeChannelOrder)>("ChangeChannelOrder");
    constexpr uint32_t kLargestFrame = 72;
    const uint32_t channels = input.Below(10);
    const uint32_t bits = input.OneOf({8u, 16u, 24u, 32u, 64u, 40u, 12u, 4u, 0u});
    const uint32_t frameBytes = channels * bits / 8;
    if (frameBytes > kLargestFrame)
        return;
    Bytes map = input.Take(2 * channels);
    for (uint8_t &channel : map)
        channel = static_cast<uint8_t>(channel % channels);
    const Bytes data(input.Rest(), input.Rest() + input.Size());
    const size_t frames = frameBytes != 0 ? data.size() / frameBytes : data.size();
    const Bytes audio(data.begin(), data.begin() + static_cast<ptrdiff_t>(frames * frameBytes));
    Bytes expected = audio;
    for (size_t frame = 0; frame < frames; ++frame)
        for (size_t pair = 0; pair < map.size(); pair += 2)
            for (uint32_t byte = 0; byte < bits / 8; ++byte)
                expected[frame * frameBytes + map[pair + 1] * (bits / 8) + byte] =
                    audio[frame * frameBytes + map[pair] * (bits / 8) + byte];
    for (auto *const body : bodies) {
        Bytes changed = audio;
        body(changed.data(), static_cast<uint32_t>(frames), bits, channels, map.data());
        Require(changed == expected);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    static constexpr double kGains[] = {1.0,
                                        1.1220184543019633,
                                        1.2589254117941673,
                                        1.4125375446227544,
                                        1.5848931924611134,
                                        1.7782794100389228,
                                        1.9952623149688795};
    InputBytes input(bytes, std::min(size, kMostBytes));
    const uint32_t which = input.Below(10);
    if (which == 9) {
        CheckOrder(input);
        return 0;
    }
    const Kernels &kernels = KernelsAt(which);
    const uint8_t how = input.Byte();
    const uint32_t spareBytes = how % kMostSpare;
    const uint32_t spare = how / kMostSpare % kMostSpare;
    const bool anyBits = (how & 0x80) != 0;
    const uint32_t gain = input.Below(7);
    SetHDCDGain(gain);
    const Bytes data(input.Rest(), input.Rest() + input.Size());
    CheckLoads(kernels.loadDouble, kernels.encoding, data, spareBytes, spare, kGains[gain]);
    CheckLoads(kernels.loadFloat, kernels.encoding, data, spareBytes, spare, kGains[gain]);
    CheckStores(kernels.storeDouble, kernels.encoding, TakeSamples<double>(data, anyBits), spareBytes, spare);
    CheckStores(kernels.storeFloat, kernels.encoding, TakeSamples<float>(data, anyBits), spareBytes, spare);
    return 0;
}
