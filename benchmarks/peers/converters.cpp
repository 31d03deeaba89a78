// converters.cpp: whole conversions by the peers.
#include "benchmarks/peers/converters.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <samplerate.h>
#include <speex/speex_resampler.h>
#include <stdexcept>
#include <unistd.h>
#include <zita-resampler/resampler.h>
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace tonekit {

namespace {

using Samples = std::vector<double>;

Samples WithLibsamplerate(int quality, const Samples &input, uint32_t channels, uint32_t inputRate,
                          uint32_t outputRate)
{
    const std::vector<float> in(input.begin(), input.end());
    const double ratio = static_cast<double>(outputRate) / inputRate;
    const auto inFrames = static_cast<long>(input.size() / channels);
    std::vector<float> out((static_cast<size_t>(static_cast<double>(inFrames) * ratio) + 1000) * channels);
    SRC_DATA data = {};
    data.data_in = in.data();
    data.data_out = out.data();
    data.input_frames = inFrames;
    data.output_frames = static_cast<long>(out.size() / channels);
    data.src_ratio = ratio;
    if (src_simple(&data, quality, static_cast<int>(channels)) != 0)
        throw std::runtime_error("libsamplerate failed");
    return Samples(out.begin(), out.begin() + data.output_frames_gen * channels);
}

// `longFilter` asks for 256 taps at each of the exact phases of the two rates; without it all stays as it
// comes.
Samples WithLibswresample(bool longFilter, const Samples &input, uint32_t channels, uint32_t inputRate,
                          uint32_t outputRate)
{
    AVChannelLayout layout;
    av_channel_layout_default(&layout, static_cast<int>(channels));
    SwrContext *context = nullptr;
    swr_alloc_set_opts2(&context, &layout, AV_SAMPLE_FMT_DBL, static_cast<int>(outputRate), &layout,
                        AV_SAMPLE_FMT_DBL, static_cast<int>(inputRate), 0, nullptr);
    if (longFilter) {
        av_opt_set_int(context, "filter_size", 256, 0);
        av_opt_set_int(context, "exact_rational", 1, 0);
        av_opt_set_double(context, "cutoff", 0.98, 0);
        av_opt_set(context, "filter_type", "kaiser", 0);
        av_opt_set_double(context, "kaiser_beta", 16, 0);
    }
    if (swr_init(context) < 0)
        throw std::runtime_error("libswresample failed");
    const auto inFrames = static_cast<int>(input.size() / channels);
    Samples out((static_cast<size_t>(inFrames) * outputRate / inputRate + 5000) * channels);
    const auto capacity = static_cast<int>(out.size() / channels);
    const auto *in = reinterpret_cast<const uint8_t *>(input.data());
    auto *first = reinterpret_cast<uint8_t *>(out.data());
    const int produced = swr_convert(context, &first, capacity, &in, inFrames);
    auto *rest = reinterpret_cast<uint8_t *>(out.data() + size_t(produced) * channels);
    const int drained = swr_convert(context, &rest, capacity - produced, nullptr, 0);
    swr_free(&context);
    out.resize(size_t(produced + drained) * channels);
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

// The frames that a stream becomes at another rate, rounded to the nearest.
size_t ExpectedFrames(size_t frames, uint32_t inputRate, uint32_t outputRate)
{
    return static_cast<size_t>((uint64_t{frames} * outputRate + inputRate / 2) / inputRate);
}

// Half a filter of silence goes in first and is what makes the output start with the input; more follows it,
// so that the end comes out. Works in float.
Samples WithZita(const Samples &input, uint32_t channels, uint32_t inputRate, uint32_t outputRate)
{
    constexpr uint32_t kHalfLength = 96;
    ::Resampler resampler;
    if (resampler.setup(inputRate, outputRate, channels, kHalfLength) != 0)
        throw std::runtime_error("zita-resampler takes no such pair of rates");
    std::vector<float> in(input.begin(), input.end());
    std::vector<float> out(ExpectedFrames(in.size() / channels, inputRate, outputRate) * channels);
    resampler.inp_count = static_cast<unsigned>(resampler.inpsize()) / 2 - 1;
    resampler.out_count = static_cast<unsigned>(out.size() / channels);
    resampler.out_data = out.data();
    resampler.process();
    resampler.inp_count = static_cast<unsigned>(in.size() / channels);
    resampler.inp_data = in.data();
    resampler.process();
    resampler.inp_count = static_cast<unsigned>(resampler.inpsize());
    resampler.inp_data = nullptr;
    resampler.process();
    return Samples(out.begin(), out.end() - static_cast<ptrdiff_t>(resampler.out_count) * channels);
}

// At the highest of its qualities. Works in float.
Samples WithSpeexdsp(const Samples &input, uint32_t channels, uint32_t inputRate, uint32_t outputRate)
{
    int error = 0;
    SpeexResamplerState *state =
        speex_resampler_init(channels, inputRate, outputRate, SPEEX_RESAMPLER_QUALITY_MAX, &error);
    if (!state)
        throw std::runtime_error("speexdsp failed");
    speex_resampler_skip_zeros(state);
    std::vector<float> in(input.begin(), input.end());
    in.resize(in.size() + size_t(speex_resampler_get_input_latency(state)) * channels);
    std::vector<float> out(ExpectedFrames(input.size() / channels, inputRate, outputRate) * channels);
    size_t taken = 0;
    size_t made = 0;
    while (taken < in.size() && made < out.size()) {
        auto inFrames = static_cast<uint32_t>((in.size() - taken) / channels);
        auto outFrames = static_cast<uint32_t>((out.size() - made) / channels);
        speex_resampler_process_interleaved_float(state, in.data() + taken, &inFrames, out.data() + made,
                                                  &outFrames);
        if (inFrames == 0 && outFrames == 0)
            break;
        taken += size_t{inFrames} * channels;
        made += size_t{outFrames} * channels;
    }
    speex_resampler_destroy(state);
    return Samples(out.begin(), out.begin() + static_cast<ptrdiff_t>(made));
}

} // namespace

std::vector<Converter> PeerConverters()
{
    using namespace std::placeholders;
    std::vector<Converter> peers = {
        {"libsamplerate best sinc", std::bind(WithLibsamplerate, SRC_SINC_BEST_QUALITY, _1, _2, _3, _4)},
        {"libswresample", std::bind(WithLibswresample, false, _1, _2, _3, _4)}};
    if (std::system("sox --version >/dev/null 2>&1") == 0)
        peers.push_back({"sox rate -v", WithSox});
    return peers;
}

std::vector<Converter> MorePeerConverters()
{
    using namespace std::placeholders;
    std::vector<Converter> peers = PeerConverters();
    peers.push_back(
        {"libsamplerate medium sinc", std::bind(WithLibsamplerate, SRC_SINC_MEDIUM_QUALITY, _1, _2, _3, _4)});
    peers.push_back({"libswresample 256 taps", std::bind(WithLibswresample, true, _1, _2, _3, _4)});
    peers.push_back({"zita-resampler 96", WithZita});
    peers.push_back({"speexdsp 10", WithSpeexdsp});
    return peers;
}

} // namespace tonekit
