// sample_digest.cpp: SHA-2 over samples.
#include "host/processing/sample_digest.h"

#include "host/processing/bodies.h"

#include <algorithm>

namespace tonekit::host {

namespace {

std::string Hex(const uint8_t *bytes, size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace

SampleDigest::SampleDigest(HashKind kind) : kind_(kind)
{
    if (kind_ == HashKind::Sha256)
        BodiesInUse().sha256_init(&sha256_);
    else
        BodiesInUse().sha512_init(&sha512_);
}

void SampleDigest::Take(const void *bytes, size_t size)
{
    constexpr size_t kMost = size_t{1} << 30; // the library counts in 32 bits
    const auto *next = static_cast<const uint8_t *>(bytes);
    while (size > 0) {
        const size_t part = std::min(size, kMost);
        if (kind_ == HashKind::Sha256)
            BodiesInUse().sha256_update(&sha256_, next, static_cast<uint32_t>(part));
        else
            BodiesInUse().sha512_update(&sha512_, next, static_cast<uint32_t>(part));
        next += part;
        size -= part;
    }
}

Digest SampleDigest::Finish()
{
    uint8_t digest[64];
    if (kind_ == HashKind::Sha256)
        BodiesInUse().sha256_final(&sha256_, digest);
    else
        BodiesInUse().sha512_final(&sha512_, digest);
    return {kind_, Hex(digest, kind_ == HashKind::Sha256 ? 32 : 64)};
}

} // namespace tonekit::host
