// sha512.tier.cpp: SHA-384 and SHA-512, and HMAC over them.
#include "encode/hmac_message.h"
#include "encode/sha2_message.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <cstddef>
#include <emmintrin.h>
#include <tonekit/encode.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(Sha512Transform);

namespace {

struct Members {
    using Context = Sha512Context;
    using Record = HmacSha512Context;
    static constexpr uint32_t kBlockBytes = 128;
    static inline void Transform(uint64_t *state, const uint8_t *blocks, size_t blockCount)
    {
        Sha512Transform(state, blocks, blockCount);
    }
};

struct Sha384 : Members {
    static constexpr uint32_t kDigestBytes = 48;
    static constexpr uint64_t kInitialState[8] = {
        0xCBBB9D5DC1059ED8, 0x629A292A367CD507, 0x9159015A3070DD17, 0x152FECD8F70E5939,
        0x67332667FFC00B31, 0x8EB44A8768581511, 0xDB0C2E0D64F98FA7, 0x47B5481DBEFA4FA4,
    };
};

struct Sha512 : Members {
    static constexpr uint32_t kDigestBytes = 64;
    static constexpr uint64_t kInitialState[8] = {
        0x6A09E667F3BCC908, 0xBB67AE8584CAA73B, 0x3C6EF372FE94F82B, 0xA54FF53A5F1D36F1,
        0x510E527FADE682D1, 0x9B05688C2B3E6C1F, 0x1F83D9ABFB41BD6B, 0x5BE0CD19137E2179,
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
