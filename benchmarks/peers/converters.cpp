// converters.cpp: whole conversions by the peers.
#include "benchmarks/peers/converters.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <samplerate.h>
#include <unistd.h>
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace tonekit {

namespace {

using Samples = std::vector<double>;

Samples WithLibsamplerate(const Samples &input, uint32_t channels, uint32_t inputRate, uint32_t outputRate)
{
    const std::vector<float> in(input.begin(), input.end());
    const double ratio = static_cast<double>(outputRate) / inputRate;
    const auto inFrames = static_cast<long>(input.size() / channels);
    std::vector<float> out((static_cast<std::size_t>(inFrames * ratio) + 1000) * channels);
    SRC_DATA data = {};
    data.data_in = in.data();
    data.data_out = out.data();
    data.input_frames = inFrames;
    data.output_frames = static_cast<long>(out.size() / channels);
    data.src_ratio = ratio;
    if (src_simple(&data, SRC_SINC_BEST_QUALITY, static_cast<int>(channels)) != 0)
        throw std::runtime_error("libsamplerate failed");
    return Samples(out.begin(), out.begin() + data.output_frames_gen * channels);
}

Samples WithLibswresample(const Samples &input, uint32_t channels, uint32_t inputRate, uint32_t outputRate)
{
    AVChannelLayout layout;
    av_channel_layout_default(&layout, static_cast<int>(channels));
    SwrContext *context = nullptr;
    swr_alloc_set_opts2(&context, &layout, AV_SAMPLE_FMT_DBL, static_cast<int>(outputRate), &layout,
                        AV_SAMPLE_FMT_DBL, static_cast<int>(inputRate), 0, nullptr);
    if (swr_init(context) < 0)
        throw std::runtime_error("libswresample failed");
    const auto inFrames = static_cast<int>(input.size() / channels);
    Samples out((static_cast<std::size_t>(inFrames) * outputRate / inputRate + 5000) * channels);
    const auto capacity = static_cast<int>(out.size() / channels);
    const auto *in = reinterpret_cast<const uint8_t *>(input.data());
    auto *first = reinterpret_cast<uint8_t *>(out.data());
    const int produced = swr_convert(context, &first, capacity, &in, inFrames);
    auto *rest = reinterpret_cast<uint8_t *>(out.data() + std::size_t(produced) * channels);
    const int drained = swr_convert(context, &rest, capacity - produced, nullptr, 0);
    swr_free(&context);
    out.resize(std::size_t(produced + drained) * channels);
    return out;
}

// The program reads and writes files of raw 64-bit float samples.
Samples WithSox(const Samples &input, uint32_t channels, uint32_t inputRate, uint32_t outputRate)
{
    const auto folder = std::filesystem::temp_directory_path();
    const std::string id = std::to_string(getpid());
    const std::string in = (folder / ("tonekit-sox-in-" + id)).string();
    const std::string out = (folder / ("tonekit-sox-out-" + id)).string();
    std::ofstream(in, std::ios::binary)
        .write(reinterpret_cast<const char *>(input.data()), static_cast<std::streamsize>(input.size() * 8));
    const std::string raw = " -t f64 -c " + std::to_string(channels) + " -r ";
    const std::string command = "sox -V1 -D" + raw + std::to_string(inputRate) + " " + in + raw +
                                std::to_string(outputRate) + " " + out + " rate -v";
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("sox failed");
    Samples samples(std::filesystem::file_size(out) / 8);
    std::ifstream(out, std::ios::binary)
        .read(reinterpret_cast<char *>(samples.data()), static_cast<std::streamsize>(samples.size() * 8));
    std::filesystem::remove(in);
    std::filesystem::remove(out);
    return samples;
}

} // namespace

std::vector<Converter> PeerConverters()
{
    std::vector<Converter> peers = {{"libsamplerate best sinc", WithLibsamplerate},
                                    {"libswresample", WithLibswresample}};
    if (std::system("sox --version >/dev/null 2>&1") == 0)
        peers.push_back({"sox rate -v", WithSox});
    return peers;
}

} // namespace tonekit
