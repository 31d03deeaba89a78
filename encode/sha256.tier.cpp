// sha256.tier.cpp: SHA-224 and SHA-256, and HMAC over them.
#include "encode/hmac_message.h"
#include "encode/sha2_message.h"
#include "encode/sha2_transform.h"
#include "frame/tier.h"

#include <cstddef>
#include <emmintrin.h>
#include <tonekit/encode.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(Sha256Transform);

namespace {

struct Members {
    using Context = Sha256Context;
    using Record = HmacSha256Context;
    static constexpr uint32_t kBlockBytes = 64;
    static inline void Transform(uint32_t *state, const uint8_t *blocks, size_t blockCount)
    {
        Sha256Transform(state, blocks, blockCount);
    }
};

struct Sha224 : Members {
    static constexpr uint32_t kDigestBytes = 28;
    static constexpr uint32_t kInitialState[8] = {
        0xC1059ED8, 0x367CD507, 0x3070DD17, 0xF70E5939, 0xFFC00B31, 0x68581511, 0x64F98FA7, 0xBEFA4FA4,
    };
};

struct Sha256 : Members {
    static constexpr uint32_t kDigestBytes = 32;
    static constexpr uint32_t kInitialState[8] = {
        0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A, 0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19,
    };
};

} // namespace

TONEKIT_BODY(sha224_init, void, (Sha256Context * context))
{
    StartMessage<Sha224>(*context);
}

TONEKIT_BODY(sha224_update, void, (Sha256Context * context, const uint8_t *message, uint32_t size))
{
    AddToMessage<Sha224>(*context, message, size);
}

TONEKIT_BODY(sha224_final, void, (Sha256Context * context, uint8_t *digest))
{
    EndMessage<Sha224>(*context, digest);
}

TONEKIT_BODY(sha224, void, (const uint8_t *message, uint32_t size, uint8_t *digest))
{
    HashMessage<Sha224>(message, size, digest);
}

TONEKIT_BODY(hmac_sha224_init, void, (HmacSha256Context * record, const uint8_t *key, uint32_t keySize))
{
    SetKey<Sha224>(*record, key, keySize);
}

TONEKIT_BODY(hmac_sha224_reinit, void, (HmacSha256Context * record))
{
    StartAgain(*record);
}

TONEKIT_BODY(hmac_sha224_final, void, (HmacSha256Context * record, uint8_t *mac, uint32_t macSize))
{
    EndWithMac<Sha224>(*record, mac, macSize);
}

TONEKIT_BODY(hmac_sha224, void,
             (const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
              uint32_t macSize))
{
    MacOfMessage<Sha224>(key, keySize, message, size, mac, macSize);
}

TONEKIT_BODY(sha256_init, void, (Sha256Context * context))
{
    StartMessage<Sha256>(*context);
}

TONEKIT_BODY(sha256_update, void, (Sha256Context * context, const uint8_t *message, uint32_t size))
{
    AddToMessage<Sha256>(*context, message, size);
}

TONEKIT_BODY(sha256_final, void, (Sha256Context * context, uint8_t *digest))
{
    EndMessage<Sha256>(*context, digest);
}

TONEKIT_BODY(sha256, void, (const uint8_t *message, uint32_t size, uint8_t *digest))
{
    HashMessage<Sha256>(message, size, digest);
}

TONEKIT_BODY(hmac_sha256_init, void, (HmacSha256Context * record, const uint8_t *key, uint32_t keySize))
{
    SetKey<Sha256>(*record, key, keySize);
}

TONEKIT_BODY(hmac_sha256_reinit, void, (HmacSha256Context * record))
{
    StartAgain(*record);
}

TONEKIT_BODY(hmac_sha256_final, void, (HmacSha256Context * record, uint8_t *mac, uint32_t macSize))
{
    EndWithMac<Sha256>(*record, mac, macSize);
}

TONEKIT_BODY(hmac_sha256, void,
             (const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size, uint8_t *mac,
              uint32_t macSize))
{
    MacOfMessage<Sha256>(key, keySize, message, size, mac, macSize);
}

} // namespace tonekit::TONEKIT_TIER
