// md5.h: the checksum that FLAC files note of their samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tonekit::host {

// Of no use against those who want to deceive.
class Md5 {
public:
    using Digest = std::array<unsigned char, 16>;

    void Take(std::span<const unsigned char> bytes);
    // Ends the sum; nothing may be taken afterwards.
    Digest Finish();

private:
    static constexpr size_t kBlock = 64;

    void TakeBlock(const unsigned char *bytes);

    std::array<uint32_t, 4> state_ = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    std::array<unsigned char, kBlock> held_ = {};
    uint64_t size_ = 0;
};

} // namespace tonekit::host
