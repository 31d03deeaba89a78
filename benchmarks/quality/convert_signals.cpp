// convert_signals.cpp: converts test signals from standard input with a named converter, or measures its
// speed.
#include "benchmarks/peers/converters.h"
#include "convert/resampler.h"
#include "tests/reference/set_up.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"
#include "tests/support/stream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <tonekit/convert.h>
#include <vector>

namespace tonekit {
namespace {

constexpr uint32_t kSpans[] = {0, 24, 31, 33}; // the spans of the four recipes
constexpr const char *kQualities[] = {"normal", "high", "very-high", "best"};
constexpr const char *kFilters[] = {"normal", "steep", "steeper"};

// The packaged libsoxr with the same quality and nothing around it, in one piece.
template <class Sample>
std::vector<double> WithSoxr(uint32_t span, const std::vector<double> &input, uint32_t channels,
                             uint32_t inputRate, uint32_t outputRate)
{
    const std::vector<Sample> in(input.begin(), input.end());
    const size_t inFrames = in.size() / channels;
    std::vector<Sample> out((inFrames * outputRate / inputRate + 4096) * channels);
    const soxr_t resampler = reference::NewResampler(inputRate, outputRate, channels, span);
    size_t consumed = 0;
    size_t produced = 0;
    size_t total = 0;
    soxr_process(resampler, in.data(), inFrames, &consumed, out.data(), out.size() / channels, &produced);
    do {
        total += produced;
        soxr_process(resampler, nullptr, 0, &consumed, out.data() + total * channels,
                     out.size() / channels - total, &produced);
    } while (produced != 0);
    soxr_delete(resampler);
    return {out.begin(), out.begin() + static_cast<ptrdiff_t>(total * channels)};
}

// "tonekit QUALITY FILTER ALIASING" for every setting, "soxr QUALITY", and the peers by their names.
std::vector<Converter> AllConverters()
{
    std::vector<Converter> all;
    for (size_t quality = 0; quality < std::size(kSpans); ++quality) {
        const uint32_t span = kSpans[quality];
        for (uint32_t filter = 0; filter < std::size(kFilters); ++filter)
            for (const bool aliasing : {false, true})
                all.push_back(
                    {std::string("tonekit ") + kQualities[quality] + " " + kFilters[filter] +
                         (aliasing ? " aliasing" : ""),
                     [=](const std::vector<double> &input, uint32_t channels, uint32_t in, uint32_t out) {
                         SetSampleRateConverterParameters2(filter, aliasing);
                         return ConvertDouble(input, channels, in, channels, out, span);
                     }});
        all.push_back({std::string("soxr ") + kQualities[quality],
                       [=](const std::vector<double> &input, uint32_t channels, uint32_t in, uint32_t out) {
                           return RecipeForSpan(span).useDoublePath
                                      ? WithSoxr<double>(span, input, channels, in, out)
                                      : WithSoxr<float>(span, input, channels, in, out);
                       }});
    }
    for (Converter &peer : MorePeerConverters())
        all.push_back(std::move(peer));
    return all;
}

void Write(const void *data, size_t bytes)
{
    if (std::fwrite(data, 1, bytes, stdout) != bytes)
        throw std::runtime_error("standard output can't be written");
}

// Every `length` samples of standard input are a stream of their own. Writes for each the count of its output
// samples, in 64 bits, and the samples.
void ConvertStreams(const Converter &converter, uint32_t inputRate, uint32_t outputRate, size_t length)
{
    std::vector<double> input(length);
    while (std::fread(input.data(), sizeof(double), length, stdin) == length) {
        const std::vector<double> output = converter.convert(input, 1, inputRate, outputRate);
        const uint64_t count = output.size();
        Write(&count, sizeof count);
        Write(output.data(), output.size() * sizeof(double));
    }
}

// Of this process and of the programs that it has run.
double ProcessorSeconds()
{
    double seconds = 0;
    for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        getrusage(whose, &usage);
        for (const timeval &time : {usage.ru_utime, usage.ru_stime})
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    }
    return seconds;
}

// Prints the seconds of stereo noise that a second of processor time converts: the better of two turns.
void MeasureSpeed(const Converter &converter, uint32_t inputRate, uint32_t outputRate)
{
    constexpr uint32_t kSeconds = 10;
    constexpr int kTurns = 2;
    Random random(5);
    std::vector<int16_t> noise(size_t{2} * inputRate * kSeconds);
    random.Fill(noise.data(), noise.size() * sizeof(int16_t));
    std::vector<double> input(noise.begin(), noise.end());
    for (double &sample : input)
        sample /= 65536;
    double best = 1e9;
    for (int turn = 0; turn < kTurns; ++turn) {
        const double start = ProcessorSeconds();
        converter.convert(input, 2, inputRate, outputRate);
        best = std::min(best, ProcessorSeconds() - start);
    }
    std::printf("%.1f\n", kSeconds / best);
}

int Run(int count, char **arguments)
{
    const std::vector<Converter> all = AllConverters();
    const std::string_view mode = count > 1 ? arguments[1] : "";
    if (mode == "list") {
        for (const Converter &converter : all)
            std::printf("%s\n", converter.name.c_str());
        return 0;
    }
    if (mode == "letters") {
        for (const char letter : RunnableLetters())
            std::printf("%c\n", letter);
        return 0;
    }
    if (count < 5) {
        std::fprintf(
            stderr,
            "usage: convert_signals list | letters | speed NAME FROM TO | convert NAME FROM TO LENGTH\n");
        return 2;
    }
    const auto found = std::find_if(
        all.begin(), all.end(), [&](const Converter &converter) { return converter.name == arguments[2]; });
    if (found == all.end())
        throw std::runtime_error(std::string("there is no converter ") + arguments[2]);
    const auto from = static_cast<uint32_t>(std::strtoul(arguments[3], nullptr, 10));
    const auto to = static_cast<uint32_t>(std::strtoul(arguments[4], nullptr, 10));
    if (mode == "speed")
        MeasureSpeed(*found, from, to);
    else if (mode == "convert" && count == 6)
        ConvertStreams(*found, from, to, std::strtoul(arguments[5], nullptr, 10));
    return 0;
}

} // namespace
} // namespace tonekit

int main(int count, char **arguments)
{
    try {
        return tonekit::Run(count, arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "convert_signals: %s\n", error.what());
        return 1;
    }
}
