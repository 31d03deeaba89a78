// flac_sum.cpp: FLAC's checksum is that of signed samples of whole bytes.
#include "host/audio/flac_sum.h"

#include "host/audio/header_bytes.h"

#include <algorithm>
#include <span>

namespace tonekit::host {

void FlacSum::Take(const void *samples, uint32_t frames, const AudioFormat &format)
{
    const std::span bytes(static_cast<const unsigned char *>(samples), size_t{frames} * format.FrameBytes());
    const uint32_t shift = BitsOf(format.sample) - bits_;
    if (format.sample != SampleFormat::Int8 && shift == 0) {
        sum_.Take(bytes);
        return;
    }
    const size_t size = BytesOf(format.sample);
    shifted_.resize(bytes.size());
    for (size_t at = 0; at < bytes.size(); at += size) {
        uint32_t sample = 0;
        for (size_t i = 0; i < size; ++i)
            sample |= uint32_t{bytes[at + i]} << (32 - 8 * size + 8 * i);
        if (format.sample == SampleFormat::Int8)
            sample ^= 0x80000000;
        const auto number = static_cast<uint32_t>(static_cast<int32_t>(sample) >> (32 - bits_));
        for (size_t i = 0; i < size; ++i)
            shifted_[at + i] = static_cast<unsigned char>(number >> 8 * i);
    }
    sum_.Take(shifted_);
}

std::optional<FlacSum> SumOfFlac(ByteStream &stream, uint64_t start)
{
    constexpr uint64_t kInfo = 8; // the content of the first block, after the name, its type and its size
    HeaderBytes bytes(stream, start);
    Md5::Digest expected = {};
    if (!bytes.Has(0, "fLaC") || (bytes.Big(4, 1) & 0x7F) != 0)
        return std::nullopt;
    const auto bits = static_cast<uint32_t>(bytes.Big(kInfo + 12, 2) >> 4 & 31) + 1;
    const bool whole = bytes.Fetch(kInfo + 18, expected.data(), expected.size());
    const bool noted = std::any_of(expected.begin(), expected.end(), [](auto byte) { return byte != 0; });
    return whole && noted ? std::optional(FlacSum(expected, bits)) : std::nullopt;
}

} // namespace tonekit::host
