// digest_test.cpp: whole conversions by the digests of their bytes; the Python package is held to the same
// file.
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <tonekit/convert.h>
#include <tonekit/encode.h>
#include <tonekit/frame.h>
#include <vector>

namespace {

// A row of digests.txt.
struct Row {
    uint32_t inputFormat, inputBits, inputChannels, inputRate;
    uint32_t outputFormat, outputBits, outputChannels, outputRate;
    uint32_t quality, filter, limiter, frames;
    std::string digest;
};

std::vector<Row> Rows()
{
    std::vector<Row> rows;
    std::ifstream file(TONEKIT_SOURCE_DIR "/tests/convert/digests.txt");
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        Row r;
        std::istringstream fields(line);
        fields >> r.inputFormat >> r.inputBits >> r.inputChannels >> r.inputRate >> r.outputFormat >>
            r.outputBits >> r.outputChannels >> r.outputRate >> r.quality >> r.filter >> r.limiter >>
            r.frames >> r.digest;
        EXPECT_FALSE(fields.fail()) << line;
        rows.push_back(r);
    }
    return rows;
}

void Append(std::vector<uint8_t> &bytes, const void *value, size_t size)
{
    const auto *first = static_cast<const uint8_t *>(value);
    bytes.insert(bytes.end(), first, first + size);
}

// Noise of a 32-bit congruential generator, at half of full scale.
std::vector<uint8_t> Noise(const Row &row)
{
    std::vector<uint8_t> bytes;
    uint32_t state = 1;
    for (uint64_t i = 0; i < uint64_t{row.frames} * row.inputChannels; ++i) {
        state = state * 1664525u + 1013904223u;
        const int32_t sample = static_cast<int32_t>(state) / 2;
        if (row.inputFormat == 1 && row.inputBits == 32) {
            const float value = static_cast<float>(sample >> 8) / 8388608.0f;
            Append(bytes, &value, 4);
        } else if (row.inputFormat == 1) {
            const double value = sample / 2147483648.0;
            Append(bytes, &value, 8);
        } else if (row.inputBits == 8) {
            bytes.push_back(static_cast<uint8_t>((sample >> 24) + 128));
        } else {
            const int32_t value = sample >> (32 - row.inputBits);
            Append(bytes, &value, row.inputBits / 8);
        }
    }
    return bytes;
}

std::string Sha256Text(const std::vector<uint8_t> &bytes)
{
    uint8_t digest[32];
    sha256(bytes.data(), static_cast<uint32_t>(bytes.size()), digest);
    std::string text;
    for (const uint8_t byte : digest) {
        static const char digits[] = "0123456789abcdef";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::vector<uint8_t> Convert(const Row &row, const std::vector<uint8_t> &input)
{
    SetSampleRateConverterParameters2(row.filter, 0);
    void *handle = SRC4_Init(row.inputFormat, row.inputBits, row.inputChannels, row.inputRate,
                             row.outputFormat, row.outputBits, row.outputChannels, row.outputRate, false,
                             row.limiter != 0, 0, row.quality);
    SetSampleRateConverterParameters2(0, 0);
    std::vector<uint8_t> output;
    void *out = nullptr;
    uint32_t frames = 0;
    uint32_t bytes = 0;
    SRC4_Write(handle, input.data(), row.frames);
    while (SRC4_Read(handle, &out, &frames, &bytes))
        Append(output, out, bytes);
    while (SRC4_Flush(handle, &out, &frames, &bytes))
        Append(output, out, bytes);
    SRC4_Deinit(handle);
    return output;
}

TEST(Digests, WholeConversionsKeepTheirBytes)
{
    const std::vector<Row> rows = Rows();
    ASSERT_GE(rows.size(), 12u);
    for (const Row &row : rows) {
        const std::vector<uint8_t> output = Convert(row, Noise(row));
        EXPECT_EQ(Sha256Text(output), row.digest)
            << row.inputFormat << ' ' << row.inputBits << ' ' << row.inputChannels << ' ' << row.inputRate
            << " to " << row.outputFormat << ' ' << row.outputBits << ' ' << row.outputChannels << ' '
            << row.outputRate;
    }
}

} // namespace
