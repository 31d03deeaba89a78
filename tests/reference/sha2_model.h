// sha2_model.h: SHA-2 and HMAC step by step as FIPS 180-4 and RFC 2104 write them, with the message length in
// 32 bits.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace tonekit::reference {

using Bytes = std::vector<uint8_t>;

// The digest with 224, 256, 384 or 512 bits. The padding counts countedBefore bytes more than the message
// has.
Bytes Sha2(int bits, const Bytes &message, uint64_t countedBefore = 0);

// HMAC over the same, uncut.
Bytes Hmac(int bits, const Bytes &key, const Bytes &message);

// The compression functions: one block of 64 or 128 bytes into a chaining value.
void CompressSha256(std::array<uint32_t, 8> &state, const uint8_t *block);
void CompressSha512(std::array<uint64_t, 8> &state, const uint8_t *block);

} // namespace tonekit::reference
