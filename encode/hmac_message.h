// hmac_message.h: HMAC (RFC 2104) over any member of the SHA-2 family.
//
// For tier units only. Besides what sha2_message.h names, a member brings along Record, which is
// HmacSha256Context or HmacSha512Context.
#pragma once

#include "encode/sha2_message.h"

namespace tonekit::TONEKIT_TIER {
namespace {

// Makes the two pads of the key, and starts both hashes with them.
template <class Member>
inline void StartWithKey(typename Member::Record &record, const uint8_t *key, uint32_t keySize)
{
    uint8_t digestOfKey[Member::kDigestBytes];
    if (keySize > Member::kBlockBytes) {
        HashMessage<Member>(key, keySize, digestOfKey);
        key = digestOfKey;
        keySize = Member::kDigestBytes;
    }
    uint8_t block[Member::kBlockBytes] = {};
    CopyBytes(block, key, keySize);
    for (uint32_t i = 0; i < Member::kBlockBytes; ++i) {
        record.ipad[i] = block[i] ^ 0x36;
        record.opad[i] = block[i] ^ 0x5C;
    }
    StartMessage<Member>(record.inner);
    AddToMessage<Member>(record.inner, record.ipad, Member::kBlockBytes);
    StartMessage<Member>(record.outer);
    AddToMessage<Member>(record.outer, record.opad, Member::kBlockBytes);
}

template <class Member>
inline void SetKey(typename Member::Record &record, const uint8_t *key, uint32_t keySize)
{
    StartWithKey<Member>(record, key, keySize);
    record.inner_saved = record.inner;
    record.outer_saved = record.outer;
}

template <class Record>
inline void StartAgain(Record &record)
{
    record.inner = record.inner_saved;
    record.outer = record.outer_saved;
}

// A size beyond the digest gets the digest and no more: nothing else exists that could be returned.
template <class Member>
inline void EndWithMac(typename Member::Record &record, uint8_t *mac, uint32_t macSize)
{
    uint8_t digest[Member::kDigestBytes];
    EndMessage<Member>(record.inner, digest);
    AddToMessage<Member>(record.outer, digest, sizeof digest);
    EndMessage<Member>(record.outer, digest);
    CopyBytes(mac, digest, macSize < sizeof digest ? macSize : sizeof digest);
}

template <class Member>
inline void MacOfMessage(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size,
                         uint8_t *mac, uint32_t macSize)
{
    typename Member::Record record; // its saved half stays unused
    StartWithKey<Member>(record, key, keySize);
    AddToMessage<Member>(record.inner, message, size);
    EndWithMac<Member>(record, mac, macSize);
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
