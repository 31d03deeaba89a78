// sha512.tier.cpp: SHA-384 and SHA-512, and HMAC over them.
#include <tonekit/encode.h>

#include "encode/hmac_message.h"
#include "encode/sha2_message.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <emmintrin.h>

#include <cstddef>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(Sha512Transform);

namespace {

struct Members {
    using Context = Sha512Context;
    using Record = HmacSha512Context;
    static constexpr uint32_t kBlockBytes = 128;
    static inline void Transform(uint64_t *state, const uint8_t *blocks, std::size_t blockCount)
    {
        Sha512Transform(state, blocks, blockCount);
    }
};

struct Sha384 : Members {
    static constexpr uint32_t kDigestBytes = 48;
    static constexpr uint64_t kInitialState[8] = {
        0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
        0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4,
    };
};

struct Sha512 : Members {
    static constexpr uint32_t kDigestBytes = 64;
    static constexpr uint64_t kInitialState[8] = {
        0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
        0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179,
    };
};

} // namespace

TONEKIT_BODY(sha384_init, void, (Sha512Context * context))
{
    StartMessage<Sha384>(*context);
}

TONEKIT_BODY(sha384_update, void, (Sha512Context * context, const uint8_t *message, uint32_t size))
{
    AddToMessage<Sha384>(*context, message, size);
}

TONEKIT_BODY(sha384_final, void, (Sha512Context * context, uint8_t *digest))
{
    EndMessage<Sha384>(*context, digest);
}

TONEKIT_BODY(sha384, void, (const uint8_t *message, uint32_t size, uint8_t *digest))
{
    HashMessage<Sha384>(message, size, digest);
}

TONEKIT_BODY(hmac_sha384_init, void, (HmacSha512Context * record, const uint8_t *key, uint32_t keySize))
{
    SetKey<Sha384>(*record, key, keySize);
}

TONEKIT_BODY(hmac_sha384_reinit, void, (HmacSha512Context * record))
{
    StartAgain(*record);
}

TONEKIT_BODY(hmac_sha384_final, void, (HmacSha512Context * record, uint8_t *mac, uint32_t macSize))
{
    EndWithMac<Sha384>(*record, mac, macSize);
}

TONEKIT_BODY(hmac_sha384, void,
             (const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
              uint32_t macSize))
{
    MacOfMessage<Sha384>(key, keySize, message, size, mac, macSize);
}

TONEKIT_BODY(sha512_init, void, (Sha512Context * context))
{
    StartMessage<Sha512>(*context);
}

TONEKIT_BODY(sha512_update, void, (Sha512Context * context, const uint8_t *message, uint32_t size))
{
    AddToMessage<Sha512>(*context, message, size);
}

TONEKIT_BODY(sha512_final, void, (Sha512Context * context, uint8_t *digest))
{
    EndMessage<Sha512>(*context, digest);
}

TONEKIT_BODY(sha512, void, (const uint8_t *message, uint32_t size, uint8_t *digest))
{
    HashMessage<Sha512>(message, size, digest);
}

TONEKIT_BODY(hmac_sha512_init, void, (HmacSha512Context * record, const uint8_t *key, uint32_t keySize))
{
    SetKey<Sha512>(*record, key, keySize);
}

TONEKIT_BODY(hmac_sha512_reinit, void, (HmacSha512Context * record))
{
    StartAgain(*record);
}

TONEKIT_BODY(hmac_sha512_final, void, (HmacSha512Context * record, uint8_t *mac, uint32_t macSize))
{
    EndWithMac<Sha512>(*record, mac, macSize);
}

TONEKIT_BODY(hmac_sha512, void,
             (const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
              uint32_t macSize))
{
    MacOfMessage<Sha512>(key, keySize, message, size, mac, macSize);
}

} // namespace tonekit::TONEKIT_TIER
