// count_zeros.h: counts the zero bytes of a stretch of memory. For tier units only.
#pragma once

#include "frame/tier.h"

#include <cstddef>
#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

#if defined(__AVX2__)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif
typedef int8_t Vector __attribute__((vector_size(kVectorBytes), may_alias));

// In each byte, minus the number of zeros in that byte of four vectors.
inline Vector ZerosInFour(const Vector *at)
{
    return ((at[0] == 0) + (at[1] == 0)) + ((at[2] == 0) + (at[3] == 0));
}

uint64_t CountZerosBytewise(const uint8_t *at, const uint8_t *end)
{
    uint64_t zeros = 0;
    for (; at < end; ++at)
        zeros += *at == 0;
    return zeros;
}

uint64_t CountZerosIn(const Vector *at, ptrdiff_t vectors)
{
    constexpr ptrdiff_t kMost = 248; // vectors, in eights, that can be counted in a byte
    uint64_t zeros = 0;
    while (vectors > 0) {
        const Vector *const stop = at + (vectors < kMost ? vectors : kMost);
        vectors -= stop - at;
        Vector counts = {};
        for (; at < stop; at += 8)
            counts -= ZerosInFour(at) + ZerosInFour(at + 4);
        uint8_t ofByte[kVectorBytes];
        memcpy(ofByte, &counts, sizeof ofByte);
        for (const uint8_t count : ofByte)
            zeros += count;
    }
    return zeros;
}

uint64_t CountZeros(const uint8_t *at, const uint8_t *end)
{
    constexpr ptrdiff_t kEight = 8 * kVectorBytes;
    if (end - at < 2 * kEight)
        return CountZerosBytewise(at, end);
    const uint8_t *const aligned = at + (0 - reinterpret_cast<uintptr_t>(at)) % kVectorBytes;
    const ptrdiff_t eights = (end - aligned) / kEight;
    return CountZerosBytewise(at, aligned) +
           CountZerosIn(reinterpret_cast<const Vector *>(aligned), 8 * eights) +
           CountZerosBytewise(aligned + eights * kEight, end);
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
