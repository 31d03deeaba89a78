// sha2_message.h: how a message of any length goes through a SHA-2 hash, in pieces or at once.
//
// For tier units only. What a member of the family brings along:
//   Context                   Sha256Context or Sha512Context
//   kBlockBytes, kDigestBytes
//   kInitialState             eight words
//   Transform(state, blocks, blockCount)
#pragma once

#include "frame/tier.h"

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

inline void StoreBigEndian(uint8_t *bytes, uint32_t word)
{
    word = __builtin_bswap32(word);
    __builtin_memcpy(bytes, &word, sizeof word);
}

inline void StoreBigEndian(uint8_t *bytes, uint64_t word)
{
    word = __builtin_bswap64(word);
    __builtin_memcpy(bytes, &word, sizeof word);
}

// A copy that may be empty, from or to null then.
inline void CopyBytes(uint8_t *to, const uint8_t *from, uint32_t count)
{
    if (count != 0)
        __builtin_memcpy(to, from, count);
}

template <class Member>
inline void StartMessage(typename Member::Context &context)
{
    context.total_length = 0;
    context.length = 0;
    for (int i = 0; i < 8; ++i)
        context.state[i] = Member::kInitialState[i];
}

// The length of a record that was never initialised could be anything: its remainder keeps every access
// inside the block.
template <class Member>
inline uint32_t WaitingBytes(const typename Member::Context &context)
{
    return context.length % Member::kBlockBytes;
}

template <class Member>
inline void AddToMessage(typename Member::Context &context, const uint8_t *message, uint32_t size)
{
    constexpr uint32_t kBlock = Member::kBlockBytes;
    const uint32_t waiting = WaitingBytes<Member>(context);
    const uint32_t room = kBlock - waiting;
    if (size < room) {
        CopyBytes(context.block + waiting, message, size);
        context.length = waiting + size;
        return;
    }
    CopyBytes(context.block + waiting, message, room);
    Member::Transform(context.state, context.block, 1);
    message += room;
    size -= room;
    const uint32_t wholeBytes = size - size % kBlock;
    Member::Transform(context.state, message, wholeBytes / kBlock);
    context.length = size % kBlock;
    CopyBytes(context.block, message + wholeBytes, context.length);
    context.total_length += kBlock + wholeBytes; // wraps at 4 GiB
}

// Fills the rest of the last block, from a byte 0x80 to the size at its end. The transform loads 16 bytes at
// a time, and waits where it finds them in more than one store: so the two go out as 16 bytes if there is
// room.
inline void Pad(uint8_t *from, uint8_t *end, uint32_t sizeInBits)
{
    if (end - from < 32) {
        __builtin_memset(from, 0, static_cast<size_t>(end - from));
        *from = 0x80;
        StoreBigEndian(end - 4, sizeInBits);
        return;
    }
    __builtin_memset(from + 16, 0, static_cast<size_t>(end - from - 32));
    const int size = static_cast<int>(__builtin_bswap32(sizeInBits));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(from), _mm_cvtsi32_si128(0x80));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(end - 16), _mm_slli_si128(_mm_cvtsi32_si128(size), 12));
}

// The standard's length field has 8 or 16 bytes. Only its last four are used here: the size in bits is kept
// in 32 bits, so that the digest of 512 MiB and more differs from the standard's. That is the interface as it
// is.
template <class Member>
inline void EndMessage(typename Member::Context &context, uint8_t *digest)
{
    constexpr uint32_t kBlock = Member::kBlockBytes;
    constexpr uint32_t kLengthFieldBytes = kBlock / 8;
    const uint32_t waiting = WaitingBytes<Member>(context);
    const uint32_t blocks = waiting >= kBlock - kLengthFieldBytes ? 2 : 1;
    Pad(context.block + waiting, context.block + blocks * kBlock, (context.total_length + waiting) * 8);
    Member::Transform(context.state, context.block, blocks);
    constexpr uint32_t kWordBytes = sizeof context.state[0];
    for (uint32_t i = 0; i < Member::kDigestBytes / kWordBytes; ++i)
        StoreBigEndian(digest + i * kWordBytes, context.state[i]);
}

template <class Member>
inline void HashMessage(const uint8_t *message, uint32_t size, uint8_t *digest)
{
    typename Member::Context context;
    StartMessage<Member>(context);
    AddToMessage<Member>(context, message, size);
    EndMessage<Member>(context, digest);
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
