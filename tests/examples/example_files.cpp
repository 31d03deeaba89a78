// example_files.cpp: makes the files that examples read, and looks at those that they have written.
#include "tests/support/hdcd_encoder.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tonekit {
namespace {

constexpr size_t kFrames = 44100;
constexpr int32_t kLevel = 16384; // half of full scale

void Write(const std::string &file, const std::string &head, const std::vector<int32_t> &samples)
{
    std::ofstream out(file, std::ios::binary);
    out << head;
    for (const int32_t sample : samples) {
        out.put(static_cast<char>(sample & 0xFF));
        out.put(static_cast<char>(sample >> 8 & 0xFF));
    }
}

void MakeInputs(const std::string &folder)
{
    std::vector<int32_t> level(2 * kFrames, kLevel);
    const std::string head(
        "RIFF\x34\xB1\x02\0WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0"
        "data\x10\xB1\x02\0",
        44);
    Write(folder + "/level.wav", head, level);
    Write(folder + "/plain.raw", "", level);
    HdcdEncoder encoder(level);
    for (size_t frame = 1000; frame + 1000 < kFrames; frame += 4000)
        for (int channel = 0; channel < 2; ++channel)
            encoder.CodeA(channel, frame, 0x07);
    Write(folder + "/hdcd.raw", "", level);
}

// The bytes of a file after the first `skip`, as 24-bit samples.
std::vector<int32_t> Samples(const std::string &file, size_t skip)
{
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::vector<int32_t> samples;
    for (size_t i = skip; i + 3 <= bytes.size(); i += 3) {
        uint32_t value = 0;
        for (size_t byte = 0; byte < 3; ++byte)
            value |= uint32_t{static_cast<uint8_t>(bytes[i + byte])} << (8 + 8 * byte);
        samples.push_back(static_cast<int32_t>(value) >> 8);
    }
    return samples;
}

bool Expect(const std::string &file, size_t skip, size_t count, int32_t least, int32_t most)
{
    const std::vector<int32_t> samples = Samples(file, skip);
    const int32_t middle = samples.size() == count ? samples[count / 2] : 0;
    if (samples.size() == count && middle >= least && middle <= most)
        return true;
    std::fprintf(stderr, "%s: %zu samples, %d in the middle\n", file.c_str(), samples.size(), middle);
    return false;
}

// Half of full scale stays half of it. Decoded samples lie 6 dB lower, which the converter's HDCD gain of 6
// dB makes up for but for 0.02 dB; the code 0x07 lowers them by 7 dB.
bool CheckOutputs(const std::string &folder)
{
    const bool wav = Expect(folder + "/stream.wav", 44, 2 * 96000, 4194303, 4194305);
    const bool plain = Expect(folder + "/plain24.raw", 0, 2 * kFrames, 4184000, 4194304);
    const bool decoded = Expect(folder + "/hdcd24.raw", 0, 2 * kFrames, 1868500, 1869500);
    return wav && plain && decoded;
}

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "make") == 0)
        return tonekit::MakeInputs(argv[2]), 0;
    return argc == 3 && tonekit::CheckOutputs(argv[2]) ? 0 : 1;
}
