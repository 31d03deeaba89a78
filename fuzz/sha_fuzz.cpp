// sha_fuzz.cpp: SHA-2 and HMAC of arbitrary messages, at once and cut as the input says, each body compared
// with the baseline.
//
// The input ends after kLongestInput bytes, which fill several blocks of each member.
//
// The first byte is the size of the key, which follows, and then the message. The message's own bytes say
// where it is cut, and its last byte says which member of the family it goes to.
#include "tests/encode/sha2_members.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kLongestInput = 320;

void Require(bool condition)
{
    if (!condition)
        abort();
}

// Calls add with one piece after the other.
template <class Add>
void InPieces(const Bytes &message, Add add)
{
    for (size_t at = 0; at < message.size();) {
        const size_t piece = std::min<size_t>(message[at], message.size() - at);
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

// The bodies of one member, found once.
template <int bits>
const std::vector<tonekit::Sha2Member<bits>> &Bodies()
{
    static const auto bodies = [] {
        std::vector<tonekit::Sha2Member<bits>> found;
        for (const char letter : tonekit::RunnableLetters())
            found.emplace_back(letter);
        return found;
    }();
    return bodies;
}

template <int bits>
void Check(const Bytes &key, const Bytes &message)
{
    const auto &bodies = Bodies<bits>();
    const Bytes digest = Digest(bodies[0], message);
    const Bytes mac = Mac(bodies[0], key, message);
    for (size_t i = 1; i < bodies.size(); ++i) {
        // Letters may share a body.
        if (bodies[i].hash == bodies[i - 1].hash && bodies[i].update == bodies[i - 1].update)
            continue;
        Require(Digest(bodies[i], message) == digest);
        Require(Mac(bodies[i], key, message) == mac);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    size = std::min(size, kLongestInput);
    const size_t keySize = size ? std::min<size_t>(data[0], size - 1) : 0;
    const uint8_t *const rest = size ? data + 1 : data;
    const Bytes key(rest, rest + keySize);
    const Bytes message(rest + keySize, data + size);
    switch (size ? data[size - 1] % 4 : 0) {
    case 0:
        Check<224>(key, message);
        break;
    case 1:
        Check<256>(key, message);
        break;
    case 2:
        Check<384>(key, message);
        break;
    default:
        Check<512>(key, message);
        break;
    }
    return 0;
}
