// flac_sum.h: whether the samples of a FLAC stream are those that its header notes the checksum of.
#pragma once

#include "host/audio/md5.h"
#include "host/audio/sample_format.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tonekit::host {

inline constexpr const char *kWrongSum =
    "the audio is damaged (its samples don't have the MD5 checksum that its header notes)";

class FlacSum {
public:
    // Of samples of so many bits, 4 to 32, that come in the smallest of the program's formats that holds
    // them, in its highest bits.
    FlacSum(const Md5::Digest &expected, uint32_t bits) : expected_(expected), bits_(bits) {}

    void Take(const void *samples, uint32_t frames, const AudioFormat &format);
    // The sum that the header notes, of samples of so many bits.
    const Md5::Digest &expected() const { return expected_; }
    uint32_t bits() const { return bits_; }
    // After the last of the samples; nothing may be taken afterwards.
    bool IsRight() { return sum_.Finish() == expected_; }

private:
    Md5::Digest expected_;
    uint32_t bits_;
    Md5 sum_;
    std::vector<unsigned char> shifted_;
};

// The sum of the stream that begins at `start`; nothing if its header notes none, and for other types. Leaves
// the position anywhere; throws std::system_error if the system fails.
std::optional<FlacSum> SumOfFlac(ByteStream &stream, uint64_t start = 0);

} // namespace tonekit::host
