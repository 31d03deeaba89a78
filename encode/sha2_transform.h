// sha2_transform.h: the two compression functions of SHA-2, which everything else of the family rests on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit {

extern "C" {

/** Runs blockCount blocks of 64 bytes through the compression function of SHA-224 and SHA-256. */
void Sha256Transform(uint32_t *state, const uint8_t *blocks, size_t blockCount);

/** Runs blockCount blocks of 128 bytes through the compression function of SHA-384 and SHA-512. */
void Sha512Transform(uint64_t *state, const uint8_t *blocks, size_t blockCount);

} // extern "C"

} // namespace tonekit
