// stream.cpp: runs a converter from its first write to its last flush.
#include "tests/support/stream.h"

#include <tonekit/convert.h>

namespace tonekit {

namespace {

// Has room for the samples that come ahead, as a caller's buffer would: measurements of speed come by here.
template <class Output>
std::vector<Output> Run(void *handle, const void *data, uint32_t frames, uint64_t expected)
{
    std::vector<Output> all;
    all.reserve(expected);
    void *out = nullptr;
    uint32_t outFrames = 0;
    uint32_t outBytes = 0;
    const auto take = [&] {
        const auto *samples = static_cast<const Output *>(out);
        all.insert(all.end(), samples, samples + outBytes / sizeof(Output));
    };
    SRC4_Write(handle, data, frames);
    while (SRC4_Read(handle, &out, &outFrames, &outBytes))
        take();
    while (SRC4_Flush(handle, &out, &outFrames, &outBytes))
        take();
    SRC4_Deinit(handle);
    return all;
}

} // namespace

std::vector<double> ConvertDouble(const std::vector<double> &input, uint32_t inputChannels,
                                  uint32_t inputRate, uint32_t outputChannels, uint32_t outputRate,
                                  uint32_t span)
{
    void *handle =
        SRC4_Init(1, 64, inputChannels, inputRate, 1, 64, outputChannels, outputRate, false, false, 0, span);
    const uint64_t frames = input.size() / inputChannels;
    return Run<double>(handle, input.data(), static_cast<uint32_t>(frames),
                       (frames * outputRate / inputRate + 1) * outputChannels);
}

std::vector<int16_t> ConvertTo16(const std::vector<double> &input, uint32_t channels, uint32_t rate,
                                 bool dither)
{
    void *handle = SRC4_Init(1, 64, channels, rate, 0, 16, channels, rate, dither, false, 0, 0);
    return Run<int16_t>(handle, input.data(), static_cast<uint32_t>(input.size() / channels), input.size());
}

} // namespace tonekit
