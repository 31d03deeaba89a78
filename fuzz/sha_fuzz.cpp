// sha_fuzz.cpp: SHA-2 and HMAC of arbitrary messages, at once and cut as the input says, each body beside the
// baseline.
//
// The first byte is the size of the key, which follows, and then the message. The message's own bytes say
// where it is cut.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "tests/encode/sha2_members.h"

namespace {

using Bytes = std::vector<uint8_t>;

void Require(bool condition)
{
    if (!condition)
        abort();
}

// Calls add with one piece after the other.
template <class Add>
void InPieces(const Bytes &message, Add add)
{
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t piece = std::min<std::size_t>(message[at], message.size() - at);
        add(message.data() + at, static_cast<uint32_t>(piece));
        if (piece == 0) {
            add(message.data() + at, 1);
            ++at;
        }
        at += piece;
    }
}

template <class Member>
Bytes Digest(const Member &member, const Bytes &message)
{
    Bytes digest(Member::kDigestBytes);
    member.hash(message.data(), static_cast<uint32_t>(message.size()), digest.data());
    typename Member::Context context;
    member.init(&context);
    InPieces(message, [&](const uint8_t *piece, uint32_t size) { member.update(&context, piece, size); });
    Bytes again(Member::kDigestBytes);
    member.final(&context, again.data());
    Require(digest == again);
    return digest;
}

template <class Member>
Bytes Mac(const Member &member, const Bytes &key, const Bytes &message)
{
    const auto keySize = static_cast<uint32_t>(key.size());
    Bytes mac(Member::kDigestBytes);
    member.mac(key.data(), keySize, message.data(), static_cast<uint32_t>(message.size()), mac.data(),
               Member::kDigestBytes);
    typename Member::Record record;
    member.macInit(&record, key.data(), keySize);
    for (int repeat = 0; repeat < 2; ++repeat) {
        InPieces(message,
                 [&](const uint8_t *piece, uint32_t size) { member.macUpdate(&record, piece, size); });
        Bytes again(Member::kDigestBytes);
        member.macFinal(&record, again.data(), Member::kDigestBytes);
        Require(mac == again);
        member.macReinit(&record);
    }
    return mac;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::size_t keySize = size ? std::min<std::size_t>(data[0], size - 1) : 0;
    const uint8_t *const rest = size ? data + 1 : data;
    const Bytes key(rest, rest + keySize);
    const Bytes message(rest + keySize, data + size);
    for (const char letter : tonekit::RunnableLetters())
        tonekit::ForEachSha2Member(letter, [&](const auto &member) {
            const std::decay_t<decltype(member)> baseline('A');
            Require(Digest(member, message) == Digest(baseline, message));
            Require(Mac(member, key, message) == Mac(baseline, key, message));
        });
    return 0;
}
